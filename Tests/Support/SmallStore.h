// A Messages store with the real tables, filled row by row by a test. Row ids start at 1 and go up by one. The
// store is in WAL mode and its connection stays open, as that of the program that owns a real store does.
//
//   SmallStore store(folder / "chat.db");
//   const auto chat = store.addChat({"+15550100123"});
//   store.addMessage(chat, instantAtSeconds(1'767'225'600), SmallStore::kFromThem, "hello");
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Time/Instant.h"
#include "SampleStore/StoreConnection.h"

namespace pellora::support {

class SmallStore {
 public:
  static constexpr bool kFromMe = true;
  static constexpr bool kFromThem = false;

  // One row of `message`, column by column. Absent columns are NULL.
  struct Row {
    std::int64_t chat = 0;                 // 0: in no chat
    std::optional<std::int64_t> date = 0;  // as stored: nanoseconds since 2001, or seconds in old rows
    bool isFromMe = false;
    std::optional<std::string> text{};
    std::optional<std::string> attributedBody{};
    std::int64_t associatedMessageType = 0;
    std::int64_t itemType = 0;
  };

  // Creates the store, with its parent folders.
  explicit SmallStore(const std::filesystem::path& file);

  // Opens a store that is there.
  static std::unique_ptr<SmallStore> open(const std::filesystem::path& file);

  const std::filesystem::path& path() const { return _file; }

  // The chat's row id. A handle that the store has already is used again.
  std::int64_t addChat(const std::vector<std::string>& handles);

  // The message's row id. The body is in `text`.
  std::int64_t addMessage(std::int64_t chat, Instant date, bool isFromMe, const std::string& text);

  // The same with the body in `attributedBody` only.
  std::int64_t addArchivedMessage(std::int64_t chat, Instant date, bool isFromMe, const std::string& text);

  std::int64_t addRow(const Row& row);

  // Puts a message into one more chat.
  void joinMessage(std::int64_t chat, std::int64_t message);

  // Any SQL: "BEGIN", "DELETE FROM message", ...
  void execute(const std::string& sql) { _connection.execute(sql.c_str()); }

  StoreConnection& connection() { return _connection; }

 private:
  SmallStore(const std::filesystem::path& file, StoreConnection::Mode mode) : _file(file), _connection(file, mode) {}

  std::filesystem::path _file;
  StoreConnection _connection;
};

}  // namespace pellora::support
