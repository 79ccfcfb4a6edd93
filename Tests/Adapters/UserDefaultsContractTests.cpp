// What all user defaults promise, asked of those in memory and of those in a file.
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "Adapters/InMemory/InMemoryUserDefaults.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "PelloraMessagesCore/Files/FileError.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

class World {
 public:
  virtual ~World() = default;
  virtual UserDefaults& defaults() = 0;
  virtual void breakStoring() = 0;
};

class MemoryWorld : public World {
 public:
  UserDefaults& defaults() override { return _defaults; }
  void breakStoring() override { _defaults.setFailing(true); }

 private:
  InMemoryUserDefaults _defaults;
};

class FileWorld : public World {
 public:
  UserDefaults& defaults() override { return _defaults; }
  void breakStoring() override {
    std::filesystem::remove(_file);
    std::filesystem::create_directories(_file);
  }

 private:
  support::TemporaryFolder _folder;
  std::filesystem::path _file = _folder / "config/defaults.ini";
  IniUserDefaults _defaults{_file};
};

struct Kind {
  const char* name;
  std::unique_ptr<World> (*make)();
};

template <class Type>
std::unique_ptr<World> make() {
  return std::make_unique<Type>();
}

class UserDefaultsContract : public testing::TestWithParam<Kind> {
 protected:
  UserDefaults& defaults() { return _world->defaults(); }

  std::unique_ptr<World> _world = GetParam().make();
};

}  // namespace

TEST_P(UserDefaultsContract, WhatWasNeverStoredIsAbsentAndFalse) {
  EXPECT_FALSE(defaults().integer("messages.lastRowID"));
  EXPECT_FALSE(defaults().text("messages.lastRowID"));
  EXPECT_FALSE(defaults().date("messages.lastRowID"));
  EXPECT_FALSE(defaults().boolean("messages.lastRowID"));
}

TEST_P(UserDefaultsContract, EveryTypeComesBack) {
  const Instant date = instantAtSeconds(1'795'235'340) + Nanoseconds(123'456'789);
  defaults().store({{"messages.lastRowID", std::int64_t{123}},
                    {"messages.peopleFingerprint", std::string("cbf29ce484222325")},
                    {"messages.lastReadAt", date},
                    {"messages.loginItemDecided", true}});
  EXPECT_EQ(defaults().integer("messages.lastRowID"), 123);
  EXPECT_EQ(defaults().text("messages.peopleFingerprint"), "cbf29ce484222325");
  EXPECT_EQ(defaults().date("messages.lastReadAt"), date);
  EXPECT_TRUE(defaults().boolean("messages.loginItemDecided"));
}

TEST_P(UserDefaultsContract, TheLastValueStoredCountsAlsoOfAnotherType) {
  defaults().store({{"key", true}});
  defaults().store({{"key", std::int64_t{1}}, {"key", std::string("text")}});
  EXPECT_EQ(defaults().text("key"), "text");
  EXPECT_FALSE(defaults().integer("key"));
  EXPECT_FALSE(defaults().boolean("key"));
}

TEST_P(UserDefaultsContract, AValueOfAnotherTypeReadsAsAbsent) {
  defaults().store({{"text", std::string("abc")}, {"number", std::int64_t{7}}, {"flag", true}});
  EXPECT_FALSE(defaults().integer("text"));
  EXPECT_FALSE(defaults().date("text"));
  EXPECT_FALSE(defaults().boolean("text"));
  EXPECT_FALSE(defaults().date("number"));
  EXPECT_FALSE(defaults().boolean("number"));
  EXPECT_FALSE(defaults().integer("flag"));
  EXPECT_FALSE(defaults().date("flag"));
}

TEST_P(UserDefaultsContract, AFailureIsThrownAndStoresNothing) {
  _world->breakStoring();
  EXPECT_THROW(defaults().store({{"key", true}}), FileError);
  EXPECT_FALSE(defaults().boolean("key"));
}

TEST_P(UserDefaultsContract, TheLimitsOfNumbersAndDatesComeBack) {
  for (const std::int64_t number : {std::numeric_limits<std::int64_t>::min(), std::int64_t{-1}, std::int64_t{0},
                                    std::numeric_limits<std::int64_t>::max()}) {
    defaults().store({{"number", number}});
    EXPECT_EQ(defaults().integer("number"), number);
  }
  for (const std::int64_t seconds :
       std::initializer_list<std::int64_t>{-62'135'596'800, -1, 0, 4'102'444'800, 253'402'300'799}) {
    for (const int nanoseconds : {0, 1, 500'000'000, 999'999'999}) {
      const Instant date = instantAtSeconds(seconds) + Nanoseconds(nanoseconds);
      defaults().store({{"date", date}});
      EXPECT_EQ(defaults().date("date"), date) << seconds << " " << nanoseconds;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Defaults, UserDefaultsContract,
                         testing::Values(Kind{"InMemory", make<MemoryWorld>}, Kind{"Ini", make<FileWorld>}),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace pellora
