#include "Tests/Support/SmallStore.h"

#include "PelloraMessagesCore/ChatDatabase.h"
#include "SampleStore/MessageInserter.h"
#include "SampleStore/StoreConnection.h"

namespace pellora::support {

namespace {

const std::filesystem::path& withParents(const std::filesystem::path& file) {
  std::filesystem::create_directories(file.parent_path());
  return file;
}

std::int64_t lastRowID(StoreConnection& connection) {
  return connection.queryInteger("SELECT last_insert_rowid()");
}

}  // namespace

std::unique_ptr<SmallStore> SmallStore::open(const std::filesystem::path& file) {
  std::unique_ptr<SmallStore> store(new SmallStore(file, StoreConnection::Mode::existing));
  store->execute("PRAGMA synchronous = OFF");
  return store;
}

SmallStore::SmallStore(const std::filesystem::path& file)
    : SmallStore(withParents(file), StoreConnection::Mode::create) {
  execute("PRAGMA page_size = 4096; PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF; BEGIN");
  execute(MessagesSchema::tables());
  execute(MessagesSchema::indexes());
  execute(MessagesSchema::triggers());
  execute("COMMIT");
}

std::int64_t SmallStore::addChat(const std::vector<std::string>& handles) {
  StoreStatement(_connection.handle(),
                 "INSERT INTO chat (guid, style, chat_identifier, service_name)"
                 " VALUES (lower(hex(randomblob(16))), ?, ?, 'iMessage')")
      .bindInteger(1, handles.size() == 1 ? 45 : 43)
      .bindText(2, handles.empty() ? "" : handles.front())
      .run();
  const std::int64_t chat = lastRowID(_connection);
  for (const std::string& handle : handles) {
    StoreStatement(_connection.handle(), "INSERT OR IGNORE INTO handle (id, service) VALUES (?, 'iMessage')")
        .bindText(1, handle)
        .run();
    StoreStatement(_connection.handle(),
                   "INSERT OR IGNORE INTO chat_handle_join (chat_id, handle_id)"
                   " SELECT ?, ROWID FROM handle WHERE id = ?")
        .bindInteger(1, chat)
        .bindText(2, handle)
        .run();
  }
  return chat;
}

std::int64_t SmallStore::addMessage(std::int64_t chat, Instant date, bool isFromMe, const std::string& text) {
  return addRow({.chat = chat, .date = ChatDatabase::appleTime(date), .isFromMe = isFromMe, .text = text});
}

std::int64_t SmallStore::addArchivedMessage(std::int64_t chat, Instant date, bool isFromMe, const std::string& text) {
  return addRow({.chat = chat,
                 .date = ChatDatabase::appleTime(date),
                 .isFromMe = isFromMe,
                 .attributedBody = AttributedBodyEncoder::encode(text, AttributedBodyEncoder::StringClass::plain)});
}

std::int64_t SmallStore::addRow(const Row& row) {
  StoreStatement insert(_connection.handle(),
                        "INSERT INTO message (guid, date, is_from_me, text, attributedBody, associated_message_type,"
                        " item_type, service) VALUES (lower(hex(randomblob(16))), ?, ?, ?, ?, ?, ?, 'iMessage')");
  if (row.date) insert.bindInteger(1, *row.date);
  insert.bindInteger(2, row.isFromMe);
  if (row.text) insert.bindText(3, *row.text);
  if (row.attributedBody) insert.bindBlob(4, *row.attributedBody);
  insert.bindInteger(5, row.associatedMessageType).bindInteger(6, row.itemType).run();
  const std::int64_t message = lastRowID(_connection);
  if (row.chat != 0) joinMessage(row.chat, message);
  return message;
}

void SmallStore::joinMessage(std::int64_t chat, std::int64_t message) {
  StoreStatement(_connection.handle(),
                 "INSERT INTO chat_message_join (chat_id, message_id, message_date)"
                 " SELECT ?, ROWID, date FROM message WHERE ROWID = ?")
      .bindInteger(1, chat)
      .bindInteger(2, message)
      .run();
}

}  // namespace pellora::support
