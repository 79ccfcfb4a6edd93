#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "PelloraMessagesCore/Time/BuiltInZones.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"
#include "PelloraMessagesCore/Time/SystemZone.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kHour = 3'600;
constexpr std::int64_t kSummer = 1'782'907'200;  // noon of 2026-07-01

// A zone file with one offset.
std::string zoneFile(std::int32_t hours) {
  const auto offset = static_cast<std::uint32_t>(hours * 3'600);
  std::string result = "TZif" + std::string(16, '\0') + std::string(16, '\0') + std::string("\0\0\0\1\0\0\0\4", 8);
  for (int shift = 24; shift >= 0; shift -= 8) result += static_cast<char>(offset >> shift & 0xFF);
  return result + std::string("\0\0ABC\0", 6);
}

class SystemZoneTest : public testing::Test {
 protected:
  SystemZoneTest() {
    fs::create_directories(_folder / "zones/Here");
    write("zones/Here/There", zoneFile(5));
    write("zones/ABC1", zoneFile(6));
    write("zones/damaged", zoneFile(6).substr(0, 50));
    write("outside", zoneFile(7));
    write("local", zoneFile(8));
  }

  void write(const std::string& name, const std::string& bytes) {
    std::ofstream(_folder / name, std::ios::binary) << bytes;
  }
  SystemZone::Places places(std::optional<std::string> variable) const {
    return {std::move(variable), _folder / "zones", _folder / "local"};
  }
  std::int64_t hours(const SystemZone::Places& places) const {
    return SystemZone::current(places)(kSummer).offset / kHour;
  }

  support::TemporaryFolder _folder;
};

TEST_F(SystemZoneTest, TheVariableIsResolvedAsTheCLibraryDoes) {
  struct Case {
    std::optional<std::string> variable;
    std::int64_t hours;
  };
  const std::vector<Case> cases = {
      {std::nullopt, 8},
      {"", 0},
      {":", 0},
      {"Here/There", 5},
      {":Here/There", 5},
      {"::Here/There", 0},
      {_folder / "outside", 7},
      {":" + (_folder / "outside").string(), 7},
      {"ABC1", 6},  // a file before a rule
      {"ABC2", -2},
      {":ABC2", -2},
      {"GMT+3", -3},
      {"EET-2EEST,M3.5.0/3,M10.5.0/4", 3},
      {"../outside", 0},
      {"Here/../../outside", 0},
      {"Here/../ABC1", 0},
      {"Here", 0},
      {"damaged", 0},
      {"Europe/Berlin", 0},
      {"/nowhere", 0},
      {"/", 0},
      {std::string(100'000, 'a'), 0},
  };
  for (const Case& each : cases) EXPECT_EQ(hours(places(each.variable)), each.hours) << each.variable.value_or("-");
}

TEST_F(SystemZoneTest, NamesAreFilesOfTheDatabaseAlone) {
  const std::vector<std::pair<std::string, std::int64_t>> cases = {
      {"Here/There", 5},   {"ABC1", 6},          {"", 0},
      {"ABC2", 0},         {":Here/There", 0},   {"../outside", 0},
      {"Here/../ABC1", 0}, {"Europe/Berlin", 0}, {_folder / "outside", 0},
  };
  for (const auto& [name, hours] : cases)
    EXPECT_EQ(SystemZone::named(name, places("ABC2"))(kSummer).offset, hours * kHour) << name;
}

TEST_F(SystemZoneTest, AChangeOfTheMachinesZoneIsSeenAtOnce) {
  EXPECT_EQ(hours(places(std::nullopt)), 8);
  write("local", zoneFile(9));
  EXPECT_EQ(hours(places(std::nullopt)), 9);
  fs::remove(_folder / "local");
  EXPECT_EQ(hours(places(std::nullopt)), 0);
  fs::create_symlink("zones/Here/There", _folder / "local");
  EXPECT_EQ(hours(places(std::nullopt)), 5);
}

TEST_F(SystemZoneTest, WhatIsNoRegularFileIsNotWaitedFor) {
  ASSERT_EQ(::mkfifo((_folder / "zones/pipe").c_str(), 0600), 0);
  EXPECT_EQ(hours(places("pipe")), 0);
  EXPECT_EQ(hours(places("/dev/zero")), 0);
}

TEST_F(SystemZoneTest, WithoutADatabaseTheBuiltInZonesStandIn) {
  fs::remove_all(_folder / "zones");
  fs::remove(_folder / "local");
  EXPECT_EQ(hours(places("Europe/Berlin")), 2);
  EXPECT_EQ(hours(places("/usr/share/zoneinfo-of-nobody/zoneinfo/posix/Europe/Berlin")), 2);
  EXPECT_EQ(hours(places("ABC2")), -2);
  EXPECT_EQ(hours(places("Nowhere/Atlantis")), 0);
  EXPECT_EQ(hours(places("")), 0);
  EXPECT_EQ(hours(places(std::nullopt)), 0);
  fs::create_symlink("/nowhere/zoneinfo/Asia/Tokyo", _folder / "local");
  EXPECT_EQ(hours(places(std::nullopt)), 9);
  EXPECT_EQ(SystemZone::named("Europe/Berlin", places(""))(kSummer).offset, 2 * kHour);
  EXPECT_EQ(SystemZone::named("Nowhere/Atlantis", places(""))(kSummer).offset, 0);
}

TEST_F(SystemZoneTest, TheEnvironmentSaysWhereToLook) {
  support::ScopedEnvironment environment;
  environment.unset("TZ");
  environment.unset("TZDIR");
  EXPECT_FALSE(SystemZone::places().variable);
  EXPECT_EQ(SystemZone::places().database, "/usr/share/zoneinfo");
  EXPECT_EQ(SystemZone::places().localTime, "/etc/localtime");
  environment.set("TZ", "");
  environment.set("TZDIR", "");
  EXPECT_EQ(SystemZone::places().variable, "");
  EXPECT_EQ(SystemZone::places().database, "/usr/share/zoneinfo");
  environment.set("TZ", "Here/There");
  environment.set("TZDIR", _folder / "zones");
  EXPECT_EQ(SystemZone::places().variable, "Here/There");
  const Instant evening = instantAtSeconds(kSummer + 8 * kHour);
  EXPECT_EQ(LocalCalendar::current().dayString(evening), "2026-07-02");
  EXPECT_EQ(LocalCalendar::inTimeZone("Here/There").dayString(evening), "2026-07-02");
  EXPECT_EQ(LocalCalendar::inTimeZone("Europe/Berlin").dayString(evening), "2026-07-01");
}

TEST(BuiltInZones, StretchesLieBetweenTransitions) {
  const ZoneFinder berlin = BuiltInZones::named("Europe/Berlin");
  ASSERT_TRUE(berlin);
  EXPECT_EQ(berlin(kSummer), (ZoneStretch{1'774'746'000, 1'792'890'000, 2 * kHour}));
  EXPECT_EQ(berlin(1'774'746'000), berlin(kSummer));
  EXPECT_EQ(berlin(1'774'746'000 - 1).end, 1'774'746'000);
  const ZoneFinder utc = BuiltInZones::named("UTC");
  ASSERT_TRUE(utc);
  EXPECT_EQ(utc(kSummer), ZoneStretch());
  EXPECT_FALSE(BuiltInZones::named("Nowhere/Atlantis"));
  EXPECT_FALSE(BuiltInZones::named(""));
}

}  // namespace
}  // namespace pellora
