// pellora-sample-store as a user runs it, and with a reader at work.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Text/Uuid.h"
#include "SampleStore/SampleStoreWriter.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::ChildProcess;
using support::TemporaryFolder;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Both outputs together; "exit N: ..." when it failed.
std::string run(const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"-c", "exec \"$0\" \"$@\" 2>&1", PELLORA_SAMPLE_STORE_PROGRAM};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return ChildProcess("/bin/sh", all).finish();
}

std::string contents(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

class SampleStoreProgram : public ::testing::Test {
 protected:
  TemporaryFolder _folder;
  std::string _store = (_folder / "Library" / "Messages" / "chat.db").string();
};

TEST_F(SampleStoreProgram, WritesAStoreWithItsFoldersAndItsPeople) {
  const std::string people = (_folder / "people.json").string();
  EXPECT_THAT(run({"--seed", "7", "--messages", "300", "--people", "5", "--people-file", people, _store}),
              HasSubstr("300 messages"));
  EXPECT_EQ(ChatDatabase(_store).maxRowID(), 300);
  const auto list = nlohmann::json::parse(contents(people));
  ASSERT_EQ(list.size(), 5u);
  for (const auto& person : list) {
    EXPECT_TRUE(Uuid::parse(person.at("id").get<std::string>()));
    EXPECT_FALSE(person.at("firstName").get<std::string>().empty());
    EXPECT_FALSE(person.at("phones").empty() && person.at("emails").empty());
  }
  EXPECT_THAT(list[0].at("phones")[0].get<std::string>(), StartsWith("+1 ("));
}

TEST_F(SampleStoreProgram, ReplacesAStoreOnlyWhenForced) {
  EXPECT_THAT(run({"--messages", "20", _store}), HasSubstr("20 messages"));
  EXPECT_THAT(run({"--messages", "30", _store}), AllOf(StartsWith("exit 1: "), HasSubstr(_store)));
  EXPECT_EQ(ChatDatabase(_store).maxRowID(), 20);
  EXPECT_THAT(run({"--messages", "30", "--force", _store}), HasSubstr("30 messages"));
  EXPECT_EQ(ChatDatabase(_store).maxRowID(), 30);
}

TEST_F(SampleStoreProgram, LostOutputIsAnError) {
  for (const std::string lost : {">/dev/full", ">&-", "<&- >&- 2>&-"}) {
    const auto exitOf = [&lost](const std::string& arguments) {
      return ChildProcess("/bin/sh", {"-c", "exec \"$0\" " + arguments + lost, PELLORA_SAMPLE_STORE_PROGRAM}).finish();
    };
    EXPECT_THAT(exitOf("--help "), StartsWith("exit 1")) << lost;
    EXPECT_THAT(exitOf("--force --messages 20 '" + _store + "' "), StartsWith("exit 1")) << lost;
    EXPECT_EQ(ChatDatabase(_store).maxRowID(), 20);
  }
}

TEST_F(SampleStoreProgram, ExplainsItself) {
  EXPECT_THAT(run({"--help"}), AllOf(HasSubstr("Examples:"), HasSubstr("--append"), HasSubstr("--people-file")));
}

TEST_F(SampleStoreProgram, WrongUsageExitsWith2) {
  const std::vector<std::vector<std::string>> wrong = {{},
                                                       {"--messages", "many", _store},
                                                       {"--messages", "-1", _store},
                                                       {"--days", "0", _store},
                                                       {"--now", "yesterday", _store},
                                                       {"--now", "0001-01-01T00:00:00Z", _store},
                                                       {"--now", "9999-01-01T00:00:00Z", _store},
                                                       {"--messages", "0", _store},
                                                       {"--append", "0", _store},
                                                       {"--rate", "5", _store},
                                                       {"--rate", "-1", "--append", "1", _store},
                                                       {"--nonsense", _store}};
  for (const auto& arguments : wrong)
    EXPECT_THAT(run(arguments), StartsWith("exit 2: ")) << ::testing::PrintToString(arguments);
  EXPECT_FALSE(std::filesystem::exists(_store));
}

TEST_F(SampleStoreProgram, WhatCannotBeWrittenIsOneSentence) {
  std::ofstream(_folder / "file") << "not a folder";
  std::ofstream(_folder / "text.db") << "Dear diary, today I wrote nothing that a database could read.\n";
  const std::vector<std::vector<std::string>> hopeless = {{(_folder / "file" / "chat.db").string()},
                                                          {"--append", "5", _store},
                                                          {"--append", "5", (_folder / "text.db").string()},
                                                          {"--append", "5", (_folder / "file" / "x.db").string()}};
  for (const auto& arguments : hopeless) {
    const std::string output = run(arguments);
    EXPECT_THAT(output, StartsWith("exit 1: ")) << ::testing::PrintToString(arguments);
    EXPECT_EQ(output.find('\n'), std::string::npos) << output;
  }
  EXPECT_THAT(contents(_folder / "text.db"), StartsWith("Dear diary"));
}

TEST_F(SampleStoreProgram, AppendsNewerMessages) {
  ASSERT_THAT(run({"--messages", "200", _store}), HasSubstr("200 messages"));
  ASSERT_THAT(run({"--append", "25", _store}), HasSubstr("25 messages"));
  const ChatDatabase database(_store);
  EXPECT_EQ(database.maxRowID(), 225);
  const auto all = database.messages(0, 1000);
  Instant latest = all.front().date;
  for (const HistoryMessage& message : all)
    if (message.rowID <= 200) latest = std::max(latest, message.date);
  const auto added = database.messages(200, 1000);
  EXPECT_GE(added.size(), 20u);
  for (const HistoryMessage& message : added) EXPECT_GE(message.date, latest);
  EXPECT_TRUE(std::filesystem::exists(_store + "-wal"));
}

TEST_F(SampleStoreProgram, AReaderSeesWhatIsAppendedMeanwhile) {
  SampleOptions options;
  options.messages = 200;
  options.now = std::chrono::time_point_cast<Nanoseconds>(std::chrono::system_clock::now());
  SampleStoreWriter::create(_store, options);
  ChildProcess writer(PELLORA_SAMPLE_STORE_PROGRAM, {"--append", "60", "--rate", "100", _store});
  ASSERT_TRUE(writer.hasStarted());
  std::set<std::int64_t> seen;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while ((seen.empty() || *seen.rbegin() < 260) && std::chrono::steady_clock::now() < deadline) {
    const ChatDatabase database(_store);
    seen.insert(database.maxRowID());
    std::int64_t before = 0;
    for (const HistoryMessage& message : database.messages(200, 5000)) {
      EXPECT_GT(message.rowID, before);
      before = message.rowID;
    }
  }
  EXPECT_EQ(*seen.rbegin(), 260);
  EXPECT_GT(seen.size(), 2u);
  EXPECT_THAT(writer.finish(), HasSubstr("60 messages"));
}

}  // namespace
}  // namespace pellora
