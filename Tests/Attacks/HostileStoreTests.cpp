// Stores that somebody built or that something broke, given to both programs: each run ends with a state and a
// sentence, `status` says "readable" of the very stores that the helper reads, and earlier records stay.
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>

#include "Tests/Attacks/AttackTest.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;

constexpr char kNever[] = "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x";

struct Case {
  const char* name;
  std::string sql;
  bool isRead;                                 // by the helper, and readable according to `status`
  std::function<void(std::fstream&)> alter{};  // the bytes of the file, afterwards
};

std::ostream& operator<<(std::ostream& stream, const Case& each) {
  return stream << each.name;
}

// Replaces the definition of a table or index in the schema.
std::string redefine(const std::string& name, const std::string& sql) {
  return "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = '" + sql + "' WHERE name = '" + name +
         "'; PRAGMA writable_schema = OFF;";
}

// The same table made again from another definition of it.
std::string remade(const std::string& table, const std::string& columns, const std::string& options = "") {
  return "ALTER TABLE " + table + " RENAME TO old; CREATE TABLE " + table + " (" + columns + ") " + options + ";";
}

std::function<void(std::fstream&)> put(std::streamoff at, std::string bytes) {
  return [at, bytes = std::move(bytes)](std::fstream& file) {
    file.seekp(at);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  };
}

constexpr bool kRead = true;
constexpr bool kRefused = false;

const Case kCases[] = {
    {"AnOrdinaryStore", "", kRead},
    // Tables that are something else.
    {"MessagesAreAViewThatNeverEnds",
     std::string("ALTER TABLE message RENAME TO old; CREATE VIEW message AS ") + kNever +
         " AS ROWID, 1 AS date, 0 AS is_from_me, 'x' AS text, NULL AS attributedBody, 0 AS associated_message_type, 0 "
         "AS item_type, 'g' AS guid FROM n",
     kRefused},
    {"ParticipantsAreAViewThatNeverEnds",
     std::string("ALTER TABLE chat_handle_join RENAME TO old; CREATE VIEW chat_handle_join AS ") + kNever +
         " AS chat_id, 1 AS handle_id FROM n",
     kRefused},
    {"HandlesAreAnIndexOfWords", "DROP TABLE handle; CREATE VIRTUAL TABLE handle USING fts5(id)", kRefused},
    {"MessagesComputeTheirText", "ALTER TABLE message ADD COLUMN more TEXT AS (hex(zeroblob(100000000))) VIRTUAL",
     kRefused},
    {"HandlesHaveNoRowIds", remade("handle", "id TEXT PRIMARY KEY, service TEXT", "WITHOUT ROWID"), kRefused},
    {"MessagesHaveNoRowIds",
     remade("message",
            "guid TEXT PRIMARY KEY, date INTEGER, is_from_me INTEGER, text TEXT, attributedBody BLOB, "
            "associated_message_type INTEGER, item_type INTEGER",
            "WITHOUT ROWID"),
     kRefused},
    {"JoinsHaveNoRowIds",
     remade("chat_message_join", "chat_id INTEGER, message_id INTEGER, PRIMARY KEY (chat_id, message_id)",
            "WITHOUT ROWID") +
         "INSERT INTO chat_message_join SELECT chat_id, message_id FROM old",
     kRead},
    // Tables and columns that are missing.
    {"NoMessages", "DROP TABLE message", kRefused},
    {"NoHandles", "DROP TABLE handle", kRefused},
    {"NoParticipants", "DROP TABLE chat_handle_join", kRefused},
    {"NoChatsOfMessages", "DROP TABLE chat_message_join", kRefused},
    {"NoChats", "DROP TABLE chat", kRead},
    {"NoText", remade("message", "ROWID INTEGER PRIMARY KEY, guid TEXT, date INTEGER, is_from_me INTEGER"), kRefused},
    {"NoColumnOfHandles", remade("handle", "ROWID INTEGER PRIMARY KEY, name TEXT"), kRefused},
    {"NoChatColumn", remade("chat_message_join", "message_id INTEGER"), kRefused},
    // Values that no column should hold.
    {"DatesThatAreNone",
     "UPDATE message SET date = CASE ROWID % 5 WHEN 0 THEN 'yesterday' WHEN 1 THEN 9e999 WHEN 2 THEN NULL WHEN 3 THEN "
     "x'00ff' ELSE -9223372036854775808 END",
     kRead},
    {"TheHighestRowId", "UPDATE message SET ROWID = 9223372036854775807 WHERE ROWID = (SELECT max(ROWID) FROM message)",
     kRead},
    {"NegativeRowIds", "UPDATE message SET ROWID = -ROWID; UPDATE chat_message_join SET message_id = -message_id",
     kRead},
    {"TextThatIsNone",
     "UPDATE message SET text = CASE ROWID % 4 WHEN 0 THEN 42 WHEN 1 THEN x'fffe00' WHEN 2 THEN char(0) || 'x' ELSE "
     "zeroblob(3000000) END, attributedBody = randomblob(5000)",
     kRead},
    {"HandlesThatAreNone", "UPDATE handle SET id = CASE ROWID % 2 WHEN 0 THEN x'ff' ELSE hex(zeroblob(500000)) END",
     kRead},
    {"AMessageInAThousandChats",
     "WITH RECURSIVE n(x) AS (SELECT 1000 UNION ALL SELECT x + 1 FROM n WHERE x < 2000) INSERT INTO chat_message_join "
     "(chat_id, message_id) SELECT x, 1 FROM n",
     kRead},
    {"AChatWithTenThousandHandles",
     "WITH RECURSIVE n(x) AS (SELECT 1000 UNION ALL SELECT x + 1 FROM n WHERE x < 11000) INSERT INTO handle (ROWID, "
     "id, "
     "service) SELECT x, '+1555' || x, 's' FROM n; INSERT OR IGNORE INTO chat_handle_join (chat_id, handle_id) SELECT "
     "1, ROWID "
     "FROM handle",
     kRead},
    // What lies around the tables.
    {"ATriggerAndAnIndexThatRunFunctions",
     "CREATE INDEX functions ON message(abs(date)); CREATE TRIGGER functions AFTER INSERT ON message BEGIN SELECT "
     "load_extension('x'); END",
     kRead},
    {"AFalseCountOfRows", "ANALYZE; UPDATE sqlite_stat1 SET stat = '0 0 0 unordered x'", kRead},
    {"OtherNumbersInTheHead", "PRAGMA user_version = -1; PRAGMA application_id = 7", kRead},
    {"ADefinitionThatIsNoSql", redefine("message", "CREATE TABLE message ((("), kRefused},
    {"ADefinitionWithoutItsIndex",
     redefine("handle", "CREATE TABLE handle (ROWID INTEGER PRIMARY KEY, a, b, c, d, e, f, g, id TEXT)"), kRefused},
    {"AnIndexWithAnOrderNobodyKnows",
     "CREATE INDEX named ON message(guid); " + redefine("named", "CREATE INDEX named ON message(guid COLLATE nobody)"),
     kRead},
    {"TwoTablesOnOnePage",
     "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET rootpage = (SELECT rootpage FROM sqlite_schema WHERE name "
     "= "
     "'handle') WHERE name = 'message'; PRAGMA writable_schema = OFF",
     kRead},
    {"ATableOnAPageThatIsNotThere",
     "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET rootpage = 2000000 WHERE name = 'message'", kRefused},
    // Bytes of the file itself.
    {"ALaterFormat", "", kRefused, put(18, std::string("\x07\x07"))},
    {"APageSizeThatIsNone", "", kRefused, put(16, std::string("\x00\x03", 2))},
    {"ATextEncodingThatIsNone", "", kRead, put(56, std::string("\x00\x00\x00\x09", 4))},
    {"NoMagic", "", kRefused, put(0, "Messages 3")},
};

class HostileStore : public AttackTest, public testing::WithParamInterface<Case> {
 protected:
  nlohmann::json status() {
    companion({"status", "--json"});
    return nlohmann::json::parse(output, nullptr, false);
  }

  void makeHostile() {
    _home.ownStore().reset();
    const fs::path file = fs::path(_environmentHome()) / "Library/Messages/chat.db";
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &connection), SQLITE_OK);
    char* message = nullptr;
    sqlite3_exec(connection, "PRAGMA foreign_keys = OFF; PRAGMA legacy_alter_table = ON", nullptr, nullptr, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
    EXPECT_EQ(sqlite3_exec(connection, GetParam().sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << message;
    sqlite3_free(message);
    sqlite3_close(connection);
    if (!GetParam().alter) return;
    std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
    GetParam().alter(bytes);
  }

  static std::string _environmentHome() { return std::getenv("HOME"); }
};

TEST_P(HostileStore, IsReadOrRefusedAndStatusSaysTheSame) {
  _home.addSomeDays();
  ASSERT_EQ(helper({"--read-once"}), 0) << errors;
  const auto before = _home.records().lately.size();
  makeHostile();
  const int code = helper({"--read-once"});
  EXPECT_EQ(code == 0, GetParam().isRead) << code << ": " << output << errors;
  EXPECT_GE(code, 0) << "it did not end";
  EXPECT_LT(code, 128) << "it crashed";
  if (code != 0) EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  const nlohmann::json told = status();
  ASSERT_TRUE(told.contains("store")) << output << errors;
  EXPECT_EQ(told["store"]["readable"], GetParam().isRead) << told["store"];
  if (!GetParam().isRead) {
    EXPECT_NE(told["store"]["reason"], "");
    EXPECT_NE(told["nextStep"], "");
    EXPECT_EQ(_home.records().lately.size(), before);
  }
}

INSTANTIATE_TEST_SUITE_P(All, HostileStore, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace pellora
