// What a zone says is what the C library of this machine says, in every zone of this machine and for POSIX rules.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>

#include "PelloraMessagesCore/Time/LocalCalendar.h"
#include "PelloraMessagesCore/Time/SystemZone.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kStartOf1900 = -2'208'988'800;
constexpr std::int64_t kStartOf1971 = 31'536'000;
constexpr std::int64_t kStartOf2100 = 4'102'444'800;

// The zone variables for one test, which the C library follows too.
class ZoneEnvironment {
 public:
  ~ZoneEnvironment() {
    _environment.reset();
    ::tzset();
  }

  void set(const std::string& name, const std::string& value) { _environment->set(name, value); }
  void setZone(const std::string& value) {
    set("TZ", value);
    ::tzset();
  }

 private:
  std::unique_ptr<support::ScopedEnvironment> _environment = std::make_unique<support::ScopedEnvironment>();
};

std::tm libcTime(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm result{};
  EXPECT_NE(::localtime_r(&time, &result), nullptr) << seconds;
  return result;
}

testing::AssertionResult agreesAt(const ZoneFinder& zone, std::int64_t seconds) {
  const std::int64_t ours = zone(seconds).offset;
  const std::int64_t theirs = libcTime(seconds).tm_gmtoff;
  if (ours == theirs) return testing::AssertionSuccess();
  return testing::AssertionFailure() << seconds << ": offset " << ours << ", the C library says " << theirs;
}

// In TZ as it is set, from one instant to another: around every transition, and every so many days (a number that
// brings other weekdays and times of day each time).
testing::AssertionResult agreesBetween(std::int64_t begin, std::int64_t end, double gridDays) {
  const ZoneFinder zone = SystemZone::current(SystemZone::places());
  for (std::int64_t each = zone(begin).end; each < end; each = zone(each).end)
    for (const std::int64_t beside : {each - 1, each, each + 1})
      if (auto result = agreesAt(zone, beside); !result) return result;

  const auto step = static_cast<std::int64_t>(gridDays * kSecondsPerDay);
  const LocalCalendar calendar = LocalCalendar::current();
  for (std::int64_t each = begin; each < end; each += step) {
    if (auto result = agreesAt(zone, each); !result) return result;
    const std::tm theirs = libcTime(each);
    const LocalCalendar::Date date{theirs.tm_year + 1900, theirs.tm_mon + 1, theirs.tm_mday};
    if (calendar.date(instantAtSeconds(each)) != date || calendar.weekday(instantAtSeconds(each)) != theirs.tm_wday + 1)
      return testing::AssertionFailure() << each << ": not the C library's date";
  }
  return testing::AssertionSuccess();
}

// Without those with leap seconds, "right/".
std::vector<std::string> zonesOfThisMachine() {
  const fs::path database = SystemZone::Places().database;
  std::vector<std::string> result;
  std::error_code failure;
  fs::recursive_directory_iterator each(database, failure);
  for (; !failure && each != fs::recursive_directory_iterator(); each.increment(failure)) {
    if (each->path().filename() == "right" || each->path().filename() == "posix") each.disable_recursion_pending();
    if (!each->is_regular_file()) continue;
    std::string magic(4, '\0');
    std::ifstream(each->path(), std::ios::binary).read(magic.data(), 4);
    if (magic == "TZif") result.push_back(fs::relative(each->path().lexically_normal(), database).string());
  }
  return result;
}

TEST(ZonesAndLibc, EveryZoneOfThisMachineSaysTheSame) {
  constexpr double kGridDays = 9.37;
  const std::vector<std::string> zones = zonesOfThisMachine();
  if (zones.empty()) GTEST_SKIP() << "This machine has no time zones.";
  EXPECT_GT(zones.size(), 300U);
  ZoneEnvironment environment;
  for (const std::string& name : zones) {
    environment.setZone(name);
    EXPECT_TRUE(agreesBetween(kStartOf1900, kStartOf2100, kGridDays)) << name;
  }
}

TEST(ZonesAndLibc, EveryFormOfTheVariableSaysTheSame) {
  constexpr double kGridDays = 3.37;
  ZoneEnvironment environment;
  for (const char* value : {"",
                            ":",
                            ":Europe/Berlin",
                            "/usr/share/zoneinfo/Asia/Tokyo",
                            ":/usr/share/zoneinfo/America/Mexico_City",
                            "posix/Africa/Cairo",
                            "EST5EDT",
                            "EST",
                            "GMT",
                            "GMT+3",
                            "GMT-0",
                            "Etc/GMT+3",
                            "UTC",
                            "America",
                            "America/",
                            "Nowhere/Atlantis",
                            "/nowhere",
                            "/etc/passwd",
                            "Europe/./Berlin",
                            "europe/berlin",
                            " UTC"}) {
    environment.setZone(value);
    EXPECT_TRUE(agreesBetween(kStartOf1971, kStartOf2100, kGridDays)) << '"' << value << '"';
  }
}

// With an empty folder of zones, because the C library takes the dates that a rule leaves out from the folder's
// "posixrules" if it has one, and shifts those the wrong way.
TEST(ZonesAndLibc, PosixRulesSayTheSame) {
  constexpr double kGridDays = 3.37;
  const support::TemporaryFolder empty;
  ZoneEnvironment environment;
  environment.set("TZDIR", empty.path());
  for (const char* value : {
           "GMT+3",
           "CET-1CEST,M3.5.0,M10.5.0/3",
           "EET-2EEST,M3.5.0/3,M10.5.0/4",
           "IST-5:30",
           "<+0530>-5:30",
           "XYZ-3:30",
           "UTC0",
           "UTC",
           "EST5EDT",
           "EST5EDT,",
           "EST5EDT4",
           "EST5EDT4:30",
           "EST+5EDT+4,M3.2.0,M11.1.0",
           "CET-1CEST",
           "XYZ-9ABC",
           "CET-1CEST,M3.5.0",
           "CET-1CEST,M3.5.0/1,",
           "PST8PDT7M3.2.0,M11.1.0",
           "AEST-10AEDT,M10.1.0,M4.1.0/3",
           "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
           "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
           "IST-2IDT,M3.4.4/26,M10.5.0",
           "IST-1GMT0,M10.5.0,M3.5.0/1",
           "<+00>0<+02>-2,M3.5.0/1,M10.5.0/3",
           "AAA-1BBB,J60/0,J300/0",
           "AAA-1BBB,J59/0,J305/1:30:15",
           "AAA-1BBB,59/0,300/0",
           "AAA-1BBB,60/-167:59:59,300/167:59:59",
           "AAA-1BBB,M2.5.1,M9.4.6",
           "AAA-1BBB,M3.2.0/2,M3.2.0/3",
           "AAA12BBB13,M3.1.3/0,M9.3.2/0",
           "AAA-24:59:59",
           "AAA24:59:59",
           "AAA-99:99:99",
           "AAA-0:00:01BBB0:00:01,M3.5.0,M10.5.0",
           "Abcdefghijklmnop-1",
           "<A1+>5",
           "AB5",
           "<AB>5",
           "<ABC5",
           "ABC",
           "ABC+",
           "5",
           "-5",
           "ABC:5",
           "A1C5",
           "<>5",
       }) {
    environment.setZone(value);
    EXPECT_TRUE(agreesBetween(kStartOf1971, kStartOf2100, kGridDays)) << '"' << value << '"';
  }
}

class RandomRule {
 public:
  explicit RandomRule(unsigned seed) : _random(seed) {}

  std::string next() {
    std::string result = name() + offset() + name();
    if (isChosen()) result += offset();
    if (!isChosen()) return result;
    const std::string spring = date(2, 4, 45, 120);
    const std::string autumn = date(7, 11, 200, 340);
    return result + (isChosen() ? ',' + spring + ',' + autumn : ',' + autumn + ',' + spring);
  }

 private:
  int between(int first, int last) { return std::uniform_int_distribution<int>(first, last)(_random); }
  bool isChosen() { return between(0, 2) != 0; }

  std::string name() { return isChosen() ? "ABC" : "<+0" + std::to_string(between(0, 9)) + ">"; }
  std::string clock(int hours) {
    std::string result = std::to_string(between(0, hours));
    if (isChosen()) return result;
    result += ':' + std::to_string(between(0, 59));
    if (isChosen()) result += ':' + std::to_string(between(0, 59));
    return result;
  }
  std::string offset() { return (isChosen() ? "-" : "+") + clock(14); }
  // Neither near the new year nor near each other: there the C library, which looks at the changes of one year only,
  // jumps at the new year.
  std::string date(int firstMonth, int lastMonth, int firstDay, int lastDay) {
    std::string result;
    if (isChosen())
      result = "M" + std::to_string(between(firstMonth, lastMonth)) + '.' + std::to_string(between(1, 5)) + '.' +
               std::to_string(between(0, 6));
    else
      result = (isChosen() ? "J" : "") + std::to_string(between(firstDay, lastDay));
    if (isChosen()) return result;
    return result + '/' + (isChosen() ? "" : "-") + clock(167);
  }

  std::mt19937 _random;
};

TEST(ZonesAndLibc, RandomPosixRulesSayTheSame) {
  constexpr int kRules = 300;
  constexpr double kGridDays = 5.37;
  const support::TemporaryFolder empty;
  ZoneEnvironment environment;
  environment.set("TZDIR", empty.path());
  RandomRule rules(7);
  for (int round = 0; round < kRules; ++round) {
    const std::string value = rules.next();
    environment.setZone(value);
    EXPECT_TRUE(agreesBetween(kStartOf1971, kStartOf2100, kGridDays)) << '"' << value << '"';
  }
}

}  // namespace
}  // namespace pellora
