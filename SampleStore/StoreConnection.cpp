#include "SampleStore/StoreConnection.h"

#include <sqlite3.h>

#include <string>

namespace pellora {

StoreStatement::StoreStatement(sqlite3* connection, std::string_view sql) : _connection(connection) {
  check(sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &_statement, nullptr));
}

StoreStatement::~StoreStatement() {
  sqlite3_finalize(_statement);
}

StoreStatement& StoreStatement::bindNull(int position) {
  check(sqlite3_bind_null(_statement, position));
  return *this;
}

StoreStatement& StoreStatement::bindInteger(int position, std::int64_t value) {
  check(sqlite3_bind_int64(_statement, position, value));
  return *this;
}

StoreStatement& StoreStatement::bindText(int position, std::string_view text) {
  // A null pointer would bind NULL, and an empty view may hold one.
  const char* bytes = text.data() == nullptr ? "" : text.data();
  check(sqlite3_bind_text64(_statement, position, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

StoreStatement& StoreStatement::bindBlob(int position, std::string_view bytes) {
  const char* data = bytes.data() == nullptr ? "" : bytes.data();
  check(sqlite3_bind_blob64(_statement, position, data, bytes.size(), SQLITE_STATIC));
  return *this;
}

void StoreStatement::run() {
  while (nextRow()) {
  }
}

bool StoreStatement::nextRow() {
  const int result = sqlite3_step(_statement);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) {
    const std::string message = sqlite3_errmsg(_connection);
    reset();
    throw StoreError("The store cannot be written: " + message + ".");
  }
  reset();
  return false;
}

std::int64_t StoreStatement::integer(int column) const {
  return sqlite3_column_int64(_statement, column);
}

std::string StoreStatement::text(int column) const {
  const unsigned char* bytes = sqlite3_column_text(_statement, column);
  if (bytes == nullptr) return {};
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(_statement, column))};
}

void StoreStatement::check(int result) const {
  if (result != SQLITE_OK)
    throw StoreError(std::string("The store cannot be written: ") + sqlite3_errmsg(_connection) + ".");
}

void StoreStatement::reset() {
  sqlite3_reset(_statement);
  sqlite3_clear_bindings(_statement);
}

namespace {

constexpr int kBusyTimeoutMilliseconds = 10'000;

}  // namespace

StoreConnection::StoreConnection(const std::filesystem::path& file, Mode mode) {
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (mode == Mode::create ? SQLITE_OPEN_CREATE : 0);
  const int result = sqlite3_open_v2(file.c_str(), &_connection, flags, nullptr);
  if (result != SQLITE_OK) {
    sqlite3_close(_connection);
    throw StoreError("The store " + file.string() + " cannot be opened: " + sqlite3_errstr(result) + ".");
  }
  sqlite3_busy_timeout(_connection, kBusyTimeoutMilliseconds);
}

StoreConnection::~StoreConnection() {
  sqlite3_close(_connection);
}

void StoreConnection::execute(const char* sql) {
  if (sqlite3_exec(_connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
    throw StoreError(std::string("The store cannot be written: ") + sqlite3_errmsg(_connection) + ".");
}

std::int64_t StoreConnection::queryInteger(std::string_view sql) {
  StoreStatement statement(_connection, sql);
  return statement.nextRow() ? statement.integer(0) : 0;
}

std::int64_t StoreConnection::lastRowID() const {
  return sqlite3_last_insert_rowid(_connection);
}

void StoreConnection::keepLogOnClose() {
  int persist = 1;
  sqlite3_file_control(_connection, nullptr, SQLITE_FCNTL_PERSIST_WAL, &persist);
  sqlite3_db_config(_connection, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

namespace {

constexpr char kTables[] = R"sql(
CREATE TABLE _SqliteDatabaseProperties (
  key TEXT, value TEXT, UNIQUE(key)
);
CREATE TABLE handle (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, id TEXT NOT NULL, country TEXT, service TEXT NOT NULL,
  uncanonicalized_id TEXT, person_centric_id TEXT, UNIQUE (id, service)
);
CREATE TABLE chat (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, style INTEGER, state INTEGER, account_id TEXT,
  properties BLOB, chat_identifier TEXT, service_name TEXT, room_name TEXT, account_login TEXT,
  is_archived INTEGER DEFAULT 0, last_addressed_handle TEXT, display_name TEXT, group_id TEXT,
  is_filtered INTEGER DEFAULT 0, successful_query INTEGER, engram_id TEXT, server_change_token TEXT,
  ck_sync_state INTEGER DEFAULT 0, original_group_id TEXT, last_read_message_timestamp INTEGER DEFAULT 0,
  cloudkit_record_id TEXT, last_addressed_sim_id TEXT, is_blackholed INTEGER DEFAULT 0,
  syndication_date INTEGER DEFAULT 0, syndication_type INTEGER DEFAULT 0, is_recovered INTEGER DEFAULT 0,
  is_deleting_incoming_messages INTEGER DEFAULT 0, is_pending_review INTEGER DEFAULT 0
);
CREATE TABLE message (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, text TEXT, replace INTEGER DEFAULT 0,
  service_center TEXT, handle_id INTEGER DEFAULT 0, subject TEXT, country TEXT, attributedBody BLOB,
  version INTEGER DEFAULT 0, type INTEGER DEFAULT 0, service TEXT, account TEXT, account_guid TEXT,
  error INTEGER DEFAULT 0, date INTEGER, date_read INTEGER, date_delivered INTEGER, is_delivered INTEGER DEFAULT 0,
  is_finished INTEGER DEFAULT 0, is_emote INTEGER DEFAULT 0, is_from_me INTEGER DEFAULT 0, is_empty INTEGER DEFAULT 0,
  is_delayed INTEGER DEFAULT 0, is_auto_reply INTEGER DEFAULT 0, is_prepared INTEGER DEFAULT 0,
  is_read INTEGER DEFAULT 0, is_system_message INTEGER DEFAULT 0, is_sent INTEGER DEFAULT 0,
  has_dd_results INTEGER DEFAULT 0, is_service_message INTEGER DEFAULT 0, is_forward INTEGER DEFAULT 0,
  was_downgraded INTEGER DEFAULT 0, is_archive INTEGER DEFAULT 0, cache_has_attachments INTEGER DEFAULT 0,
  cache_roomnames TEXT, was_data_detected INTEGER DEFAULT 0, was_deduplicated INTEGER DEFAULT 0,
  is_audio_message INTEGER DEFAULT 0, is_played INTEGER DEFAULT 0, date_played INTEGER, item_type INTEGER DEFAULT 0,
  other_handle INTEGER DEFAULT 0, group_title TEXT, group_action_type INTEGER DEFAULT 0,
  share_status INTEGER DEFAULT 0, share_direction INTEGER DEFAULT 0, is_expirable INTEGER DEFAULT 0,
  expire_state INTEGER DEFAULT 0, message_action_type INTEGER DEFAULT 0, message_source INTEGER DEFAULT 0,
  associated_message_guid TEXT, associated_message_type INTEGER DEFAULT 0, balloon_bundle_id TEXT, payload_data BLOB,
  expressive_send_style_id TEXT, associated_message_range_location INTEGER DEFAULT 0,
  associated_message_range_length INTEGER DEFAULT 0, time_expressive_send_played INTEGER, message_summary_info BLOB,
  ck_sync_state INTEGER DEFAULT 0, ck_record_id TEXT, ck_record_change_tag TEXT, destination_caller_id TEXT,
  is_corrupt INTEGER DEFAULT 0, reply_to_guid TEXT, sort_id INTEGER, is_spam INTEGER DEFAULT 0,
  has_unseen_mention INTEGER DEFAULT 0, thread_originator_guid TEXT, thread_originator_part TEXT,
  syndication_ranges TEXT, synced_syndication_ranges TEXT, was_delivered_quietly INTEGER DEFAULT 0,
  did_notify_recipient INTEGER DEFAULT 0, date_retracted INTEGER, date_edited INTEGER, date_recovered INTEGER,
  was_detonated INTEGER DEFAULT 0, part_count INTEGER, is_stewie INTEGER DEFAULT 0, is_sos INTEGER DEFAULT 0,
  is_critical INTEGER DEFAULT 0, bia_reference_id TEXT, is_kt_verified INTEGER DEFAULT 0, fallback_hash TEXT,
  associated_message_emoji TEXT, is_pending_satellite_send INTEGER DEFAULT 0, needs_relay INTEGER DEFAULT 0,
  schedule_type INTEGER DEFAULT 0, schedule_state INTEGER DEFAULT 0, sent_or_received_off_grid INTEGER DEFAULT 0,
  is_time_sensitive INTEGER DEFAULT 0, ck_chat_id TEXT, index_state INTEGER DEFAULT 0
);
CREATE TABLE chat_message_join (
  chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
  message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, message_date INTEGER DEFAULT 0,
  index_state INTEGER NOT NULL DEFAULT 0, PRIMARY KEY (chat_id, message_id)
);
CREATE TABLE chat_handle_join (
  chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
  handle_id INTEGER REFERENCES handle (ROWID) ON DELETE CASCADE, UNIQUE(chat_id, handle_id)
);
CREATE TABLE attachment (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, created_date INTEGER DEFAULT 0,
  start_date INTEGER DEFAULT 0, filename TEXT, uti TEXT, mime_type TEXT, transfer_state INTEGER DEFAULT 0,
  is_outgoing INTEGER DEFAULT 0, user_info BLOB, transfer_name TEXT, total_bytes INTEGER DEFAULT 0,
  is_sticker INTEGER DEFAULT 0, sticker_user_info BLOB, attribution_info BLOB, hide_attachment INTEGER DEFAULT 0,
  ck_sync_state INTEGER DEFAULT 0, ck_server_change_token_blob BLOB, ck_record_id TEXT,
  original_guid TEXT UNIQUE NOT NULL, is_commsafety_sensitive INTEGER DEFAULT 0, emoji_image_content_identifier TEXT,
  emoji_image_short_description TEXT, preview_generation_state INTEGER DEFAULT 0
);
CREATE TABLE message_attachment_join (
  message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE,
  attachment_id INTEGER REFERENCES attachment (ROWID) ON DELETE CASCADE, UNIQUE(message_id, attachment_id)
);
CREATE TABLE chat_recoverable_message_join (
  chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
  message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, delete_date INTEGER,
  ck_sync_state INTEGER DEFAULT 0, PRIMARY KEY (chat_id, message_id), CHECK (delete_date != 0)
);
CREATE TABLE deleted_messages (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL
);
CREATE TABLE sync_deleted_messages (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL, recordID TEXT
);
CREATE TABLE kvtable (
  ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, key TEXT UNIQUE NOT NULL, value BLOB NOT NULL
);
)sql";

constexpr char kIndexes[] = R"sql(
CREATE INDEX message_idx_date ON message(date);
CREATE INDEX chat_message_join_idx_chat_id ON chat_message_join(chat_id);
CREATE INDEX chat_message_join_idx_message_id_only ON chat_message_join(message_id);
CREATE INDEX chat_message_join_idx_message_date_id_chat_id ON chat_message_join(chat_id, message_date, message_id);
CREATE INDEX chat_message_join_idx_message_date_and_id ON chat_message_join(message_date,message_id);
CREATE INDEX chat_message_join_idx_message_date_only ON chat_message_join(message_date);
CREATE INDEX chat_handle_join_idx_handle_id ON chat_handle_join(handle_id);
CREATE INDEX handle_idx_id ON handle(id, rowid);
CREATE INDEX handle_idx_person_centric_id ON handle(person_centric_id) WHERE person_centric_id IS NOT NULL;
CREATE INDEX message_idx_handle ON message(handle_id, date);
CREATE INDEX message_idx_handle_id ON message(handle_id);
CREATE INDEX message_idx_other_handle ON message(other_handle);
CREATE INDEX message_idx_thread_originator_guid ON message(thread_originator_guid);
CREATE INDEX message_idx_associated_message2
  ON message(associated_message_guid)
  WHERE associated_message_guid IS NOT NULL;
CREATE INDEX message_idx_is_sent_is_from_me_error ON message(is_sent, is_from_me, error);
CREATE INDEX message_idx_cache_has_attachments ON message(cache_has_attachments);
CREATE INDEX message_idx_was_downgraded ON message(was_downgraded);
CREATE INDEX message_idx_expire_state ON message(expire_state);
CREATE INDEX message_idx_is_read ON message(is_read, is_from_me, is_finished);
CREATE INDEX message_idx_failed ON message(is_finished, is_from_me, error);
CREATE INDEX message_idx_isRead_isFromMe_itemType ON message(is_read, is_from_me, item_type);
CREATE INDEX message_idx_undelivered_one_to_one_imessage
  ON message(cache_roomnames, service, is_sent, is_delivered, was_downgraded, item_type)
  WHERE cache_roomnames IS NULL AND service = 'iMessage' AND is_sent = 1 AND is_delivered = 0 AND was_downgraded = 0
    AND item_type == 0;
CREATE INDEX message_idx_schedule_state ON message(schedule_state);
CREATE INDEX message_idx_fallback_hash ON message(fallback_hash) WHERE fallback_hash IS NOT NULL;
CREATE INDEX message_idx_ck_sync_state_service ON message(ck_sync_state, service);
CREATE INDEX message_attachment_join_idx_message_id ON message_attachment_join(message_id);
CREATE INDEX message_attachment_join_idx_attachment_id ON message_attachment_join(attachment_id);
CREATE INDEX chat_idx_chat_identifier ON chat(chat_identifier);
CREATE INDEX chat_idx_chat_identifier_service_name ON chat(chat_identifier, service_name);
CREATE INDEX chat_idx_chat_room_name_service_name ON chat(room_name, service_name);
CREATE INDEX chat_idx_is_archived ON chat(is_archived);
CREATE INDEX chat_idx_group_id ON chat(group_id);
CREATE INDEX attachment_idx_purged_attachments_v2
  ON attachment(hide_attachment, ck_sync_state, transfer_state)
  WHERE hide_attachment=0 AND (ck_sync_state=1 OR ck_sync_state=4) AND transfer_state=0;
)sql";

constexpr char kTriggers[] = R"sql(
CREATE TRIGGER after_insert_on_chat_message_join AFTER INSERT ON chat_message_join BEGIN
  UPDATE message SET cache_roomnames = (
    SELECT group_concat(c.room_name) FROM chat c INNER JOIN chat_message_join j ON c.ROWID = j.chat_id
    WHERE j.message_id = NEW.message_id
  ) WHERE message.ROWID = NEW.message_id;
END;
CREATE TRIGGER update_message_date_after_update_on_message AFTER UPDATE OF date ON message BEGIN
  UPDATE chat_message_join SET message_date = NEW.date
  WHERE message_id = NEW.ROWID AND message_date != NEW.date;
END;
CREATE TRIGGER after_insert_on_message_attachment_join AFTER INSERT ON message_attachment_join BEGIN
  UPDATE message SET cache_has_attachments = 1 WHERE message.ROWID = NEW.message_id;
END;
)sql";

}  // namespace

const char* MessagesSchema::tables() {
  return kTables;
}

const char* MessagesSchema::indexes() {
  return kIndexes;
}

const char* MessagesSchema::triggers() {
  return kTriggers;
}

}  // namespace pellora
