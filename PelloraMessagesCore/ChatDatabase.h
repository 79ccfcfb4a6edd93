// The only reader of messages: one read-only connection, fixed queries. (The companion copies stores as files and
// checks them, which is not reading.) Owned by one read cycle and used by one thread at a time. Other processes write
// meanwhile; a locked store is retried for two seconds.
// Tested by Tests/Core/ChatDatabaseTests.cpp.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "PelloraMessagesCore/StoreHardening.h"
#include "PelloraMessagesCore/Time/Instant.h"

struct sqlite3;

namespace pellora {

// One message row of the Messages store.
struct HistoryMessage {
  std::int64_t rowID = 0;
  Instant date;
  bool isFromMe = false;
  std::string text;  // never empty
  std::int64_t chatID = 0;

  bool operator==(const HistoryMessage&) const = default;
};

// Chat row id to the chat's handles (phone numbers, e-mail addresses), without repeats, in canonical text order.
// Exactly one handle marks a one-to-one chat.
using ChatParticipants = std::unordered_map<std::int64_t, std::vector<std::string>>;

// Chat row ids. Rows of other chats are passed over before their text is asked for: it never enters the process.
using ChatSelection = std::unordered_set<std::int64_t>;

class ChatDatabase {
 public:
  class Failure : public std::exception {
   public:
    enum class Kind { cannotOpen, query };

    static Failure cannotOpen(std::int32_t code);
    static Failure query(std::string message);

    // "cannotOpen(code: 14)" or "query(\"no such table: message\")".
    const char* what() const noexcept override { return _description.c_str(); }

    Kind kind() const { return _kind; }
    std::int32_t code() const { return _code; }              // SQLite's, of cannotOpen
    const std::string& message() const { return _message; }  // SQLite's, of query

    bool operator==(const Failure& other) const {
      return _kind == other._kind && _code == other._code && _message == other._message;
    }

   private:
    Kind _kind = Kind::query;
    std::int32_t _code = 0;
    std::string _message;
    std::string _description;
  };

  // "Library/Messages/chat.db" under the user's home.
  static std::filesystem::path defaultURL();

  // Whether the file can be opened for reading at all; a pipe or a device never counts. Never waits.
  static bool canRead(const std::filesystem::path& url);

  // Throws Failure.cannotOpen, and Failure.query for a store that has anything but files next to it. Once `stop`
  // is requested, a long query ends with Failure.query.
  explicit ChatDatabase(const std::filesystem::path& url, std::stop_token stop = {});
  ~ChatDatabase();
  ChatDatabase(const ChatDatabase&) = delete;
  ChatDatabase& operator=(const ChatDatabase&) = delete;

  // All throw Failure.query, also for a store whose tables are not ordinary ones. Rows without a text are left out.

  // From the next query on, until the connection is closed, every query sees the store as of that moment.
  void beginSnapshot();

  // 0 for an empty table.
  std::int64_t maxRowID() const;

  // A mark that tells this row's message from another one under the same row id; empty when there is no such row.
  std::string rowMark(std::int64_t rowID) const;

  // Rows with a greater row id, lowest first.
  std::vector<HistoryMessage> messages(std::int64_t afterRowID, int limit) const;

  struct NewRows {
    std::vector<HistoryMessage> messages;
    // The highest row id that was dealt with: of the messages and of passed-over rows. A row without a text, which may
    // still get one, counts only when the limit was reached. 0 for none.
    std::int64_t highestRowID = 0;
    bool isLimitReached = false;  // there may be more
  };

  // As above, of these chats. The limit counts rows of all chats.
  NewRows newRows(const ChatSelection& chats, std::int64_t afterRowID, int limit) const;

  // Rows dated at or after `since`, oldest first.
  std::vector<HistoryMessage> messages(Instant since, int limit) const;

  // Rows of these chats dated at or after `since`, oldest first, at most 50,000. No chats, no query.
  std::vector<HistoryMessage> messages(const std::set<std::int64_t>& inChats, Instant since) const;

  // As above, however many there are. Text of other chats is never asked for, whatever the order of dates and row ids.
  // Also throws outside a snapshot.
  std::vector<HistoryMessage> allMessages(const ChatSelection& inChats, Instant since) const;

  ChatParticipants chatParticipants() const;

  // How much is in the store, for the people who set it up.
  struct Summary {
    std::int64_t messages = 0;
    std::int64_t people = 0;  // handles
    std::int64_t chats = 0;
    std::optional<Instant> newestMessageAt;  // absent when there is no message
  };
  Summary summary() const;

  // The handles of the store, in its own spelling, without repeats. Reads nothing of any message.
  std::vector<std::string> handles() const;

  // The other sides of one-to-one chats, most messages first. Counts and dates; no text is read.
  struct Correspondent {
    std::string handle;
    std::int64_t sent = 0;
    std::int64_t received = 0;
    Instant lastMessageAt;
  };
  std::vector<Correspondent> correspondents() const;

  // The value that `m.date` is compared with: nanoseconds since 2001-01-01 00:00:00 UTC. A value outside 64 bits
  // is a programming error and ends the process.
  static std::int64_t appleTime(Instant date);

  // Stored values below 10,000,000,001 are whole seconds since 2001, others nanoseconds. Seconds outside the years
  // 1 to 9999 are taken as the nearest instant inside them.
  static Instant date(std::int64_t appleTime);

  // The condition of the third query, for tests of its exact text.
  static std::string chatsCondition(const std::set<std::int64_t>& chats);

 private:
  // The connection, once its tables turned out to be ordinary ones.
  sqlite3* checked() const;

  sqlite3* _db = nullptr;
  mutable bool _isChecked = false;
  StoreHardening::Patience _patience;
};

}  // namespace pellora
