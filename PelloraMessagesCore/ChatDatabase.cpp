#include "PelloraMessagesCore/ChatDatabase.h"

#include <fcntl.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/MessageBody.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr int kOpenFlags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
constexpr int kBusyTimeoutMilliseconds = 2000;
constexpr int kMaximumHistoryRows = 50'000;
constexpr std::int64_t kFirstNanosecondValue = 10'000'000'001;
constexpr Instant kReferenceDate = instantAtSeconds(978'307'200);  // 2001-01-01 00:00:00 UTC

// Finalized when it goes out of scope, so after the connection's error message was read.
class Statement {
 public:
  Statement(sqlite3* db, const std::string& sql) : _db(db) {
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &_statement, nullptr) != SQLITE_OK || _statement == nullptr) fail();
  }
  ~Statement() { sqlite3_finalize(_statement); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void bind(std::int64_t parameter) { sqlite3_bind_int64(_statement, 1, parameter); }

  // Hands a C++ value to an SQL function that knows it by `type`; it must outlive the statement.
  template <class Value>
  void bind(int index, const Value& value, const char* type) {
    sqlite3_bind_pointer(_statement, index, const_cast<Value*>(&value), type, nullptr);
  }

  // False after the last row.
  bool nextRow() {
    const int result = sqlite3_step(_statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) fail();
    return result == SQLITE_ROW;
  }

  std::int64_t integer64(int column) { return sqlite3_column_int64(_statement, column); }
  bool boolean(int column) { return sqlite3_column_int(_statement, column) != 0; }

  // A text ends at its first zero byte, as it does for SQL's own functions. The views live until the next row.
  std::optional<std::string_view> text(int column) {
    const unsigned char* bytes = sqlite3_column_text(_statement, column);
    if (bytes == nullptr) return std::nullopt;
    return std::string_view(reinterpret_cast<const char*>(bytes));
  }

  std::optional<std::string_view> blob(int column) {
    const void* bytes = sqlite3_column_blob(_statement, column);
    if (bytes == nullptr) return std::nullopt;
    const int count = sqlite3_column_bytes(_statement, column);
    return std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
  }

 private:
  [[noreturn]] void fail() {
    std::string message = StoreHardening::errorText(_db);
    sqlite3_finalize(std::exchange(_statement, nullptr));
    throw ChatDatabase::Failure::query(std::move(message));
  }

  sqlite3* _db;
  sqlite3_stmt* _statement = nullptr;
};

constexpr char kParticipantsQuery[] =
    "SELECT chj.chat_id, h.id FROM chat_handle_join chj JOIN handle h ON h.ROWID = chj.handle_id";
constexpr char kRowMarkQuery[] = "SELECT guid, date FROM message WHERE ROWID = ?";
constexpr char kTextColumns[] = "m.text, m.attributedBody";
// The same for some chats only: the texts in other rows are never asked for.
constexpr char kSelectedTextColumns[] =
    "CASE WHEN is_one_of(cmj.chat_id, ?2) THEN m.text END, CASE WHEN is_one_of(cmj.chat_id, ?2) THEN m.attributedBody "
    "END";

std::string messageQuery(const std::string& condition, const std::string& ordering, int limit,
                         const char* textColumns = kTextColumns) {
  return std::string("SELECT m.ROWID, m.date, m.is_from_me, ") + textColumns +
         ", cmj.chat_id\n"
         "FROM message m JOIN chat_message_join cmj ON cmj.message_id = m.ROWID\n"
         "WHERE " +
         condition +
         " AND IFNULL(m.associated_message_type, 0) = 0 AND IFNULL(m.item_type, 0) = 0\n"
         "ORDER BY " +
         ordering + " LIMIT " + std::to_string(limit);
}

// Row ids, ascending, for the SQL function below.
using RowIDs = std::vector<std::int64_t>;
constexpr char kRowIDsPointer[] = "row ids";

// is_one_of(row id, RowIDs bound as a pointer)
void isOneOf(sqlite3_context* context, int, sqlite3_value** arguments) {
  const auto* rowIDs = static_cast<const RowIDs*>(sqlite3_value_pointer(arguments[1], kRowIDsPointer));
  const std::int64_t rowID = sqlite3_value_int64(arguments[0]);
  sqlite3_result_int(context, rowIDs != nullptr && std::binary_search(rowIDs->begin(), rowIDs->end(), rowID) ? 1 : 0);
}

std::optional<std::string> body(Statement& row) {
  const auto text = row.text(3);
  const auto attributedBody = row.blob(4);
  if (!text || text::isValidUtf8(*text)) return MessageBody::text(text, attributedBody);
  const std::string repaired = text::repairedUtf8(*text);
  return MessageBody::text(repaired, attributedBody);
}

// The outcome of a message query.
struct TakenRows {
  std::vector<HistoryMessage> messages;
  int count = 0;                    // of all rows, used or not
  std::int64_t lastRowID = 0;       // of all rows
  std::int64_t highestSettled = 0;  // of the messages and the rows of other chats
};

// `chats` is null for all of them.
TakenRows takenRows(Statement& row, const ChatSelection* chats = nullptr) {
  TakenRows taken;
  for (; row.nextRow(); ++taken.count) {
    taken.lastRowID = row.integer64(0);
    const std::int64_t chat = row.integer64(5);
    if (chats == nullptr || chats->contains(chat)) {
      std::optional<std::string> text = body(row);
      if (!text || text->empty()) continue;
      taken.messages.push_back(
          {taken.lastRowID, ChatDatabase::date(row.integer64(1)), row.boolean(2), std::move(*text), chat});
    }
    taken.highestSettled = std::max(taken.highestSettled, taken.lastRowID);
  }
  return taken;
}

std::vector<HistoryMessage> messageRows(sqlite3* db, const std::string& sql, std::int64_t parameter) {
  Statement statement(db, sql);
  statement.bind(parameter);
  return takenRows(statement).messages;
}

// The index on dates holds all that this asks for, so no message is touched.
RowIDs rowIDsSince(sqlite3* db, std::int64_t since) {
  Statement statement(db, "SELECT ROWID FROM message WHERE date >= ?");
  statement.bind(since);
  RowIDs rowIDs;
  while (statement.nextRow()) rowIDs.push_back(statement.integer64(0));
  std::sort(rowIDs.begin(), rowIDs.end());
  return rowIDs;
}

std::string chatList(const auto& chats) {
  std::string list;
  for (const std::int64_t chat : chats) {
    if (!list.empty()) list += ',';
    list += std::to_string(chat);
  }
  return list;
}

// Chats before messages: only rows of these chats are ever fetched, each page of them once, as row ids ascend.
std::string selectionQuery(const ChatSelection& chats) {
  return "SELECT m.ROWID, m.date, m.is_from_me, m.text, m.attributedBody, cmj.chat_id\n"
         "FROM (SELECT message_id, chat_id FROM chat_message_join\n"
         "WHERE chat_id IN (" +
         chatList(chats) +
         ") AND message_id >= ?1 AND is_one_of(message_id, ?2) ORDER BY message_id, chat_id) cmj\n"
         "CROSS JOIN message m ON m.ROWID = cmj.message_id\n"
         "WHERE IFNULL(m.associated_message_type, 0) = 0 AND IFNULL(m.item_type, 0) = 0";
}

// By canonical form; of canonically equal handles the first one stays.
void sortWithoutRepeats(std::vector<std::string>& handles) {
  if (std::all_of(handles.begin(), handles.end(), text::isAscii)) {
    std::sort(handles.begin(), handles.end());
    handles.erase(std::unique(handles.begin(), handles.end()), handles.end());
    return;
  }
  std::map<std::string, std::string> byCanonicalForm;
  for (std::string& handle : handles) byCanonicalForm.try_emplace(text::canonical(handle), handle);
  handles.clear();
  for (auto& [canonical, handle] : byCanonicalForm) handles.push_back(std::move(handle));
}

std::string homeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
  const passwd* user = getpwuid(getuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
}

}  // namespace

ChatDatabase::Failure ChatDatabase::Failure::cannotOpen(std::int32_t code) {
  Failure failure;
  failure._kind = Kind::cannotOpen;
  failure._code = code;
  failure._description = "cannotOpen(code: " + std::to_string(code) + ")";
  return failure;
}

ChatDatabase::Failure ChatDatabase::Failure::query(std::string message) {
  Failure failure;
  failure._kind = Kind::query;
  failure._description = "query(" + text::debugQuoted(message) + ")";
  failure._message = std::move(message);
  return failure;
}

std::filesystem::path ChatDatabase::defaultURL() {
  return std::filesystem::path(homeFolder()) / "Library/Messages/chat.db";
}

bool ChatDatabase::canRead(const std::filesystem::path& url) {
  // A pipe or a terminal in the file's place must not make the reader wait.
  const FileDescriptor descriptor = FileDescriptor::open(url, O_RDONLY | O_NONBLOCK);
  struct stat status{};
  if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0) return false;
  // A folder can be opened too; opening the database shows whether it is one.
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

ChatDatabase::ChatDatabase(const std::filesystem::path& url, std::stop_token stop) {
  _patience.stop = std::move(stop);
  // An absolute path is never taken for a URI, nor for the name of a temporary database.
  std::error_code failed;
  const std::filesystem::path path = std::filesystem::absolute(url, failed);
  if (failed) throw Failure::cannotOpen(SQLITE_CANTOPEN);
  if (const std::string obstacle = StoreHardening::obstacleBeside(path); !obstacle.empty())
    throw Failure::query(obstacle);
  const int code = sqlite3_open_v2(path.c_str(), &_db, kOpenFlags, nullptr);
  if (code != SQLITE_OK) {
    sqlite3_close(std::exchange(_db, nullptr));
    throw Failure::cannotOpen(code);
  }
  sqlite3_busy_timeout(_db, kBusyTimeoutMilliseconds);
  // A sort that outgrows its buffer would otherwise put message texts into a temporary file.
  sqlite3_exec(_db, "PRAGMA temp_store = MEMORY", nullptr, nullptr, nullptr);
  StoreHardening::harden(_db, _patience);
  sqlite3_create_function(_db, "is_one_of", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_DIRECTONLY, nullptr, isOneOf,
                          nullptr, nullptr);
}

sqlite3* ChatDatabase::checked() const {
  if (_isChecked) return _db;
  const std::optional<std::string> trouble = StoreHardening::tableTrouble(_db);
  if (!trouble) throw Failure::query(StoreHardening::errorText(_db));
  if (!trouble->empty()) throw Failure::query(*trouble);
  // What a read asks for later must be there from the start, so that every user of a store finds the same wrong with
  // it.
  for (const std::string& query :
       {std::string(kParticipantsQuery), messageQuery("m.ROWID > ?", "m.ROWID", 1), std::string(kRowMarkQuery)})
    const Statement prepared(_db, query);
  _isChecked = true;
  return _db;
}

ChatDatabase::~ChatDatabase() {
  sqlite3_close(_db);
}

void ChatDatabase::beginSnapshot() {
  if (sqlite3_exec(_db, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK)
    throw Failure::query(text::repairedUtf8(sqlite3_errmsg(_db)));
}

std::int64_t ChatDatabase::maxRowID() const {
  Statement statement(checked(), "SELECT IFNULL(MAX(ROWID), 0) FROM message");
  std::int64_t highest = 0;
  while (statement.nextRow()) highest = statement.integer64(0);
  return highest;
}

std::string ChatDatabase::rowMark(std::int64_t rowID) const {
  Statement statement(checked(), kRowMarkQuery);
  statement.bind(rowID);
  std::string mark;
  while (statement.nextRow()) {
    const std::string guid = text::repairedUtf8(statement.text(0).value_or(std::string_view()));
    mark = guid + " " + std::to_string(statement.integer64(1));
  }
  return mark;
}

std::vector<HistoryMessage> ChatDatabase::messages(std::int64_t afterRowID, int limit) const {
  return messageRows(checked(), messageQuery("m.ROWID > ?", "m.ROWID", limit), afterRowID);
}

ChatDatabase::NewRows ChatDatabase::newRows(const ChatSelection& chats, std::int64_t afterRowID, int limit) const {
  RowIDs wanted(chats.begin(), chats.end());
  std::sort(wanted.begin(), wanted.end());
  Statement statement(checked(), messageQuery("m.ROWID > ?1", "m.ROWID", limit, kSelectedTextColumns));
  statement.bind(afterRowID);
  statement.bind(2, wanted, kRowIDsPointer);
  TakenRows rows = takenRows(statement, &chats);
  const bool isLimitReached = rows.count == limit;
  return {std::move(rows.messages), isLimitReached ? rows.lastRowID : rows.highestSettled, isLimitReached};
}

std::vector<HistoryMessage> ChatDatabase::messages(Instant since, int limit) const {
  return messageRows(checked(), messageQuery("m.date >= ?", "m.date", limit), appleTime(since));
}

std::vector<HistoryMessage> ChatDatabase::messages(const std::set<std::int64_t>& inChats, Instant since) const {
  if (inChats.empty()) return {};
  return messageRows(checked(), messageQuery(chatsCondition(inChats), "m.date", kMaximumHistoryRows), appleTime(since));
}

std::vector<HistoryMessage> ChatDatabase::allMessages(const ChatSelection& inChats, Instant since) const {
  if (sqlite3_get_autocommit(_db) != 0) throw Failure::query("two queries that belong together need a snapshot");
  const RowIDs window = inChats.empty() ? RowIDs() : rowIDsSince(checked(), appleTime(since));
  if (window.empty()) return {};
  Statement statement(checked(), selectionQuery(inChats));
  statement.bind(window.front());
  statement.bind(2, window, kRowIDsPointer);
  std::vector<HistoryMessage> messages = takenRows(statement).messages;
  const auto place = [](const HistoryMessage& message) {
    return std::tuple(message.date, message.rowID, message.chatID);
  };
  // Most stores keep rows in the order of their dates.
  if (!std::ranges::is_sorted(messages, {}, place)) std::ranges::sort(messages, {}, place);
  return messages;
}

std::string ChatDatabase::chatsCondition(const std::set<std::int64_t>& chats) {
  return "m.date >= ? AND cmj.chat_id IN (" + chatList(chats) + ")";
}

ChatParticipants ChatDatabase::chatParticipants() const {
  Statement statement(checked(), kParticipantsQuery);
  ChatParticipants participants;
  while (statement.nextRow()) {
    const std::int64_t chat = statement.integer64(0);
    if (const auto handle = statement.text(1)) participants[chat].push_back(text::repairedUtf8(*handle));
  }
  for (auto& [chat, handles] : participants) sortWithoutRepeats(handles);
  return participants;
}

ChatDatabase::Summary ChatDatabase::summary() const {
  Statement statement(checked(),
                      "SELECT (SELECT count(*) FROM message), (SELECT count(DISTINCT id) FROM handle),\n"
                      "(SELECT count(DISTINCT chat_id) FROM chat_handle_join), (SELECT max(date) FROM message)");
  Summary summary;
  while (statement.nextRow()) {
    summary = {statement.integer64(0), statement.integer64(1), statement.integer64(2), std::nullopt};
    if (summary.messages > 0) summary.newestMessageAt = date(statement.integer64(3));
  }
  return summary;
}

std::vector<std::string> ChatDatabase::handles() const {
  Statement statement(checked(), "SELECT DISTINCT id FROM handle ORDER BY id");
  std::vector<std::string> handles;
  while (statement.nextRow())
    if (const auto handle = statement.text(0)) handles.push_back(text::repairedUtf8(*handle));
  return handles;
}

std::vector<ChatDatabase::Correspondent> ChatDatabase::correspondents() const {
  Statement statement(checked(),
                      "SELECT h.id, sum(m.is_from_me <> 0), sum(m.is_from_me = 0), max(m.date)\n"
                      "FROM (SELECT chat_id, min(handle_id) AS handle_id FROM chat_handle_join GROUP BY chat_id\n"
                      "HAVING count(DISTINCT handle_id) = 1) AS chats\n"
                      "JOIN handle h ON h.ROWID = chats.handle_id\n"
                      "JOIN chat_message_join cmj ON cmj.chat_id = chats.chat_id\n"
                      "JOIN message m ON m.ROWID = cmj.message_id\n"
                      "WHERE IFNULL(m.associated_message_type, 0) = 0 AND IFNULL(m.item_type, 0) = 0\n"
                      "GROUP BY h.id ORDER BY count(*) DESC, h.id");
  std::vector<Correspondent> correspondents;
  while (statement.nextRow())
    if (const auto handle = statement.text(0))
      correspondents.push_back(
          {text::repairedUtf8(*handle), statement.integer64(1), statement.integer64(2), date(statement.integer64(3))});
  return correspondents;
}

std::int64_t ChatDatabase::appleTime(Instant date) {
  const Int128 nanoseconds = (date - kReferenceDate).count();
  if (nanoseconds < std::numeric_limits<std::int64_t>::min() ||
      nanoseconds > std::numeric_limits<std::int64_t>::max()) {
    std::fputs("A date beyond 64 bits of nanoseconds cannot be compared with the Messages store\n", stderr);
    std::abort();
  }
  return static_cast<std::int64_t>(nanoseconds);
}

Instant ChatDatabase::date(std::int64_t appleTime) {
  if (appleTime >= kFirstNanosecondValue) return kReferenceDate + Nanoseconds(appleTime);
  return insideCalendar(kReferenceDate + std::chrono::seconds(1) * static_cast<Int128>(appleTime));
}

}  // namespace pellora
