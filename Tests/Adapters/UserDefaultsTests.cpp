#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QSettings>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>

#include "Adapters/InMemory/InMemoryStorage.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Contract.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

// The contract of user defaults, for those in memory and those in a file.
namespace {

class UserDefaultsWorld {
 public:
  virtual ~UserDefaultsWorld() = default;
  virtual UserDefaults& defaults() = 0;
  virtual void breakStoring() = 0;
};

class MemoryUserDefaultsWorld : public UserDefaultsWorld {
 public:
  UserDefaults& defaults() override { return _defaults; }
  void breakStoring() override { _defaults.setFailing(true); }

 private:
  InMemoryUserDefaults _defaults;
};

class FileUserDefaultsWorld : public UserDefaultsWorld {
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

class UserDefaultsContract : public support::Contract<UserDefaultsWorld> {
 protected:
  UserDefaults& defaults() { return world->defaults(); }
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
  world->breakStoring();
  EXPECT_THROW(defaults().store({{"key", true}}), FileError);
  try {
    EXPECT_FALSE(defaults().boolean("key"));
  } catch (const FileError&) {
    // Where nothing can be stored, nothing need be readable.
  }
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
                         testing::Values(support::party<UserDefaultsWorld, MemoryUserDefaultsWorld>("InMemory"),
                                         support::party<UserDefaultsWorld, FileUserDefaultsWorld>("Ini")),
                         support::kPartyName);

// The settings file byte by byte, against the toolkit's own settings class, and in all kinds of damage.
namespace {

class IniUserDefaultsTest : public testing::Test {
 protected:
  void write(const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }
  std::string read() const {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  // The class remembers files by their names for a while, so it gets a name of its own each time.
  QSettings settings() {
    const std::filesystem::path copy = folder / ("copy" + std::to_string(++copies) + ".ini");
    std::filesystem::copy_file(file, copy);
    return QSettings(QString::fromStdString(copy.string()), QSettings::IniFormat);
  }
  std::string settingsText(const std::string& key) {
    return settings().value(QString::fromStdString(key), QStringLiteral("(absent)")).toString().toStdString();
  }

  support::TemporaryFolder folder;
  const std::filesystem::path file = folder / "defaults.ini";
  IniUserDefaults defaults{file};
  int copies = 0;
};

}  // namespace

TEST_F(IniUserDefaultsTest, TheFileLooksAsItsReadersExpect) {
  defaults.store({{"messages.lastRowID", std::int64_t{123}},
                  {"messages.peopleFingerprint", std::string("abc")},
                  {"messages.notesVersion", std::int64_t{9}},
                  {"messages.lastReadAt", instantAtSeconds(1'795'235'340) + Nanoseconds(123'456'789)},
                  {"messages.loginItemDecided", true}});
  EXPECT_EQ(read(),
            "[General]\n"
            "messages.lastRowID=123\n"
            "messages.peopleFingerprint=abc\n"
            "messages.notesVersion=9\n"
            "messages.lastReadAt=2026-11-21T04:29:00.123456789Z\n"
            "messages.loginItemDecided=true\n");
  struct stat status{};
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(IniUserDefaultsTest, TheSettingsClassReadsTheSameValuesAndOursReadItsValues) {
  defaults.store({{"messages.lastRowID", std::int64_t{-123}},
                  {"messages.loginItemDecided", true},
                  {"messages.peopleFingerprint", std::string("cbf29ce484222325")}});
  EXPECT_EQ(settings().value(QStringLiteral("messages.lastRowID")).toLongLong(), -123);
  EXPECT_TRUE(settings().value(QStringLiteral("messages.loginItemDecided")).toBool());
  EXPECT_EQ(settingsText("messages.peopleFingerprint"), "cbf29ce484222325");
  QSettings(QString::fromStdString(file.string()), QSettings::IniFormat)
      .setValue(QStringLiteral("messages.lastRowID"), qlonglong{4'000'000'000});
  EXPECT_EQ(defaults.integer("messages.lastRowID"), 4'000'000'000);
  EXPECT_EQ(defaults.text("messages.peopleFingerprint"), "cbf29ce484222325");
}

TEST_F(IniUserDefaultsTest, WhatOthersWroteStays) {
  write(
      "# a comment of mine\n"
      "[Window]\n"
      "messages.lastRowID=5\n"
      "[General]\n"
      "unknown=1, 2, 3\n"
      "messages.lastRowID=7\n"
      "nonsense\n");
  EXPECT_EQ(defaults.integer("messages.lastRowID"), 7);
  defaults.store({{"messages.lastRowID", std::int64_t{8}}, {"messages.notesVersion", std::int64_t{9}}});
  for (const char* line : {"# a comment of mine\n", "[Window]\nmessages.lastRowID=5\n", "unknown=1, 2, 3\n",
                           "messages.lastRowID=8\n", "#nonsense\n", "messages.notesVersion=9\n"})
    EXPECT_THAT(read(), testing::HasSubstr(line));
  EXPECT_EQ(settingsText("messages.lastRowID"), "8");
  EXPECT_EQ(settingsText("Window/messages.lastRowID"), "5");
}

TEST_F(IniUserDefaultsTest, WrongTypesAndDamageReadAsAbsentAndTheNextStoreGoesOn) {
  for (const char* value : {"abc", "", "12a", "1.5", "0x10", "99999999999999999999", "\"12", "1,2", "@ByteArray(12)",
                            "--1", "+", "\xFF\xFE", "@Invalid()"}) {
    write("[General]\nmessages.lastRowID=" + std::string(value) + "\nother=1\n");
    EXPECT_FALSE(defaults.integer("messages.lastRowID")) << value;
    EXPECT_FALSE(defaults.date("messages.lastRowID")) << value;
    defaults.store({{"messages.lastRowID", std::int64_t{5}}});
    EXPECT_EQ(defaults.integer("messages.lastRowID"), 5) << value;
    EXPECT_THAT(read(), testing::HasSubstr("other=1")) << value;
  }
}

TEST_F(IniUserDefaultsTest, AnyBytesAreSurvivedAndWhatCanBeReadIsKept) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const std::string& bytes :
       {all, all + all, std::string(1000, '"'), std::string(1000, '\\'), std::string(50, '\0'), std::string("["),
        std::string("[]"), std::string("="), std::string("=x"), std::string("[General"), std::string("[General]\n=")}) {
    write(bytes + "\n[General]\nmessages.lastRowID=123\n");
    EXPECT_EQ(defaults.integer("messages.lastRowID"), 123) << testing::PrintToString(bytes);
    defaults.store({{"messages.notesVersion", std::int64_t{9}}});
    EXPECT_EQ(defaults.integer("messages.notesVersion"), 9) << testing::PrintToString(bytes);
    EXPECT_EQ(defaults.integer("messages.lastRowID"), 123) << testing::PrintToString(bytes);
  }
}

TEST_F(IniUserDefaultsTest, AFileThatCannotBeReadIsNotReplaced) {
  write(std::string((1 << 20) + 1, 'x'));
  EXPECT_THROW(defaults.text("key"), FileError) << "taken for empty, it would begin everything again";
  EXPECT_THROW(defaults.store({{"key", true}}), FileError);
  EXPECT_EQ(std::filesystem::file_size(file), (1U << 20) + 1);
}

TEST_F(IniUserDefaultsTest, ALinkToTheFileStaysALink) {
  write("[General]\nother=1\n");
  const std::filesystem::path link = folder / "link.ini";
  std::filesystem::create_symlink(file, link);
  IniUserDefaults(link).store({{"key", true}});
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(read(), "[General]\nother=1\nkey=true\n");
}

TEST_F(IniUserDefaultsTest, ProcessesThatStoreAtOnceDoNotUndoEachOther) {
  write("[General]\n");
  std::vector<std::unique_ptr<support::ChildProcess>> writers;
  for (const char* key : {"one", "two", "three"})
    writers.push_back(std::make_unique<support::ChildProcess>(
        PELLORA_PLATFORM_PROBE, std::vector<std::string>{"store-defaults", file.string(), key, "40"}));
  for (const auto& writer : writers) EXPECT_EQ(writer->finish(), "");
  for (const char* key : {"one", "two", "three"}) EXPECT_EQ(defaults.integer(key), 40) << key;
}

TEST_F(IniUserDefaultsTest, WhatAnotherProcessStoredIsSeenAtOnce) {
  defaults.store({{"key", std::int64_t{1}}});
  support::ChildProcess writer(PELLORA_PLATFORM_PROBE, {"store-defaults", file.string(), "key", "2"});
  EXPECT_EQ(writer.finish(), "");
  EXPECT_EQ(defaults.integer("key"), 2);
}

TEST(IniUserDefaultsFile, LiesInTheConfigurationFolder) {
  support::ScopedEnvironment environment;
  environment.set("XDG_CONFIG_HOME", "/somewhere/config");
  EXPECT_EQ(IniUserDefaults::standardFile(), "/somewhere/config/app.pellora.messages/defaults.ini");
  environment.set("XDG_CONFIG_HOME", "relative");
  environment.set("HOME", "/home/somebody");
  EXPECT_EQ(IniUserDefaults::standardFile(), "/home/somebody/.config/app.pellora.messages/defaults.ini");
}

}  // namespace pellora
