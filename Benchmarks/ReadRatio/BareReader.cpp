// What a small program costs that reads the same rows as a full read and does nothing with them: three statements,
// every column copied, every body decoded. The floor under a whole run of the helper. The rows come out by one
// statement over the window, as anybody would write it.
//
//   pellora-bare-reader STORE     prints how many rows it met and how many had a text
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr long long kSecondsTo2001 = 978'307'200;
constexpr long long kWindowSeconds = 30LL * 24 * 60 * 60;

struct Row {
  long long rowID, date, isFromMe, chat;
  std::string text;
};

std::string copied(sqlite3_stmt* statement, int column) {
  const void* bytes = sqlite3_column_blob(statement, column);
  return bytes == nullptr ? std::string()
                          : std::string(static_cast<const char*>(bytes),
                                        static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

// The text of a typed stream: class name, five bytes of head, length, UTF-8.
std::string decoded(const std::string& body) {
  std::size_t at = body.find("NSString");
  if (at == std::string::npos) return {};
  at += std::strlen("NSString") + 5;
  if (at >= body.size()) return {};
  const auto byte = [&](std::size_t place) {
    return place < body.size() ? std::size_t{static_cast<unsigned char>(body[place])} : 0;
  };
  std::size_t length = byte(at++);
  if (length == 0x81) {
    length = byte(at) | byte(at + 1) << 8;
    at += 2;
  } else if (length == 0x82) {
    length = byte(at) | byte(at + 1) << 8 | byte(at + 2) << 16 | byte(at + 3) << 24;
    at += 4;
  }
  return at < body.size() ? body.substr(at, length) : std::string();
}

sqlite3_stmt* prepared(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) std::abort();
  return statement;
}

}  // namespace

int main(int argc, char** argv) {
  sqlite3* database = nullptr;
  if (argc != 2 ||
      sqlite3_open_v2(argv[1], &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
    return 2;
  std::vector<std::pair<long long, std::string>> participants;
  sqlite3_stmt* statement =
      prepared(database, "SELECT chj.chat_id, h.id FROM chat_handle_join chj JOIN handle h ON h.ROWID = chj.handle_id");
  while (sqlite3_step(statement) == SQLITE_ROW)
    participants.emplace_back(sqlite3_column_int64(statement, 0), copied(statement, 1));
  sqlite3_finalize(statement);

  statement = prepared(database, "SELECT IFNULL(MAX(ROWID), 0) FROM message");
  sqlite3_step(statement);
  const long long highest = sqlite3_column_int64(statement, 0);
  sqlite3_finalize(statement);

  statement =
      prepared(database,
               "SELECT m.ROWID, m.date, m.is_from_me, m.text, m.attributedBody, cmj.chat_id FROM message m"
               " JOIN chat_message_join cmj ON cmj.message_id = m.ROWID WHERE m.date >= ? AND"
               " IFNULL(m.associated_message_type, 0) = 0 AND IFNULL(m.item_type, 0) = 0 ORDER BY m.date LIMIT 50000");
  const long long now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  sqlite3_bind_int64(statement, 1, (now - kSecondsTo2001 - kWindowSeconds) * 1'000'000'000LL);
  std::vector<Row> rows;
  std::size_t texts = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    Row row{sqlite3_column_int64(statement, 0), sqlite3_column_int64(statement, 1), sqlite3_column_int64(statement, 2),
            sqlite3_column_int64(statement, 5), copied(statement, 3)};
    const std::string body = copied(statement, 4);
    if (row.text.empty()) row.text = decoded(body);
    if (!row.text.empty()) ++texts;
    rows.push_back(std::move(row));
  }
  sqlite3_finalize(statement);
  sqlite3_close(database);
  std::printf("%zu chats' handles, row ids to %lld, %zu rows, %zu texts\n", participants.size(), highest, rows.size(),
              texts);
}
