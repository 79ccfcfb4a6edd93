// A store whose rows hold anything: columns of other types than declared, NULLs, damaged bodies, dates at both ends.
// Everything read goes the whole way: rows, day drafts, notes, lately records, and the coding of both. The first two
// bytes begin the seed of the rows' shape; the rest is what texts, bodies and numbers are taken from.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "SampleStore/StoreConnection.h"

namespace {

using namespace pellora;
namespace fs = std::filesystem;

constexpr int kMostRows = 24;

// Takes values off the input, in SQL; the end of the input gives NULLs.
class Values {
 public:
  explicit Values(std::string_view bytes) : _bytes(bytes) {}

  bool isAtEnd() const { return _bytes.empty(); }

  std::uint8_t byte() {
    if (_bytes.empty()) return 0;
    const auto value = static_cast<std::uint8_t>(_bytes.front());
    _bytes.remove_prefix(1);
    return value;
  }

  // Any type that the engine knows.
  std::string any() {
    switch (byte() % 6) {
      case 0:
        return "NULL";
      case 1:
        return std::to_string(integer());
      case 2:
        return "CAST(" + blob() + " AS TEXT)";
      case 3:
        return blob();
      case 4:
        return std::to_string(byte()) + ".5e" + std::to_string(byte());
      default:
        return std::to_string(byte() % 4);
    }
  }

  // Mostly a date of the last weeks, sometimes anything.
  std::string date() {
    if (byte() % 4 == 0) return any();
    return std::to_string((794'836'800LL - byte() * 10'000LL) * 1'000'000'000LL + byte());
  }

  std::string blob() {
    static constexpr char kDigits[] = "0123456789abcdef";
    const std::size_t count = std::min<std::size_t>(byte(), _bytes.size());
    std::string text = "x'";
    for (std::size_t index = 0; index < count; ++index) {
      const std::uint8_t value = byte();
      text += kDigits[value >> 4];
      text += kDigits[value & 15];
    }
    return text + "'";
  }

 private:
  std::int64_t integer() {
    std::uint64_t value = 0;
    for (int index = 0; index < 8; ++index) value = value << 8 | byte();
    return static_cast<std::int64_t>(value);
  }

  std::string_view _bytes;
};

class Store {
 public:
  Store() : _folder(fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path()) {
    _folder /= "pellora-fuzz-" + std::to_string(getpid());
    fs::create_directory(_folder);
    _connection.emplace(path(), StoreConnection::Mode::create);
    _connection->execute("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF");
    _connection->execute(MessagesSchema::tables());
    _connection->execute(MessagesSchema::indexes());
  }
  ~Store() { fs::remove_all(_folder); }

  fs::path path() const { return _folder / "chat.db"; }

  void fill(Values& values) {
    execute(
        "BEGIN; DELETE FROM message; DELETE FROM chat; DELETE FROM handle; DELETE FROM chat_message_join;"
        " DELETE FROM chat_handle_join");
    addHandles(values);
    for (int row = 1; row <= kMostRows && !values.isAtEnd(); ++row) addMessage(values, row);
    execute("COMMIT");
  }

 private:
  void execute(const std::string& sql) {
    try {
      _connection->execute(sql.c_str());
    } catch (const StoreError&) {
      // The store's own rules refuse some rows.
    }
  }

  void addHandles(Values& values) {
    execute("INSERT INTO handle (ROWID, id, service) VALUES (1, '+15550100123', 'x'), (2, 'sam@example.com', 'x')");
    execute("INSERT INTO handle (ROWID, id, service) VALUES (3, " + values.any() + ", 'y')");
    execute("INSERT INTO chat (ROWID, guid) VALUES (1, 'a'), (2, 'b'), (3, 'c')");
    execute("INSERT INTO chat_handle_join (chat_id, handle_id) VALUES (1, 1), (2, 2), (3, 3), (3, 1)");
    if (values.byte() % 8 == 0)
      execute("INSERT INTO chat_handle_join (chat_id, handle_id) VALUES (" + values.any() + ", " + values.any() + ")");
  }

  void addMessage(Values& values, int row) {
    const std::string number = std::to_string(row);
    execute(
        "INSERT INTO message (ROWID, guid, date, is_from_me, text, attributedBody, associated_message_type,"
        " item_type) VALUES (" +
        number + ", 'g" + number + "', " + values.date() + ", " + values.any() + ", " + values.any() + ", " +
        values.any() + ", " + (values.byte() % 4 == 0 ? values.any() : "0") + ", " +
        (values.byte() % 4 == 0 ? values.any() : "0") + ")");
    execute("INSERT INTO chat_message_join (chat_id, message_id) VALUES (" + std::to_string(values.byte() % 3 + 1) +
            ", " + number + ")");
  }

  fs::path _folder;
  std::optional<StoreConnection> _connection;
};

void requireSame(bool isSame) {
  if (!isSame) std::abort();
}

void checkRecords(const HelperDayNotes& notes, const std::vector<HelperPerson>& people, const LocalCalendar& calendar) {
  const auto again = ExchangeCoding::decode<HelperDayNotes>(ExchangeCoding::encode(notes));
  requireSame(again && again->days.size() == notes.days.size());
  requireSame(ExchangeCoding::encode(*again) == ExchangeCoding::encode(notes));
  for (const HelperPerson& person : people) {
    std::vector<MessagesDayRecord> days;
    for (const MessagesDayRecord& day : notes.days)
      if (day.personID == person.id) days.push_back(day);
    const auto lately = MessagesLatelyRecord::build(days, 30, instantAtSeconds(1'773'144'000), calendar, "Sam");
    requireSame(lately.has_value() == !days.empty());
    if (lately) requireSame(ExchangeCoding::decode<MessagesLatelyRecord>(ExchangeCoding::encode(*lately)).has_value());
  }
}

// A damaged date need not be a number, so the two ways of reading may put its row in different places.
std::vector<HistoryMessage> inOrder(std::vector<HistoryMessage> messages) {
  std::ranges::sort(messages, {},
                    [](const HistoryMessage& message) { return std::pair(message.rowID, message.chatID); });
  return messages;
}

void readAll(const fs::path& path) {
  const std::vector<HelperPerson> people = {{Uuid({1}), "Sam", {"5550100123"}, {}},
                                            {Uuid({2}), "Robin", {}, {"sam@example.com"}}};
  const HandleMatcher matcher(people);
  const LocalCalendar calendar = LocalCalendar::inTimeZone("Europe/Berlin");
  ChatDatabase database(path);
  database.beginSnapshot();
  const ChatParticipants participants = database.chatParticipants();
  database.messages(database.maxRowID() - 3, 5000);
  database.messages(std::set<std::int64_t>{1, 2, 3}, instantAtSeconds(978'307'200));
  const Instant since = instantAtSeconds(978'307'200);
  const auto messages = database.messages(since, 50'000);
  // Chats first or dates first: the same rows.
  requireSame(inOrder(database.allMessages({1, 2, 3}, since)) == inOrder(messages));
  database.newRows({1, 2}, 0, 3);
  database.rowMark(1);
  auto drafts = MessagesDayBuilder::drafts(messages, participants, matcher, matcher.firstNames(), calendar);
  std::vector<MessagesDayRecord> records;
  for (auto& draft : drafts) records.push_back(std::move(draft.record));
  HelperDayNotes notes;
  notes.merge(records, HelperDayNotes::Reread::full, "2001-01-01", {Uuid({1}), Uuid({2})});
  requireSame(notes.days.size() <= records.size());
  checkRecords(notes, people, calendar);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Store store;
  Values values({reinterpret_cast<const char*>(data), size});
  store.fill(values);
  readAll(store.path());
  return 0;
}
