#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <tuple>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/StoreHardening.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using std::literals::string_literals::operator""s;
using support::SmallStore;
using support::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t kNanoseconds = 1'000'000'000;
constexpr std::int64_t kReferenceSeconds = 978'307'200;  // 2001-01-01
// The tables and columns that a read asks for, without types and keys.
constexpr char kBareTables[] =
    "CREATE TABLE message (guid, date, is_from_me, text TEXT, attributedBody, associated_message_type, item_type);"
    "CREATE TABLE chat_message_join (chat_id, message_id);"
    "CREATE TABLE handle (id); CREATE TABLE chat_handle_join (chat_id, handle_id);";

Instant at(std::int64_t secondsSince2001) {
  return instantAtSeconds(kReferenceSeconds + secondsSince2001);
}

std::vector<std::int64_t> rowIDs(const std::vector<HistoryMessage>& messages) {
  std::vector<std::int64_t> ids;
  for (const HistoryMessage& message : messages) ids.push_back(message.rowID);
  return ids;
}

std::vector<std::string> texts(const std::vector<HistoryMessage>& messages) {
  std::vector<std::string> texts;
  for (const HistoryMessage& message : messages) texts.push_back(message.text);
  return texts;
}

// The description of what `run` throws; "nothing" when it throws nothing.
template <class Run>
std::string failureOf(Run run) {
  try {
    run();
  } catch (const ChatDatabase::Failure& failure) {
    return failure.what();
  }
  return "nothing";
}

class ChatDatabaseTest : public ::testing::Test {
 protected:
  TemporaryFolder _folder;
  SmallStore _store{_folder / "chat.db"};
  std::int64_t _chat = _store.addChat({"+15550100123"});
};

TEST(ChatDatabaseFailure, ReadsLikeItsCaseAndValue) {
  using Failure = ChatDatabase::Failure;
  EXPECT_STREQ(Failure::cannotOpen(14).what(), "cannotOpen(code: 14)");
  EXPECT_STREQ(Failure::cannotOpen(-1).what(), "cannotOpen(code: -1)");
  EXPECT_STREQ(Failure::query("no such table: message").what(), "query(\"no such table: message\")");
  EXPECT_STREQ(Failure::query("near \"SELEC\": syntax error").what(), "query(\"near \\\"SELEC\\\": syntax error\")");
  EXPECT_STREQ(Failure::query("a\\b\n\t\r\x1B\x7F").what(), "query(\"a\\\\b\\n\\t\\r\\u{1B}\\u{7F}\")");
  EXPECT_STREQ(Failure::query("\0"s).what(), "query(\"\\0\")");
  EXPECT_STREQ(Failure::query("é 🙂").what(), "query(\"é 🙂\")");
  EXPECT_STREQ(Failure::query("").what(), "query(\"\")");
}

TEST(ChatDatabaseFailure, IsEqualByCaseAndValue) {
  using Failure = ChatDatabase::Failure;
  EXPECT_EQ(Failure::cannotOpen(14), Failure::cannotOpen(14));
  EXPECT_FALSE(Failure::cannotOpen(14) == Failure::cannotOpen(26));
  EXPECT_FALSE(Failure::cannotOpen(0) == Failure::query(""));
  EXPECT_FALSE(Failure::query("a") == Failure::query("b"));
  EXPECT_EQ(Failure::query("a").message(), "a");
  EXPECT_EQ(Failure::cannotOpen(26).code(), 26);
}

TEST(ChatDatabaseLocation, IsBelowTheHomeOfTheUser) {
  support::ScopedEnvironment environment;
  environment.set("HOME", "/home/somebody");
  EXPECT_EQ(ChatDatabase::defaultURL(), "/home/somebody/Library/Messages/chat.db");
  // A HOME that is not a path is looked up elsewhere.
  environment.set("HOME", "");
  EXPECT_TRUE(ChatDatabase::defaultURL().is_absolute());
  environment.set("HOME", "somewhere");
  EXPECT_TRUE(ChatDatabase::defaultURL().is_absolute());
}

TEST(ChatDatabaseLocation, CanReadMeansThatTheFileOpens) {
  const TemporaryFolder folder;
  EXPECT_FALSE(ChatDatabase::canRead(folder / "chat.db"));
  EXPECT_FALSE(ChatDatabase::canRead(""));
  EXPECT_FALSE(ChatDatabase::canRead(folder / "no" / "chat.db"));
  std::ofstream(folder / "chat.db") << "anything";
  EXPECT_TRUE(ChatDatabase::canRead(folder / "chat.db"));
  std::filesystem::create_symlink("nowhere", folder / "dangling.db");
  EXPECT_FALSE(ChatDatabase::canRead(folder / "dangling.db"));
  std::filesystem::create_symlink("chat.db", folder / "link.db");
  EXPECT_TRUE(ChatDatabase::canRead(folder / "link.db"));
}

TEST(ChatDatabaseLocation, APipeOrADeviceCannotBeReadAndIsNotWaitedFor) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "pipe.db").c_str(), 0600), 0);
  std::filesystem::create_symlink("pipe.db", folder / "link.db");
  EXPECT_FALSE(ChatDatabase::canRead(folder / "pipe.db"));
  EXPECT_FALSE(ChatDatabase::canRead(folder / "link.db"));
  EXPECT_TRUE(ChatDatabase::canRead(folder.path()));
  EXPECT_FALSE(ChatDatabase::canRead("/dev/null"));
}

TEST(ChatDatabaseOpening, AMissingFileCannotBeOpenedAndIsNotCreated) {
  const TemporaryFolder folder;
  EXPECT_EQ(failureOf([&] { ChatDatabase(folder / "chat.db"); }), "cannotOpen(code: 14)");
  EXPECT_EQ(failureOf([&] { ChatDatabase(folder / "no" / "chat.db"); }), "cannotOpen(code: 14)");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  EXPECT_EQ(failureOf([&] { ChatDatabase{std::filesystem::path()}; }), "cannotOpen(code: 14)");
}

TEST(ChatDatabaseOpening, PathsAreNoUris) {
  const TemporaryFolder folder;
  EXPECT_EQ(
      failureOf([&] { ChatDatabase(std::filesystem::path("file:" + (folder / "x.db").string() + "?mode=memory")); }),
      "cannotOpen(code: 14)");
  SmallStore store(folder / "a?mode=memory#b%41 c.db");
  store.addMessage(store.addChat({"a"}), at(1), true, "hello");
  EXPECT_EQ(ChatDatabase(store.path()).maxRowID(), 1);
}

TEST_F(ChatDatabaseTest, HighestRowIDOfAnEmptyTableIsZero) {
  EXPECT_EQ(ChatDatabase(_store.path()).maxRowID(), 0);
}

TEST_F(ChatDatabaseTest, HighestRowIDCountsEveryRow) {
  _store.addMessage(_chat, at(1), true, "hello");
  _store.addRow({.chat = 0, .itemType = 2});
  EXPECT_EQ(ChatDatabase(_store.path()).maxRowID(), 2);
  _store.execute("INSERT INTO message (ROWID, guid) VALUES (9223372036854775807, 'last')");
  EXPECT_EQ(ChatDatabase(_store.path()).maxRowID(), std::numeric_limits<std::int64_t>::max());
}

TEST_F(ChatDatabaseTest, RowsBecomeMessages) {
  const auto sent = _store.addMessage(_chat, at(700'000'000), SmallStore::kFromMe, " hello ");
  const auto received = _store.addArchivedMessage(_chat, at(700'000'001), SmallStore::kFromThem, "hi you");
  const std::vector<HistoryMessage> expected = {
      {sent, at(700'000'000), true, "hello", _chat},
      {received, at(700'000'001), false, "hi you", _chat},
  };
  const ChatDatabase database(_store.path());
  EXPECT_EQ(database.messages(0, 5000), expected);
  EXPECT_EQ(database.messages(at(0), 50'000), expected);
  EXPECT_EQ(database.messages({_chat}, at(0)), expected);
}

TEST_F(ChatDatabaseTest, RowsAfterARowIDComeInOrderOfRowIDs) {
  for (const int date : {50, 10, 40, 20, 30}) _store.addMessage(_chat, at(date), true, "hello");
  const ChatDatabase database(_store.path());
  EXPECT_THAT(rowIDs(database.messages(2, 5000)), ElementsAre(3, 4, 5));
  EXPECT_THAT(rowIDs(database.messages(0, 2)), ElementsAre(1, 2));
  EXPECT_THAT(rowIDs(database.messages(-1, 1)), ElementsAre(1));
  EXPECT_THAT(database.messages(5, 5000), IsEmpty());
  EXPECT_THAT(database.messages(0, 0), IsEmpty());
}

TEST_F(ChatDatabaseTest, NewRowsOfOtherChatsAreSettledWithoutTheirText) {
  const auto other = _store.addChat({"+15550100099"});
  _store.addMessage(_chat, at(1), true, "first");
  _store.addMessage(other, at(2), true, "elsewhere");
  _store.addRow({.chat = _chat, .date = 3});  // may still get its text
  const ChatDatabase database(_store.path());
  ChatDatabase::NewRows rows = database.newRows({_chat}, 0, 5000);
  EXPECT_THAT(rowIDs(rows.messages), ElementsAre(1));
  EXPECT_EQ(rows.highestRowID, 2);
  EXPECT_FALSE(rows.isLimitReached);
  rows = database.newRows({_chat}, 1, 2);
  EXPECT_THAT(rows.messages, IsEmpty());
  EXPECT_EQ(rows.highestRowID, 3) << "a whole portion must not be met again";
  EXPECT_TRUE(rows.isLimitReached);
  rows = database.newRows({_chat}, 3, 5000);
  EXPECT_EQ(rows.highestRowID, 0);
}

// Chats first, dates first: two ways to the same rows, whatever the order of row ids, dates and chats.
TEST_F(ChatDatabaseTest, AllMessagesAreThoseOfTheWindowInTheseChats) {
  std::vector<std::int64_t> chats = {_chat};
  for (int index = 1; index < 5; ++index) chats.push_back(_store.addChat({"+1555010020" + std::to_string(index)}));
  for (int index = 0; index < 200; ++index) {
    const int date = 100 + index * 37 % 60;  // neighbors are far apart, many are equal
    const std::int64_t chat = chats[static_cast<std::size_t>(index * 7 % 5)];
    const auto row = _store.addMessage(chat, at(date), index % 2 == 0, "message " + std::to_string(index));
    if (index % 5 == 0) _store.addRow({.chat = chat, .date = ChatDatabase::appleTime(at(date))});
    if (index % 11 == 0)  // in two chats at once
      _store.execute("INSERT INTO chat_message_join (chat_id, message_id) VALUES (" +
                     std::to_string(chats[static_cast<std::size_t>((index * 7 + 1) % 5)]) + ", " + std::to_string(row) +
                     ")");
  }
  ChatDatabase database(_store.path());
  database.beginSnapshot();
  for (const ChatSelection& selection : {ChatSelection{chats[0]}, {chats[1], chats[4]}, {chats.begin(), chats.end()}})
    for (const int since : {0, 100, 101, 130, 159, 160}) {
      std::vector<HistoryMessage> expected = database.messages(at(since), 50'000);
      std::erase_if(expected, [&](const HistoryMessage& message) { return !selection.contains(message.chatID); });
      std::ranges::sort(expected, {}, [](const HistoryMessage& message) {
        return std::tuple(message.date, message.rowID, message.chatID);
      });
      EXPECT_EQ(database.allMessages(selection, at(since)), expected) << since << ", " << selection.size() << " chats";
    }
  EXPECT_THAT(database.allMessages({}, at(0)), IsEmpty());
  EXPECT_THAT(database.allMessages({987'654}, at(0)), IsEmpty());
}

// A body beyond the limit stops any read that asks for it, so a read that goes on did not ask.
TEST_F(ChatDatabaseTest, TextsOfOtherChatsAreNeverAskedFor) {
  const auto other = _store.addChat({"+15550100099"});
  _store.addMessage(_chat, at(1), true, "first");
  const auto row = _store.addMessage(other, at(2), false, "elsewhere");
  _store.execute("UPDATE message SET text = NULL, attributedBody = zeroblob(" +
                 std::to_string(StoreHardening::kMaximumLength + 1) + ") WHERE ROWID = " + std::to_string(row));
  _store.addMessage(_chat, at(3), true, "second");
  ChatDatabase database(_store.path());
  database.beginSnapshot();
  EXPECT_THROW(database.messages(0, 5000), ChatDatabase::Failure);
  EXPECT_THAT(rowIDs(database.newRows({_chat}, 0, 5000).messages), ElementsAre(1, 3));
  EXPECT_THAT(rowIDs(database.allMessages({_chat}, at(0))), ElementsAre(1, 3));
}

TEST_F(ChatDatabaseTest, AllMessagesNeedNoIndexOfTheStore) {
  _store.addMessage(_chat, at(3), true, "third");
  _store.addMessage(_chat, at(1), true, "first");
  _store.addMessage(_store.addChat({"+15550100099"}), at(2), true, "elsewhere");
  _store.execute("PRAGMA legacy_alter_table = ON");
  _store.execute("ALTER TABLE chat_message_join RENAME TO indexed");
  _store.execute("CREATE TABLE chat_message_join (chat_id, message_id)");
  _store.execute("INSERT INTO chat_message_join SELECT chat_id, message_id FROM indexed");
  _store.execute("DROP INDEX message_idx_date");
  ChatDatabase database(_store.path());
  database.beginSnapshot();
  EXPECT_THAT(rowIDs(database.allMessages({_chat}, at(0))), ElementsAre(2, 1));
}

TEST_F(ChatDatabaseTest, ASnapshotSeesNothingThatComesLater) {
  _store.addMessage(_chat, at(1), true, "before");
  ChatDatabase database(_store.path());
  database.beginSnapshot();
  EXPECT_EQ(database.chatParticipants().size(), 1U);
  _store.addMessage(_store.addChat({"+15550100099"}), at(2), true, "after");
  EXPECT_EQ(database.maxRowID(), 1);
  EXPECT_EQ(database.chatParticipants().size(), 1U);
  EXPECT_THAT(rowIDs(database.messages(0, 5000)), ElementsAre(1));
  EXPECT_EQ(ChatDatabase(_store.path()).maxRowID(), 2);
}

TEST_F(ChatDatabaseTest, AllMessagesAreReadInsideASnapshotOnly) {
  _store.addMessage(_chat, at(1), true, "hello");
  ChatDatabase database(_store.path());
  EXPECT_THROW(database.allMessages({_chat}, at(0)), ChatDatabase::Failure);
  database.beginSnapshot();
  EXPECT_THAT(rowIDs(database.allMessages({_chat}, at(0))), ElementsAre(1));
}

TEST_F(ChatDatabaseTest, ARowIsKnownAgainByGuidAndDate) {
  const auto row = _store.addMessage(_chat, at(1), true, "hello");
  const ChatDatabase database(_store.path());
  const std::string mark = database.rowMark(row);
  EXPECT_NE(mark, "");
  EXPECT_EQ(database.rowMark(row + 1), "");
  _store.execute("UPDATE message SET text = 'edited'");
  EXPECT_EQ(database.rowMark(row), mark);
  _store.execute("UPDATE message SET date = date + 1");
  EXPECT_NE(database.rowMark(row), mark);
  _store.execute("UPDATE message SET date = date - 1, guid = 'another'");
  EXPECT_NE(database.rowMark(row), mark);
}

TEST_F(ChatDatabaseTest, RowsSinceADateComeOldestFirst) {
  for (const int date : {50, 10, 40, 20, 30}) _store.addMessage(_chat, at(date), true, "hello");
  const ChatDatabase database(_store.path());
  EXPECT_THAT(rowIDs(database.messages(at(20), 50'000)), ElementsAre(4, 5, 3, 1));
  EXPECT_THAT(rowIDs(database.messages(at(20), 2)), ElementsAre(4, 5));
  EXPECT_THAT(rowIDs(database.messages(at(20) + Nanoseconds(1), 50'000)), ElementsAre(5, 3, 1));
  EXPECT_THAT(rowIDs(database.messages({_chat}, at(40))), ElementsAre(3, 1));
}

TEST_F(ChatDatabaseTest, RowsOfSomeChatsOnly) {
  const auto second = _store.addChat({"b@example.com"});
  const auto third = _store.addChat({"c@example.com"});
  for (const auto chat : {_chat, second, third}) _store.addMessage(chat, at(10 * chat), true, "hello");
  const ChatDatabase database(_store.path());
  EXPECT_THAT(rowIDs(database.messages({_chat, third}, at(0))), ElementsAre(1, 3));
  EXPECT_THAT(rowIDs(database.messages({second, 99, -7}, at(0))), ElementsAre(2));
  EXPECT_THAT(database.messages({99}, at(0)), IsEmpty());
}

TEST_F(ChatDatabaseTest, NoChatsRunNoStatement) {
  _store.execute("DROP TABLE chat_message_join");
  const ChatDatabase database(_store.path());
  EXPECT_THAT(database.messages(std::set<std::int64_t>(), at(0)), IsEmpty());
  EXPECT_EQ(failureOf([&] { database.messages({_chat}, at(0)); }), "query(\"no such table: chat_message_join\")");
}

TEST(ChatDatabaseStatements, ChatIDsAreWrittenSortedWithCommasOnly) {
  EXPECT_EQ(ChatDatabase::chatsCondition({12, 3, 7}), "m.date >= ? AND cmj.chat_id IN (3,7,12)");
  EXPECT_EQ(ChatDatabase::chatsCondition({5, -5}), "m.date >= ? AND cmj.chat_id IN (-5,5)");
  EXPECT_EQ(ChatDatabase::chatsCondition({std::numeric_limits<std::int64_t>::min()}),
            "m.date >= ? AND cmj.chat_id IN (-9223372036854775808)");
}

TEST_F(ChatDatabaseTest, ManyThousandChatsFitIntoOneStatement) {
  _store.addMessage(_chat, at(1), true, "hello");
  std::set<std::int64_t> chats;
  for (std::int64_t chat = 1; chat <= 20'000; ++chat) chats.insert(chat);
  EXPECT_THAT(rowIDs(ChatDatabase(_store.path()).messages(chats, at(0))), ElementsAre(1));
}

TEST_F(ChatDatabaseTest, ReactionsAndOtherItemsAreLeftOut) {
  const auto type = [&](const std::string& column, const std::string& value) {
    const auto row = _store.addMessage(_chat, at(10), true, column + " " + value);
    _store.execute("UPDATE message SET " + column + " = " + value + " WHERE ROWID = " + std::to_string(row));
  };
  for (const char* value : {"1", "2", "1000", "2000", "2006", "3007", "-1", "'word'"}) {
    type("associated_message_type", value);
    type("item_type", value);
  }
  for (const char* value : {"0", "NULL", "0.0"}) {
    type("associated_message_type", value);
    type("item_type", value);
  }
  EXPECT_THAT(texts(ChatDatabase(_store.path()).messages(0, 5000)),
              ElementsAre("associated_message_type 0", "item_type 0", "associated_message_type NULL", "item_type NULL",
                          "associated_message_type 0.0", "item_type 0.0"));
}

TEST_F(ChatDatabaseTest, RowsWithoutATextAreLeftOut) {
  _store.addRow({.chat = _chat});
  _store.addRow({.chat = _chat, .text = "  \uFFFC \n"});
  _store.addRow({.chat = _chat, .text = "", .attributedBody = ""});
  _store.addRow({.chat = _chat, .attributedBody = "no archive"});
  _store.addArchivedMessage(_chat, at(1), true, "\uFFFC");
  _store.addMessage(_chat, at(1), true, "the only one");
  EXPECT_THAT(texts(ChatDatabase(_store.path()).messages(0, 5000)), ElementsAre("the only one"));
}

TEST_F(ChatDatabaseTest, ALimitCountsRowsAndNotTexts) {
  _store.addRow({.chat = _chat});
  _store.addMessage(_chat, at(1), true, "second");
  _store.addMessage(_chat, at(1), true, "third");
  EXPECT_THAT(texts(ChatDatabase(_store.path()).messages(0, 2)), ElementsAre("second"));
}

TEST_F(ChatDatabaseTest, AMessageComesOncePerChatItSitsIn) {
  const auto second = _store.addChat({"b@example.com"});
  const auto message = _store.addMessage(_chat, at(1), true, "hello");
  _store.joinMessage(second, message);
  _store.addRow({.chat = 0, .text = "in no chat"});
  const auto messages = ChatDatabase(_store.path()).messages(0, 5000);
  EXPECT_THAT(rowIDs(messages), ElementsAre(message, message));
  EXPECT_NE(messages[0].chatID, messages[1].chatID);
}

TEST_F(ChatDatabaseTest, IsFromMeIsAnyNonzeroNumber) {
  for (const char* value : {"1", "0", "2", "-1", "NULL", "'yes'", "'1'", "0.5"}) {
    const auto row = _store.addMessage(_chat, at(1), false, "hello");
    _store.execute("UPDATE message SET is_from_me = "s + value + " WHERE ROWID = " + std::to_string(row));
  }
  std::vector<bool> fromMe;
  for (const auto& message : ChatDatabase(_store.path()).messages(0, 5000)) fromMe.push_back(message.isFromMe);
  EXPECT_THAT(fromMe, ElementsAre(true, false, true, true, false, false, true, false));
}

TEST_F(ChatDatabaseTest, ColumnsOfUnexpectedTypesDoNoHarm) {
  for (const char* values : {"date = 'soon'", "date = x'00FF'", "date = NULL", "date = 1.5e300", "date = -1.5e300",
                             "attributedBody = 17", "attributedBody = 'NSString'", "attributedBody = 1.5",
                             "text = x'68690068'", "text = 42", "text = 1.5", "text = x''"}) {
    const auto row = _store.addArchivedMessage(_chat, at(1), true, "hello");
    _store.execute("UPDATE message SET "s + values + " WHERE ROWID = " + std::to_string(row));
  }
  EXPECT_THAT(texts(ChatDatabase(_store.path()).messages(0, 5000)),
              ElementsAre("hello", "hello", "hello", "hello", "hello", "hi", "42", "1.5", "hello"));
}

TEST_F(ChatDatabaseTest, TextsAreAlwaysValidUtf8) {
  for (const char* bytes : {"ff6869", "68c3", "eda080", "f09f98", "c0af"}) {
    const auto row = _store.addMessage(_chat, at(1), true, "");
    _store.execute("UPDATE message SET text = CAST(x'"s + bytes + "' AS TEXT) WHERE ROWID = " + std::to_string(row));
  }
  const auto messages = ChatDatabase(_store.path()).messages(0, 5000);
  ASSERT_EQ(messages.size(), 5u);
  EXPECT_EQ(messages[0].text, "\uFFFDhi");
  EXPECT_EQ(messages[1].text, "h\uFFFD");
  for (const HistoryMessage& message : messages) EXPECT_TRUE(text::isValidUtf8(message.text));
}

TEST_F(ChatDatabaseTest, ATextEndsAtAZeroByte) {
  _store.addRow({.chat = _chat, .text = "hello\0world"s});
  _store.addRow({.chat = _chat, .text = "\0world"s});
  EXPECT_THAT(texts(ChatDatabase(_store.path()).messages(0, 5000)), ElementsAre("hello"));
}

TEST_F(ChatDatabaseTest, StoresInUtf16ReadTheSame) {
  StoreConnection connection(_folder / "utf16.db", StoreConnection::Mode::create);
  connection.execute((std::string("PRAGMA encoding = 'UTF-16le';") + kBareTables +
                      "INSERT INTO message (date, text) VALUES (1, 'h\u00E9 \U0001F642');"
                      "INSERT INTO chat_message_join VALUES (1, 1)")
                         .c_str());
  EXPECT_THAT(texts(ChatDatabase(_folder / "utf16.db").messages(0, 5000)), ElementsAre("h\u00E9 \U0001F642"));
}

TEST(ChatDatabaseDates, StoredValuesBecomeInstants) {
  struct Case {
    std::int64_t stored;
    Instant date;
  };
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (const Case& each : std::vector<Case>{
           {0, at(0)},
           {1, at(1)},
           {-1, at(-1)},
           {700'000'000, at(700'000'000)},
           {10'000'000'000, at(10'000'000'000)},
           {10'000'000'001, at(10) + Nanoseconds(1)},
           {700'000'000 * kNanoseconds + 123'456'789, at(700'000'000) + Nanoseconds(123'456'789)},
           {kMax, at(kMax / kNanoseconds) + Nanoseconds(kMax % kNanoseconds)},
           {-62'135'596'800 - kReferenceSeconds, instantAtSeconds(-62'135'596'800)},
           {-62'135'596'801 - kReferenceSeconds, instantAtSeconds(-62'135'596'800)},
           {std::numeric_limits<std::int64_t>::min(), instantAtSeconds(-62'135'596'800)},
       })
    EXPECT_TRUE(ChatDatabase::date(each.stored) == each.date) << each.stored;
}

TEST(ChatDatabaseDates, InstantsBecomeNanosecondsToCompareWith) {
  EXPECT_EQ(ChatDatabase::appleTime(at(0)), 0);
  EXPECT_EQ(ChatDatabase::appleTime(at(-1)), -kNanoseconds);
  EXPECT_EQ(ChatDatabase::appleTime(at(700'000'000) + Nanoseconds(5)), 700'000'000 * kNanoseconds + 5);
  for (const std::int64_t value : {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()})
    EXPECT_EQ(ChatDatabase::appleTime(at(0) + Nanoseconds(value)), value);
}

TEST(ChatDatabaseDatesDeathTest, InstantsBeyond64BitsEndTheProcess) {
  const Int128 beyond = static_cast<Int128>(std::numeric_limits<std::int64_t>::max()) + 1;
  EXPECT_DEATH(ChatDatabase::appleTime(at(0) + Nanoseconds(beyond)), "beyond 64 bits");
  EXPECT_DEATH(ChatDatabase::appleTime(at(0) - Nanoseconds(beyond + 1)), "beyond 64 bits");
}

TEST_F(ChatDatabaseTest, OldRowsInSecondsAreReadByRowIDButAreBeforeEveryDate) {
  _store.addRow({.chat = _chat, .date = 400'000'000, .text = "old"});
  _store.addMessage(_chat, at(700'000'000), true, "new");
  const ChatDatabase database(_store.path());
  EXPECT_EQ(database.messages(0, 5000).front().date, at(400'000'000));
  EXPECT_THAT(texts(database.messages(at(300'000'000), 50'000)), ElementsAre("new"));
}

TEST_F(ChatDatabaseTest, ParticipantsAreSortedWithoutRepeats) {
  const auto group = _store.addChat({"zoe@example.com", "+15550100999", "anna@example.com", "+15550100123"});
  // The same number as a handle of another service.
  _store.execute("INSERT INTO handle (id, service) VALUES ('+15550100123', 'SMS')");
  _store.execute("INSERT INTO chat_handle_join SELECT " + std::to_string(_chat) + ", MAX(ROWID) FROM handle");
  const ChatParticipants participants = ChatDatabase(_store.path()).chatParticipants();
  EXPECT_EQ(participants.size(), 2u);
  EXPECT_THAT(participants.at(_chat), ElementsAre("+15550100123"));
  EXPECT_THAT(participants.at(group),
              ElementsAre("+15550100123", "+15550100999", "anna@example.com", "zoe@example.com"));
}

TEST_F(ChatDatabaseTest, HandlesSpelledWithCombiningMarksAreTheSameHandle) {
  const auto chat = _store.addChat({"zoe\u0308@example.com", "zo\u00EB@example.com", "zz@example.com"});
  const auto handles = ChatDatabase(_store.path()).chatParticipants().at(chat);
  ASSERT_EQ(handles.size(), 2u);
  EXPECT_EQ(text::canonical(handles[0]), "zo\u00EB@example.com");
  EXPECT_EQ(handles[1], "zz@example.com");
}

TEST_F(ChatDatabaseTest, HandlesWithoutATextOrAChatAreIgnored) {
  StoreConnection connection(_folder / "loose.db", StoreConnection::Mode::create);
  connection.execute((std::string(kBareTables) +
                      "INSERT INTO handle VALUES (NULL), ('a'), (42), (x'ff');"
                      "INSERT INTO chat_handle_join VALUES (1, 1), (2, 1), (2, 2), (3, 3), (4, 99), (5, 4)")
                         .c_str());
  const ChatParticipants participants = ChatDatabase(_folder / "loose.db").chatParticipants();
  EXPECT_EQ(participants.size(), 3u);
  EXPECT_THAT(participants.at(2), ElementsAre("a"));
  EXPECT_THAT(participants.at(3), ElementsAre("42"));
  EXPECT_THAT(participants.at(5), ElementsAre("\uFFFD"));
}

TEST_F(ChatDatabaseTest, TheLastMessagesOfTheLogAreRead) {
  _store.execute("PRAGMA wal_checkpoint(TRUNCATE)");
  _store.addMessage(_chat, at(1), true, "still in the log");
  EXPECT_THAT(texts(ChatDatabase(_store.path()).messages(0, 5000)), ElementsAre("still in the log"));
}

TEST_F(ChatDatabaseTest, FiftyThousandRowsAtMostAndTheOldestOfThem) {
  _store.execute(
      "BEGIN;"
      "WITH RECURSIVE row (n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM row WHERE n < 50000)"
      " INSERT INTO message (guid, date, text) SELECT n, (60000 - n) * 1000000000, 'hello' FROM row;"
      "INSERT INTO chat_message_join (chat_id, message_id) SELECT 1, ROWID FROM message;"
      "COMMIT");
  const ChatDatabase database(_store.path());
  const auto messages = database.messages({_chat}, at(0));
  ASSERT_EQ(messages.size(), 50'000u);
  EXPECT_EQ(messages.front().date, at(10'000));
  EXPECT_EQ(messages.back().date, at(59'999));
  EXPECT_EQ(database.messages(at(0), 50'000), messages);
}

}  // namespace
}  // namespace pellora
