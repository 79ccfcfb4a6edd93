// What a written store holds.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/MeetupGuard.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "SampleStore/SampleDialogue.h"
#include "SampleStore/SampleStoreWriter.h"
#include "SampleStore/StoreConnection.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::TemporaryFolder;
using ::testing::Contains;
using ::testing::HasSubstr;

constexpr Instant kNow = instantAtSeconds(1'772'355'600);  // 2026-03-01 09:00:00 UTC
constexpr auto kWindow = std::chrono::days(30);

SampleOptions options(std::size_t messages) {
  SampleOptions options;
  options.seed = 7;
  options.messages = messages;
  options.now = kNow;
  return options;
}

// Every row of every table, as text.
std::string dump(const std::filesystem::path& file) {
  StoreConnection connection(file, StoreConnection::Mode::existing);
  std::string result;
  for (const char* table : {"handle", "chat", "message", "chat_message_join", "chat_handle_join", "attachment"}) {
    std::string columns;
    StoreStatement names(connection.handle(), "SELECT 'quote(' || name || ')' FROM pragma_table_info(?)");
    names.bindText(1, table);
    while (names.nextRow()) columns += (columns.empty() ? "" : " || ',' || ") + names.text(0);
    StoreStatement rows(connection.handle(), "SELECT " + columns + " FROM " + table + " ORDER BY ROWID");
    while (rows.nextRow()) result += rows.text(0) + "\n";
  }
  return result;
}

// Built once: the tests only read it.
class SampleStore : public ::testing::Test {
 protected:
  static constexpr std::size_t kMessages = 6000;

  static void SetUpTestSuite() {
    _folder = std::make_unique<TemporaryFolder>();
    SampleStoreWriter::create(file(), options(kMessages));
  }
  static void TearDownTestSuite() { _folder.reset(); }

  static std::filesystem::path file() { return *_folder / "chat.db"; }

  static std::int64_t count(const std::string& sql) {
    return StoreConnection(file(), StoreConnection::Mode::existing).queryInteger("SELECT COUNT(*) " + sql);
  }

  // The days that a read of the last 30 days makes of it.
  static std::vector<MessagesDayDraft> days() {
    std::vector<HelperPerson> people;
    for (const SamplePerson& person : samplePeople(7, 12)) {
      HelperPerson& known = people.emplace_back();
      known.id = person.id;
      known.firstName = person.firstName;
      known.phones.push_back(ContactNormalization::phone(person.phone));
      if (!person.email.empty()) known.emails.push_back(ContactNormalization::email(person.email));
    }
    const ChatDatabase database(file());
    const HandleMatcher matcher(people);
    return MessagesDayBuilder::drafts(database.messages(kNow - kWindow, 50'000), database.chatParticipants(), matcher,
                                      matcher.firstNames(), LocalCalendar::inTimeZone("UTC"));
  }

  static std::vector<HistoryMessage> everything() { return ChatDatabase(file()).messages(0, 1'000'000); }

  static bool anyTextHas(std::string_view part) {
    const auto messages = everything();
    return std::any_of(messages.begin(), messages.end(),
                       [&](const HistoryMessage& message) { return message.text.find(part) != std::string::npos; });
  }

 private:
  static inline std::unique_ptr<TemporaryFolder> _folder;
};

TEST(SampleStoreContent, DependsOnSeedAndNowOnly) {
  const TemporaryFolder folder;
  SampleOptions asked = options(700);
  SampleStoreWriter::create(folder / "a.db", asked);
  SampleStoreWriter::create(folder / "b.db", asked);
  EXPECT_TRUE(dump(folder / "a.db") == dump(folder / "b.db"));
  asked.seed = 8;
  SampleStoreWriter::create(folder / "c.db", asked);
  EXPECT_FALSE(dump(folder / "a.db") == dump(folder / "c.db"));
  asked.seed = 7;
  asked.now += std::chrono::days(1);
  SampleStoreWriter::create(folder / "d.db", asked);
  EXPECT_FALSE(dump(folder / "a.db") == dump(folder / "d.db"));
}

TEST(SampleStoreContent, HasAsManyMessagesAsAskedFor) {
  struct Case {
    std::size_t messages;
    std::size_t people;
    int days;
  };
  for (const Case& each : std::vector<Case>{{1, 12, 200}, {2, 1, 1}, {50, 0, 30}, {300, 3, 1}, {1500, 40, 3000}}) {
    const TemporaryFolder folder;
    SampleOptions asked = options(each.messages);
    asked.people = each.people;
    asked.days = each.days;
    SampleStoreWriter::create(folder / "chat.db", asked);
    StoreConnection connection(folder / "chat.db", StoreConnection::Mode::existing);
    EXPECT_EQ(connection.queryInteger("SELECT COUNT(*) FROM message"), static_cast<std::int64_t>(each.messages));
    EXPECT_LE(connection.queryInteger("SELECT MAX(date) FROM message"), ChatDatabase::appleTime(kNow));
  }
}

TEST(SampleStoreContent, HasAsManyChatsAsAskedFor) {
  const TemporaryFolder folder;
  SampleOptions asked = options(3000);
  asked.people = 100;
  asked.chats = 2000;
  SampleStoreWriter::create(folder / "chat.db", asked);
  EXPECT_GE(ChatDatabase(folder / "chat.db").chatParticipants().size(), 2000u);
}

TEST(SampleStoreContent, NeverReplacesAFile) {
  const TemporaryFolder folder;
  SampleStoreWriter::create(folder / "chat.db", options(10));
  const std::string before = dump(folder / "chat.db");
  EXPECT_THROW(SampleStoreWriter::create(folder / "chat.db", options(20)), StoreError);
  EXPECT_TRUE(dump(folder / "chat.db") == before);
}

TEST_F(SampleStore, IsASoundDatabaseInWalModeWithPagesOf4096Bytes) {
  StoreConnection connection(file(), StoreConnection::Mode::existing);
  const auto text = [&](const char* sql) {
    StoreStatement statement(connection.handle(), sql);
    return statement.nextRow() ? statement.text(0) : "no row";
  };
  EXPECT_EQ(text("PRAGMA integrity_check"), "ok");
  EXPECT_EQ(text("PRAGMA foreign_key_check"), "no row");
  EXPECT_EQ(text("PRAGMA journal_mode"), "wal");
  EXPECT_EQ(text("PRAGMA page_size"), "4096");
}

TEST_F(SampleStore, HasTheTablesIndexesAndTriggersOfTheSchema) {
  const TemporaryFolder folder;
  StoreConnection fresh(folder / "fresh.db", StoreConnection::Mode::create);
  fresh.execute(MessagesSchema::tables());
  fresh.execute(MessagesSchema::indexes());
  fresh.execute(MessagesSchema::triggers());
  StoreConnection written(file(), StoreConnection::Mode::existing);
  const auto schema = [](StoreConnection& connection) {
    StoreStatement rows(connection.handle(), "SELECT type || ' ' || name || ' ' || IFNULL(sql, '') FROM sqlite_master");
    std::set<std::string> all;
    while (rows.nextRow()) all.insert(rows.text(0));
    return all;
  };
  EXPECT_EQ(schema(written), schema(fresh));
  EXPECT_EQ(written.queryInteger("SELECT COUNT(*) FROM pragma_table_info('message')"), 95);
  EXPECT_EQ(written.queryInteger("SELECT COUNT(*) FROM sqlite_master WHERE type = 'index' AND sql IS NOT NULL"), 33);
  EXPECT_EQ(written.queryInteger("SELECT COUNT(*) FROM sqlite_master WHERE type = 'trigger'"), 3);
}

TEST_F(SampleStore, EveryOrdinaryMessageIsRead) {
  const auto ordinary =
      count("FROM message WHERE associated_message_type = 0 AND item_type = 0 AND cache_has_attachments = 0");
  EXPECT_EQ(static_cast<std::int64_t>(everything().size()), ordinary);
  EXPECT_EQ(count("FROM message m WHERE NOT EXISTS (SELECT 1 FROM chat_message_join j WHERE j.message_id = m.ROWID)"),
            0);
}

TEST_F(SampleStore, BodiesLieMostlyInTheArchive) {
  EXPECT_GT(count("FROM message WHERE text IS NULL AND attributedBody IS NOT NULL"), 4000);
  EXPECT_GT(count("FROM message WHERE text IS NOT NULL AND attributedBody IS NULL"), 50);
  EXPECT_GT(count("FROM message WHERE instr(attributedBody, CAST('NSMutableString' AS BLOB))"), 50);
  EXPECT_EQ(count("FROM message WHERE attributedBody IS NOT NULL AND substr(attributedBody, 1, 16) !="
                  " x'040B73747265616D747970656481E803'"),
            0);
}

TEST_F(SampleStore, BodiesUseAllThreeFormsOfLengths) {
  EXPECT_GT(count("FROM message WHERE instr(attributedBody, x'4E53537472696E67019484012B81')"), 10);
  EXPECT_GT(count("FROM message WHERE instr(attributedBody, x'4E53537472696E67019484012B82')"), 0);
  const auto messages = everything();
  const auto isLongerThan = [&](std::size_t bytes) {
    return std::count_if(messages.begin(), messages.end(),
                         [&](const HistoryMessage& message) { return message.text.size() > bytes; });
  };
  EXPECT_GT(isLongerThan(255), 10);
  EXPECT_GT(isLongerThan(65'535), 0);
}

TEST_F(SampleStore, HoldsReactionsRenamesAndAttachments) {
  EXPECT_GT(count("FROM message WHERE associated_message_type BETWEEN 2000 AND 2007"), 50);
  EXPECT_GT(count("FROM message WHERE associated_message_type BETWEEN 3000 AND 3007"), 5);
  EXPECT_EQ(count("FROM message m WHERE associated_message_type != 0 AND NOT EXISTS"
                  " (SELECT 1 FROM message o WHERE 'p:0/' || o.guid = m.associated_message_guid)"),
            0);
  EXPECT_GT(count("FROM message WHERE item_type != 0 AND group_title IS NOT NULL"), 0);
  EXPECT_GT(count("FROM message m JOIN message_attachment_join j ON j.message_id = m.ROWID"
                  " WHERE m.cache_has_attachments = 1"),
            20);
}

TEST_F(SampleStore, HoldsGroupsStrangersAndShortCodes) {
  EXPECT_GT(count("FROM chat WHERE style = 43"), 1);
  EXPECT_EQ(count("FROM chat c WHERE style = 43 AND (SELECT COUNT(*) FROM chat_handle_join j"
                  " WHERE j.chat_id = c.ROWID) < 2"),
            0);
  EXPECT_GT(count("FROM handle WHERE length(id) <= 6"), 0);
  EXPECT_GT(count("FROM handle WHERE id LIKE '%@example.%'"), 0);
  EXPECT_GT(count("FROM (SELECT id FROM handle GROUP BY id HAVING COUNT(*) > 1)"), 0);
  std::set<std::string> known;
  for (const SamplePerson& person : samplePeople(7, 12)) known.insert({person.phone, person.email});
  std::size_t strangers = 0;
  for (const auto& [chat, handles] : ChatDatabase(file()).chatParticipants())
    if (handles.size() == 1 && !known.contains(handles.front())) ++strangers;
  EXPECT_GT(strangers, 3u);
}

TEST_F(SampleStore, OldDatesAreInSecondsAndNoneIsLaterThanNow) {
  EXPECT_GT(count("FROM message WHERE date <= 10000000000"), 50);
  EXPECT_GT(count("FROM message WHERE date > 10000000000 AND date % 1000000000 != 0"), 5000);
  for (const HistoryMessage& message : everything()) {
    ASSERT_LE(message.date, kNow);
    ASSERT_GE(message.date, kNow - std::chrono::days(202));
  }
  EXPECT_EQ(count("FROM chat_message_join j JOIN message m ON m.ROWID = j.message_id WHERE j.message_date != m.date"),
            0);
}

TEST_F(SampleStore, HoldsEmojiSequencesAndOtherScripts) {
  EXPECT_TRUE(anyTextHas("\u200D"));
  EXPECT_TRUE(anyTextHas("\u2019"));
  const auto people = samplePeople(7, 24);
  EXPECT_TRUE(std::any_of(people.begin(), people.end(), [](const SamplePerson& person) {
    return text::canonical(person.firstName) != person.firstName;
  }));
  EXPECT_TRUE(std::any_of(people.begin(), people.end(), [](const SamplePerson& person) {
    return person.firstName.starts_with("\u9673") || person.firstName.starts_with("\u967D");
  }));
}

TEST_F(SampleStore, TheLastMonthHoldsSomethingToFindOfEveryKind) {
  std::set<std::string> links;
  std::set<std::string> births;
  bool isOwed = false;
  bool hasCue = false;
  bool hasBigDay = false;
  for (const MessagesDayDraft& day : days()) {
    links.insert(day.record.sentURLs.begin(), day.record.sentURLs.end());
    isOwed = isOwed || day.record.waitingOnYou;
    if (day.record.birthday)
      births.insert(day.record.birthday->name.value_or("own") + " " +
                    std::to_string(day.record.birthday->age.value_or(0)));
    for (const MessageLine& line : day.lines) {
      hasCue = hasCue || MeetupGuard::cueIn(line.text);
      hasBigDay = hasBigDay || line.text.find("job at the bakery") != std::string::npos;
    }
  }
  EXPECT_GE(links.size(), 3u);
  EXPECT_THAT(births, Contains("own 31"));
  EXPECT_THAT(births, Contains(HasSubstr("Maya")));
  EXPECT_TRUE(isOwed);
  EXPECT_TRUE(hasCue);
  EXPECT_TRUE(hasBigDay);
}

TEST_F(SampleStore, SomebodyWritesFromTwoAddressesOnOneDay) {
  EXPECT_GT(count("FROM (SELECT 1 FROM message m JOIN handle h ON h.ROWID = m.handle_id"
                  " WHERE m.is_from_me = 0 AND m.date > 10000000000"
                  " GROUP BY m.date / 86400000000000 HAVING COUNT(DISTINCT h.id) > 1)"),
            0);
  bool hasBoth = false;
  const auto participants = ChatDatabase(file()).chatParticipants();
  for (const SamplePerson& person : samplePeople(7, 12)) {
    if (person.email.empty()) continue;
    std::set<std::string> days[2];
    const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
    for (const HistoryMessage& message : everything()) {
      const auto& handles = participants.at(message.chatID);
      if (handles.size() != 1) continue;
      if (handles.front() == person.phone) days[0].insert(calendar.dayString(message.date));
      if (handles.front() == person.email) days[1].insert(calendar.dayString(message.date));
    }
    for (const std::string& day : days[0]) hasBoth = hasBoth || days[1].contains(day);
  }
  EXPECT_TRUE(hasBoth);
}

TEST(SamplePeople, HaveNumbersAndAddressesThatBelongToNobodyAndAreTheirsAlone) {
  std::set<std::string> all;
  const auto people = samplePeople(3, 2000);
  std::set<Uuid> ids;
  for (const SamplePerson& person : people) {
    EXPECT_EQ(person.phone.substr(5, 5), "55501") << person.phone;
    EXPECT_TRUE(all.insert(person.phone).second) << person.phone;
    if (!person.email.empty()) {
      EXPECT_THAT(person.email, HasSubstr("@example."));
      EXPECT_TRUE(all.insert(person.email).second) << person.email;
    }
    EXPECT_FALSE(person.firstName.empty());
    ids.insert(person.id);
  }
  EXPECT_EQ(ids.size(), people.size());
  for (std::size_t index = 0; index < 20'000; ++index) EXPECT_TRUE(all.insert(sampleStrangerPhone(index)).second);
}

}  // namespace
}  // namespace pellora
