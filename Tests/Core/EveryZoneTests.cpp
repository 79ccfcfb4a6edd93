// Days are what the C library says they are, in every zone of this machine, and a changed zone is noticed.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Time/LocalCalendar.h"
#include "Tests/Support/Sanitizers.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kStartOf2040 = 2'208'988'800;
const fs::path kDatabase = "/usr/share/zoneinfo";

// TZ as it was before once this goes.
class ZoneEnvironment {
 public:
  ZoneEnvironment() {
    if (const char* before = std::getenv("TZ")) _before = before;
  }
  ~ZoneEnvironment() {
    if (_before)
      ::setenv("TZ", _before->c_str(), 1);
    else
      ::unsetenv("TZ");
    ::tzset();
  }
  static void set(const std::string& zone) { ::setenv("TZ", zone.c_str(), 1); }

 private:
  std::optional<std::string> _before;
};

// Every so many days, which brings other weekdays and times of day each time.
testing::AssertionResult agreesWithTheCLibrary(double gridDays) {
  const LocalCalendar calendar = LocalCalendar::current();
  const auto step = static_cast<std::int64_t>(gridDays * kSecondsPerDay);
  for (std::int64_t each = 0; each < kStartOf2040; each += step) {
    const Instant instant = instantAtSeconds(each);
    const std::time_t time = each;
    std::tm theirs{};
    ::localtime_r(&time, &theirs);
    const LocalCalendar::Date date{theirs.tm_year + 1900, theirs.tm_mon + 1, theirs.tm_mday};
    if (calendar.date(instant) != date || calendar.weekday(instant) != theirs.tm_wday + 1)
      return testing::AssertionFailure() << each << ": not the C library's date";
    const Instant start = calendar.startOfDay(instant);
    if (start > instant || calendar.date(start) != date || calendar.date(start - Nanoseconds(1)) == date)
      return testing::AssertionFailure() << each << ": the day does not begin at " << wholeSeconds(start);
  }
  return testing::AssertionSuccess();
}

// One name per zone, and none of those with leap seconds, "right/".
std::vector<std::string> zonesOfThisMachine() {
  std::vector<std::string> result;
  std::set<std::string> contents;
  std::error_code failure;
  fs::recursive_directory_iterator each(kDatabase, failure);
  for (; !failure && each != fs::recursive_directory_iterator(); each.increment(failure)) {
    if (each->path().filename() == "right" || each->path().filename() == "posix") each.disable_recursion_pending();
    if (!each->is_regular_file()) continue;
    std::ostringstream bytes;
    bytes << std::ifstream(each->path(), std::ios::binary).rdbuf();
    if (bytes.str().starts_with("TZif") && contents.insert(bytes.str()).second)
      result.push_back(fs::relative(each->path(), kDatabase).string());
  }
  return result;
}

TEST(EveryZone, HasTheDaysThatTheCLibrarySays) {
  const std::vector<std::string> zones = zonesOfThisMachine();
  if (zones.empty()) GTEST_SKIP() << "This machine has no time zones.";
  EXPECT_GT(zones.size(), 300U);
  const ZoneEnvironment environment;
  for (const std::string& zone : zones) {
    ZoneEnvironment::set(zone);
    EXPECT_TRUE(agreesWithTheCLibrary(support::kUnderSanitizers ? 97.37 : 9.37)) << zone;
  }
}

TEST(EveryZone, IsTheCLibrarysForEveryFormOfTheVariable) {
  const ZoneEnvironment environment;
  for (const char* zone :
       {"", ":", ":Europe/Berlin", "/usr/share/zoneinfo/Asia/Tokyo", ":/usr/share/zoneinfo/America/Mexico_City",
        "EST5EDT", "GMT+3", "Etc/GMT+3", "UTC", "America", "Nowhere/Atlantis", "/etc/passwd", "europe/berlin",
        "CET-1CEST,M3.5.0,M10.5.0/3", "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1", "IST-1GMT0,M10.5.0,M3.5.0/1",
        "ABC-24:59:59DEF", "ABC24:59:59DEF12,J100/0,J101/0"}) {
    ZoneEnvironment::set(zone);
    EXPECT_TRUE(agreesWithTheCLibrary(support::kUnderSanitizers ? 33.37 : 3.37)) << '"' << zone << '"';
  }
}

TEST(EveryZone, ACalendarKeepsItsZoneWhenTheMachinesChanges) {
  const ZoneEnvironment environment;
  ZoneEnvironment::set("XYZ-14");
  const LocalCalendar before = LocalCalendar::current();
  ZoneEnvironment::set("XYZ12");
  const LocalCalendar after = LocalCalendar::current();
  const Instant now = instantAtSeconds(::time(nullptr));
  for (int day = -60; day <= 60; ++day) {
    const Instant instant = now + std::chrono::hours(24 * day);
    EXPECT_NE(before.dayString(instant), after.dayString(instant)) << day;
  }
}

// In a child with a folder /etc of its own. Its exit code: 0 when days followed the file, 77 when the machine does
// not let it have such a folder.
int followsTheZoneFile() {
  if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      ::mount("none", "/etc", "tmpfs", 0, nullptr) != 0)
    return 77;
  ::unsetenv("TZ");
  const Instant evening = instantAtSeconds(1'782'945'000);  // 22:30 UTC on 2026-07-01
  const auto dayIn = [&](const char* zone) {
    std::error_code failure;
    fs::remove("/etc/localtime", failure);
    fs::create_symlink(kDatabase / zone, "/etc/localtime", failure);
    return LocalCalendar::current().dayString(evening);
  };
  const bool follows = dayIn("Asia/Tokyo") == "2026-07-02" && dayIn("America/New_York") == "2026-07-01" &&
                       dayIn("Europe/Berlin") == "2026-07-02" && dayIn("Nowhere/Atlantis") == "2026-07-01";
  return follows ? 0 : 1;
}

TEST(EveryZone, AReplacedZoneFileOfTheMachineIsNoticed) {
  if (!fs::exists(kDatabase / "Asia/Tokyo")) GTEST_SKIP() << "This machine has no time zones.";
  const pid_t child = ::fork();
  if (child == 0) ::_exit(followsTheZoneFile());
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "Only root may give a process a folder /etc of its own.";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace pellora
