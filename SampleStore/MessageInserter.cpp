#include "SampleStore/MessageInserter.h"

#include <cstdint>
#include <cstdio>

#include "PelloraMessagesCore/ChatDatabase.h"

namespace pellora {

namespace {

using std::literals::string_view_literals::operator""sv;

constexpr std::string_view kHeader = "\x04\x0Bstreamtyped\x81\xE8\x03"sv;
constexpr std::string_view kOneObject = "\x84\x01\x40"sv;
constexpr std::string_view kAttributedString = "\x84\x84\x84\x12NSAttributedString\x00"sv;
constexpr std::string_view kMutableAttributedString =
    "\x84\x84\x84\x19NSMutableAttributedString\x00\x84\x84\x12NSAttributedString\x00"sv;
constexpr std::string_view kObject = "\x84\x84\x08NSObject\x00\x85\x92"sv;
constexpr std::string_view kString = "\x84\x84\x84\x08NSString\x01\x94\x84\x01\x2B"sv;
constexpr std::string_view kMutableString =
    "\x84\x84\x84\x0FNSMutableString\x01\x84\x84\x08NSString\x01\x95\x84\x01\x2B"sv;
constexpr std::string_view kRun = "\x86\x84\x02\x69\x49\x01"sv;
constexpr std::string_view kDictionary =
    "\x92\x84\x84\x84\x0CNSDictionary\x00\x94\x84\x01\x69\x01\x92\x84\x96\x96\x1A"
    "__MessagePartAttributeName\x86\x92\x84\x84\x84\x08NSNumber\x00\x84\x84\x07"
    "NSValue\x00\x94\x84\x01\x2A\x84\x99\x99\x00\x86\x86\x86"sv;

void appendLittleEndian(std::string& bytes, std::uint64_t value, int byteCount) {
  for (int index = 0; index < byteCount; ++index) bytes += static_cast<char>(value >> (8 * index) & 0xFF);
}

void appendLength(std::string& bytes, std::size_t length) {
  if (length < 0x80) {
    appendLittleEndian(bytes, length, 1);
  } else if (length <= 0xFFFF) {
    bytes += '\x81';
    appendLittleEndian(bytes, length, 2);
  } else {
    bytes += '\x82';
    appendLittleEndian(bytes, length, 4);
  }
}

// A scalar takes two UTF-16 units when its UTF-8 form takes four bytes.
std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if ((value & 0xC0) != 0x80) ++units;
    if (value >= 0xF0) ++units;
  }
  return units;
}

}  // namespace

std::string AttributedBodyEncoder::encode(std::string_view text, StringClass stringClass) {
  const bool isMutable = stringClass == StringClass::mutableString;
  std::string bytes;
  bytes.reserve(256 + text.size());
  bytes += kHeader;
  bytes += kOneObject;
  bytes += isMutable ? kMutableAttributedString : kAttributedString;
  bytes += kObject;
  bytes += isMutable ? kMutableString : kString;
  appendLength(bytes, text.size());
  bytes += text;
  bytes += kRun;
  appendLength(bytes, utf16Length(text));
  bytes += kDictionary;
  return bytes;
}

namespace {

constexpr char kInsertMessage[] =
    "INSERT INTO message (guid, text, attributedBody, handle_id, service, date, is_from_me, is_sent, is_delivered,"
    " is_finished, is_read, associated_message_type, associated_message_guid, item_type, group_title,"
    " cache_has_attachments, version, part_count) VALUES (?,?,?,?,'iMessage',?,?,?,1,1,1,?,?,?,?,?,10,1)";
constexpr char kAttachmentOnly[] = "\uFFFC";
constexpr int kFirstTapback = 2000;
constexpr int kRenameItem = 2;

std::int64_t storedDate(Instant date, MessageInserter::DateUnit unit) {
  const std::int64_t nanoseconds = ChatDatabase::appleTime(date);
  return unit == MessageInserter::DateUnit::seconds ? nanoseconds / 1'000'000'000 : nanoseconds;
}

}  // namespace

MessageInserter::MessageInserter(StoreConnection& connection, std::uint64_t seed)
    : _connection(connection),
      _random(seed),
      _message(connection.handle(), kInsertMessage),
      _join(connection.handle(),
            "INSERT INTO chat_message_join (chat_id, message_id, message_date) VALUES (?1, ?2, ?3)"),
      _attachment(
          connection.handle(),
          "INSERT INTO attachment (guid, original_guid, filename, uti, mime_type, transfer_state, total_bytes)"
          " VALUES (?1, ?1, '~/Library/Messages/Attachments/IMG.HEIC', 'public.heic', 'image/heic', 5, 180000)"),
      _attachmentJoin(connection.handle(),
                      "INSERT INTO message_attachment_join (message_id, attachment_id) VALUES (?1, ?2)") {}

std::string MessageInserter::newGuid() {
  char text[40];
  const std::uint64_t high = _random.next();
  const std::uint64_t low = _random.next();
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned>(high >> 32),
                static_cast<unsigned>(high >> 16 & 0xFFFF), static_cast<unsigned>((high & 0x0FFF) | 0x4000),
                static_cast<unsigned>((low >> 48 & 0x3FFF) | 0x8000),
                static_cast<unsigned long long>(low & 0xFFFFFFFFFFFF));
  return text;
}

MessageInserter::Chat MessageInserter::addChat(const std::vector<std::string>& handles, const std::string& service) {
  const bool isGroup = handles.size() > 1;
  const std::string identifier = isGroup ? "chat" + std::to_string(_random.below(1'000'000'000'000)) : handles.front();
  StoreStatement(_connection.handle(),
                 "INSERT INTO chat (guid, style, chat_identifier, service_name, room_name, state)"
                 " VALUES (?1 || ';' || ?2 || ';' || ?3, ?4, ?3, ?1, NULLIF(?5, ''), 3)")
      .bindText(1, service)
      .bindText(2, isGroup ? "+" : "-")
      .bindText(3, identifier)
      .bindInteger(4, isGroup ? 43 : 45)
      .bindText(5, isGroup ? identifier : std::string())
      .run();
  Chat chat{_connection.queryInteger("SELECT last_insert_rowid()"), 0};
  for (const std::string& handle : handles) {
    StoreStatement(_connection.handle(), "INSERT OR IGNORE INTO handle (id, country, service) VALUES (?, 'us', ?)")
        .bindText(1, handle)
        .bindText(2, service)
        .run();
    StoreStatement find(_connection.handle(), "SELECT ROWID FROM handle WHERE id = ? AND service = ?");
    find.bindText(1, handle).bindText(2, service).nextRow();
    const std::int64_t row = find.integer(0);
    if (chat.handle == 0) chat.handle = row;
    StoreStatement(_connection.handle(), "INSERT INTO chat_handle_join (chat_id, handle_id) VALUES (?, ?)")
        .bindInteger(1, chat.rowID)
        .bindInteger(2, row)
        .run();
  }
  return chat;
}

std::int64_t MessageInserter::insert(const Row& row) {
  const bool isAttachment = row.text == kAttachmentOnly;
  const std::int64_t date = storedDate(row.date, row.unit);
  _lastGuid = row.associatedType == 0 ? newGuid() : _lastGuid;
  const std::string guid = row.associatedType == 0 ? _lastGuid : newGuid();
  const std::uint64_t kind = _random.below(20);
  using StringClass = AttributedBodyEncoder::StringClass;
  const std::string archive =
      AttributedBodyEncoder::encode(row.text, kind == 4 ? StringClass::mutableString : StringClass::plain);
  const std::string title = row.itemType == kRenameItem ? row.text : std::string();
  _message.bindText(1, guid).bindInteger(4, row.fromMe ? 0 : row.chat.handle).bindInteger(5, date);
  if (row.itemType == 0 && kind < 3) _message.bindText(2, row.text);
  if (row.itemType == 0 && kind != 0) _message.bindBlob(3, archive);
  _message.bindInteger(6, row.fromMe).bindInteger(7, row.fromMe).bindInteger(8, row.associatedType);
  if (!row.associatedGuid.empty()) _message.bindText(9, row.associatedGuid);
  _message.bindInteger(10, row.itemType).bindInteger(12, isAttachment);
  if (row.itemType != 0) _message.bindText(11, title);
  _message.run();
  const std::int64_t message = _connection.lastRowID();
  _join.bindInteger(1, row.chat.rowID).bindInteger(2, message).bindInteger(3, date).run();
  if (isAttachment) {
    _attachment.bindText(1, guid).run();
    _attachmentJoin.bindInteger(1, message).bindInteger(2, _connection.lastRowID()).run();
  }
  return message;
}

void MessageInserter::addMessage(const Chat& chat, const SampleLine& line, Instant date, DateUnit unit) {
  insert({chat, line.fromMe, line.text, date, unit, 0, 0, {}});
}

void MessageInserter::addTapback(const Chat& chat, bool fromMe, Instant date) {
  const int type = kFirstTapback + static_cast<int>(_random.below(6)) + (_random.chance(10) ? 1000 : 0);
  insert({chat, fromMe, "Loved \u201Cthat\u201D", date, DateUnit::nanoseconds, type, 0, "p:0/" + _lastGuid});
}

void MessageInserter::addRename(const Chat& chat, const std::string& title, Instant date) {
  insert({chat, false, title, date, DateUnit::nanoseconds, 0, kRenameItem, {}});
}

}  // namespace pellora
