// The settings file byte by byte, against the toolkit's own settings class, and in all kinds of damage.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QSettings>
#include <fstream>

#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Files/IniValue.h"
#include "PelloraMessagesCore/Files/FileError.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

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

// Texts that an INI file has to spell with care.
const std::vector<std::string> kAwkwardTexts{"",
                                             " ",
                                             "plain",
                                             " leading",
                                             "trailing ",
                                             "two words",
                                             "a;b",
                                             "a,b",
                                             "a=b",
                                             "a\"b",
                                             "\"quoted\"",
                                             "'single'",
                                             "back\\slash",
                                             "\\x41",
                                             "\\",
                                             "a\\",
                                             "line\nbreak",
                                             "\r\n",
                                             "tab\tin",
                                             "\t",
                                             "\x01"
                                             "1",
                                             "\x1f"
                                             "ff",
                                             "\x7f"
                                             "a",
                                             "\xC2\x80"
                                             "9",
                                             "@",
                                             "@@",
                                             "@Invalid()",
                                             "@ByteArray(x)",
                                             "@String(x)",
                                             "@Variant(\\0)",
                                             "@DateTime(x)",
                                             "@other",
                                             "[General]",
                                             "; no comment",
                                             "# hash",
                                             "100%",
                                             "%41",
                                             "ключ",
                                             "👩‍👩‍👧",
                                             "e\xCC\x81",
                                             "\xC2\xA0nbsp\xC2\xA0",
                                             "true",
                                             "123",
                                             "2026-11-21T04:29:00Z",
                                             "?",
                                             "\a\b\f\v",
                                             "a, b",
                                             ",",
                                             "=",
                                             ";",
                                             "\xE2\x80\xA8"};

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

TEST_F(IniUserDefaultsTest, TheSettingsClassReadsTheSameValues) {
  defaults.store({{"messages.lastRowID", std::int64_t{-123}}, {"messages.loginItemDecided", true}});
  EXPECT_EQ(settings().value(QStringLiteral("messages.lastRowID")).toLongLong(), -123);
  EXPECT_TRUE(settings().value(QStringLiteral("messages.loginItemDecided")).toBool());
  for (const std::string& text : kAwkwardTexts) {
    defaults.store({{"key", text}});
    EXPECT_EQ(settingsText("key"), text);
    EXPECT_EQ(defaults.text("key"), text);
    EXPECT_EQ(settings().status(), QSettings::NoError);
  }
}

TEST_F(IniUserDefaultsTest, ValuesThatTheSettingsClassWroteAreRead) {
  const auto setValue = [this](const char* key, const QVariant& value) {
    QSettings(QString::fromStdString(file.string()), QSettings::IniFormat).setValue(QLatin1String(key), value);
  };
  for (const std::string& text : kAwkwardTexts) {
    setValue("messages.peopleFingerprint", QString::fromStdString(text));
    EXPECT_EQ(defaults.text("messages.peopleFingerprint"), text);
  }
  setValue("messages.lastRowID", qlonglong{4'000'000'000});
  setValue("messages.loginItemDecided", true);
  EXPECT_EQ(defaults.integer("messages.lastRowID"), 4'000'000'000);
  EXPECT_TRUE(defaults.boolean("messages.loginItemDecided"));
}

TEST_F(IniUserDefaultsTest, EveryCharacterSurvivesBothWays) {
  std::vector<UserDefaults::Change> texts;
  for (unsigned code = 1; code < 0x120; ++code)
    for (const char* after : {"", "a"})
      texts.emplace_back("key" + std::to_string(texts.size()), QString(QChar(code)).toStdString() + after);
  for (const char* text : {"\uFEFF", "\uFEFFa", "\n\uFEFFx", "\uFEFF\uFEFF", "a\uFEFF"})
    texts.emplace_back("key" + std::to_string(texts.size()), text);
  defaults.store(texts);
  const QSettings toolkit = settings();
  for (const auto& [key, value] : texts) {
    const std::string& text = std::get<std::string>(value);
    ASSERT_EQ(defaults.text(key), text);
    ASSERT_EQ(toolkit.value(QString::fromStdString(key)).toString().toStdString(), text);
  }
}

TEST_F(IniUserDefaultsTest, AwkwardKeysAreTheSameKeysForBoth) {
  for (const char* key : {"a b", "a/b", "a%b", "a=b", "ключ", "a.b-c_d", "[x]", ";x", "😀"}) {
    defaults.store({{key, std::string("ours")}});
    EXPECT_EQ(defaults.text(key), "ours") << key;
    EXPECT_EQ(settingsText(key), key == std::string("a/b") ? settingsText("a/b") : "ours") << key;
  }
}

TEST_F(IniUserDefaultsTest, WhatOthersWroteStays) {
  write(
      "; a comment of mine\r\n"
      "\n"
      "[Window]\n"
      "messages.lastRowID=5\n"
      "size=@Size(1 2)\n"
      "[General]\n"
      "unknown=1, 2, 3\n"
      "messages.lastRowID = 7 ; seven\n"
      "nonsense\n"
      "\n"
      "[Other]\n"
      "last=x");
  EXPECT_EQ(defaults.integer("messages.lastRowID"), 7);
  EXPECT_FALSE(defaults.text("unknown"));
  defaults.store({{"messages.lastRowID", std::int64_t{8}}, {"messages.notesVersion", std::int64_t{9}}});
  EXPECT_EQ(read(),
            "; a comment of mine\r\n"
            "\n"
            "[Window]\n"
            "messages.lastRowID=5\n"
            "size=@Size(1 2)\n"
            "[General]\n"
            "unknown=1, 2, 3\n"
            "messages.lastRowID = 8 ; seven\n"
            "nonsense\n"
            "messages.notesVersion=9\n"
            "\n"
            "[Other]\n"
            "last=x");
  EXPECT_EQ(settingsText("messages.lastRowID"), "8");
  EXPECT_EQ(settingsText("Window/messages.lastRowID"), "5");
  EXPECT_EQ(settings().value(QStringLiteral("unknown")).toStringList().size(), 3);
}

TEST_F(IniUserDefaultsTest, TheGroupIsOpenedBehindOthersWhenItIsMissing) {
  for (const char* start : {"[Other]\nx=1\n", "[Other]\nx=1", "; only a comment\n", "; only a comment", "\n\n"}) {
    write(start);
    defaults.store({{"key", true}});
    EXPECT_TRUE(defaults.boolean("key")) << start;
    EXPECT_EQ(settingsText("key"), "true") << start;
    EXPECT_THAT(read(), testing::StartsWith(start));
    EXPECT_THAT(read(), testing::EndsWith("[General]\nkey=true\n"));
  }
}

TEST_F(IniUserDefaultsTest, SpellingsOfTheGroupAreRead) {
  for (const char* start :
       {"[General]\n", "[general]\n", "[ GENERAL ]\n", "", "\xEF\xBB\xBF[General]\n", "  [General]  \r\n"}) {
    write(std::string(start) + "messages.lastRowID=12\r\nmessages.lastRowID=13\r\n");
    EXPECT_EQ(defaults.integer("messages.lastRowID"), 13) << start;
    EXPECT_EQ(settingsText("messages.lastRowID"), "13") << start;
  }
}

TEST_F(IniUserDefaultsTest, ValuesMayGoOnBehindABackslashOrInQuotes) {
  for (const char* value : {"ab\\\ncd", "\"ab\ncd\"", "\"a\"b\"c\"d", "\"a;b\" ; comment", "\\x41\\x0042 c", "\\101"}) {
    write("[General]\nmessages.peopleFingerprint=" + std::string(value) + "\nmessages.lastRowID=3\n");
    EXPECT_EQ(defaults.text("messages.peopleFingerprint"), settingsText("messages.peopleFingerprint")) << value;
    EXPECT_EQ(defaults.integer("messages.lastRowID"), 3) << value;
  }
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

TEST_F(IniUserDefaultsTest, AnyBytesAreSurvivedAndKept) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string whole =
      "[General]\nmessages.lastRowID=123\nmessages.peopleFingerprint=\"a;b\"\nx=\"open\n[Other]\ny=\\\n";
  std::vector<std::string> damaged{all,
                                   all + all,
                                   std::string(1000, '"'),
                                   std::string(1000, '\\'),
                                   std::string(50, '\0'),
                                   "[",
                                   "[]",
                                   "=",
                                   "=x",
                                   "[General",
                                   "\"",
                                   "\\",
                                   "[General]\nkey=\"",
                                   "[General]\n="};
  for (std::size_t length = 0; length <= whole.size(); ++length) damaged.push_back(whole.substr(0, length));
  for (const std::string& bytes : damaged) {
    write(bytes);
    defaults.integer("messages.lastRowID");
    defaults.store({{"messages.notesVersion", std::int64_t{9}}});
    EXPECT_EQ(defaults.integer("messages.notesVersion"), 9) << testing::PrintToString(bytes);
    std::string kept = read();
    const std::string added = "messages.notesVersion=9\n";
    ASSERT_NE(kept.find(added), std::string::npos) << testing::PrintToString(bytes);
    kept.erase(kept.find(added), added.size());
    EXPECT_THAT(kept, testing::StartsWith(bytes)) << testing::PrintToString(bytes);
    defaults.store({{"messages.notesVersion", std::int64_t{10}}});
    EXPECT_EQ(defaults.integer("messages.notesVersion"), 10) << testing::PrintToString(bytes);
  }
}

TEST_F(IniUserDefaultsTest, AFileThatCannotBeReadIsNotReplaced) {
  write(std::string((1 << 20) + 1, 'x'));
  EXPECT_FALSE(defaults.text("key"));
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
