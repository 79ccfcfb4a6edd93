#include "PelloraMessagesCore/ExchangeCoding.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Json/JsonReader.h"
#include "PelloraMessagesCore/Json/JsonWriter.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora::ExchangeCoding {

namespace {

// The names of HelperHeartbeat::Status in its order.
constexpr std::array<std::string_view, 4> kStatusNames = {"reading", "needsFullDiskAccess", "waitingForPellora",
                                                          "failed"};

// `Value` is const when the record is.
template <class Value>
struct Field {
  std::string_view key;
  Value& value;
};

template <class Value>
Field(std::string_view, Value&) -> Field<Value>;

// A record, const or not.
template <class Given, class Record>
concept Is = std::same_as<std::remove_const_t<Given>, Record>;

// The keys of every record, in one table per type that writing and reading share, in byte order. A field whose type
// is optional may be missing. Each function calls `use(Field...)` with all fields of the record.

template <Is<HelperPerson> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"emails", record.emails}, Field{"firstName", record.firstName}, Field{"id", record.id},
             Field{"phones", record.phones});
}

template <Is<HelperPeopleFile> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"people", record.people}, Field{"writtenAt", record.writtenAt});
}

template <Is<HelperHeartbeat> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"at", record.at}, Field{"helperVersion", record.helperVersion},
             Field{"lastReadAt", record.lastReadAt}, Field{"status", record.status});
}

template <Is<MessagesNews> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"kind", record.kind}, Field{"messageAt", record.messageAt}, Field{"sentence", record.sentence},
             Field{"when", record.when});
}

template <Is<MessagesMeetup> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"cue", record.cue}, Field{"day", record.day}, Field{"isDayFromWords", record.isDayFromWords},
             Field{"messageAt", record.messageAt}, Field{"what", record.what});
}

template <Is<MessagesBirthday> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"age", record.age}, Field{"day", record.day}, Field{"month", record.month},
             Field{"name", record.name}, Field{"wishedAt", record.wishedAt});
}

template <Is<MessagesDayRecord> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"birthday", record.birthday}, Field{"birthdayHint", record.birthdayHint}, Field{"day", record.day},
             Field{"firstMessageAt", record.firstMessageAt}, Field{"handle", record.handle},
             Field{"lastMessageAt", record.lastMessageAt}, Field{"meetups", record.meetups}, Field{"news", record.news},
             Field{"personID", record.personID}, Field{"receivedCount", record.receivedCount},
             Field{"sentCount", record.sentCount}, Field{"sentURLs", record.sentURLs},
             Field{"startedByMe", record.startedByMe}, Field{"summary", record.summary},
             Field{"waitingOnYou", record.waitingOnYou});
}

template <Is<HelperDayNotes> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"days", record.days});
}

template <Is<LastReadMark> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"at", record.at}, Field{"day", record.day}, Field{"lastRowID", record.lastRowID},
             Field{"names", record.names}, Field{"notesMark", record.notesMark}, Field{"rowMark", record.rowMark},
             Field{"zone", record.zone});
}

template <Is<WaitingDay> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"areMeetupsAnswered", record.areMeetupsAnswered}, Field{"isNewsAnswered", record.isNewsAnswered},
             Field{"isSentenceAnswered", record.isSentenceAnswered}, Field{"nextTryAt", record.nextTryAt},
             Field{"record", record.record}, Field{"triesUsed", record.triesUsed});
}

template <Is<LatelyAnswer> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"instructions", record.instructions}, Field{"isAnswered", record.isAnswered},
             Field{"nextTryAt", record.nextTryAt}, Field{"personID", record.personID}, Field{"prompt", record.prompt},
             Field{"summary", record.summary}, Field{"triesUsed", record.triesUsed});
}

template <Is<ModelUse> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"answerTokens", record.answerTokens}, Field{"days", record.days},
             Field{"milliseconds", record.milliseconds}, Field{"promptTokens", record.promptTokens},
             Field{"questions", record.questions});
}

template <Is<ModelAccount> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"lastFailure", record.lastFailure}, Field{"lastRead", record.lastRead},
             Field{"nextTryAt", record.nextTryAt}, Field{"pausedUntil", record.pausedUntil},
             Field{"total", record.total}, Field{"waitingDays", record.waitingDays});
}

template <Is<ReadProgress> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"daysDone", record.daysDone}, Field{"daysTotal", record.daysTotal},
             Field{"startedAt", record.startedAt});
}

template <Is<HelperState> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"analysed", record.analyzed}, Field{"askAgain", record.askAgain}, Field{"lastRead", record.lastRead},
             Field{"lately", record.lately}, Field{"model", record.model}, Field{"notesVersion", record.notesVersion},
             Field{"progress", record.progress}, Field{"waiting", record.waiting});
}

template <Is<MessagesLatelyRecord::SentLink> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"sentAt", record.sentAt}, Field{"url", record.url});
}

template <Is<MessagesLatelyRecord> Record, class Use>
auto withFields(Record& record, Use use) {
  return use(Field{"birthdayWishDays", record.birthdayWishDays}, Field{"birthdays", record.birthdays},
             Field{"dayCount", record.dayCount}, Field{"firstMessageAt", record.firstMessageAt},
             Field{"handle", record.handle}, Field{"lastMessageAt", record.lastMessageAt},
             Field{"lastTalkedAt", record.lastTalkedAt}, Field{"meetups", record.meetups}, Field{"news", record.news},
             Field{"personID", record.personID}, Field{"receivedCount", record.receivedCount},
             Field{"sentCount", record.sentCount}, Field{"sentLinks", record.sentLinks},
             Field{"summary", record.summary}, Field{"windowDays", record.windowDays},
             Field{"writtenAt", record.writtenAt});
}

template <class Given>
concept HasFields = requires(Given& record) { withFields(record, [](const auto&...) {}); };

// Writing, with a JsonWriter or a JsonTree.

constexpr std::size_t kUsualDaySize = 512;  // bytes of one day record's JSON

void put(auto& json, const std::string& value) {
  json.string(value);
}

void put(auto& json, std::int64_t value) {
  json.integer(value);
}

void put(auto& json, int value) {
  json.integer(value);
}

void put(auto& json, bool value) {
  json.boolean(value);
}

void put(auto& json, const Uuid& value) {
  json.plainString(value.toString());
}

void put(auto& json, Instant value) {
  const auto characters = IsoDate::characters(value);
  json.plainString({characters.data(), characters.size()});
}

void put(auto& json, MessagesNews::Kind value) {
  json.plainString(kNewsKindNames[static_cast<std::size_t>(value)]);
}

void put(auto& json, HelperHeartbeat::Status value) {
  json.plainString(kStatusNames[static_cast<std::size_t>(value)]);
}

template <class Element>
void put(auto& json, const std::vector<Element>& values);

template <HasFields Record>
void put(auto& json, const Record& record);

template <class Value>
void putField(auto& json, const Field<Value>& field) {
  json.key(field.key);
  put(json, field.value);
}

template <class Value>
void putField(auto& json, const Field<const std::optional<Value>>& field) {
  if (!field.value) return;
  json.key(field.key);
  put(json, *field.value);
}

template <HasFields Record>
void put(auto& json, const Record& record) {
  json.beginObject();
  withFields(record, [&](const auto&... field) { (putField(json, field), ...); });
  json.endObject();
}

template <class Element>
void put(auto& json, const std::vector<Element>& values) {
  json.beginArray();
  for (const Element& value : values) put(json, value);
  json.endArray();
}

template <class Record>
std::string encodeRecord(const Record& record, std::size_t usualSize) {
  JsonWriter json;
  json.reserve(usualSize);
  put(json, record);
  return std::move(json).take();
}

// Reading.

bool get(JsonReader& json, std::string& value) {
  return json.readString(value);
}

bool get(JsonReader& json, std::int64_t& value) {
  return json.readInteger(value);
}

bool get(JsonReader& json, int& value) {
  std::int64_t wide = 0;
  if (!json.readInteger(wide)) return false;
  value = static_cast<int>(wide);
  return value == wide;
}

bool get(JsonReader& json, bool& value) {
  return json.readBool(value);
}

bool get(JsonReader& json, Uuid& value) {
  std::string_view text;
  if (!json.readText(text)) return false;
  const std::optional<Uuid> parsed = Uuid::parse(text);
  if (parsed) value = *parsed;
  return parsed.has_value();
}

bool get(JsonReader& json, Instant& value) {
  std::string_view text;
  if (!json.readText(text)) return false;
  const std::optional<Instant> parsed = IsoDate::parseSeconds(text);
  if (parsed) value = *parsed;
  return parsed.has_value();
}

template <class Enum, std::size_t count>
bool getName(JsonReader& json, const std::array<std::string_view, count>& names, Enum& value) {
  std::string_view text;
  if (!json.readText(text)) return false;
  const auto found = std::find(names.begin(), names.end(), text);
  if (found == names.end()) return false;
  value = static_cast<Enum>(found - names.begin());
  return true;
}

bool get(JsonReader& json, MessagesNews::Kind& value) {
  return getName(json, kNewsKindNames, value);
}

bool get(JsonReader& json, HelperHeartbeat::Status& value) {
  return getName(json, kStatusNames, value);
}

template <class Value>
bool get(JsonReader& json, std::optional<Value>& value);

template <class Element>
bool get(JsonReader& json, std::vector<Element>& values);

template <class Value>
constexpr bool kIsRequired = true;
template <class Value>
constexpr bool kIsRequired<std::optional<Value>> = false;

template <HasFields Record>
bool get(JsonReader& json, Record& record) {
  return withFields(record, [&]<class... Values>(const Field<Values>&... fields) {
    // One bit per field, in the table's order.
    constexpr std::uint32_t kAll = (std::uint32_t{1} << sizeof...(Values)) - 1;
    std::uint32_t missing = kAll;
    const bool isWellFormed = json.readObject([&](std::string_view key) {
      bool isRead = false;
      std::uint32_t bit = 1;
      const auto tryField = [&](const auto& field) {
        if (field.key == key) {
          missing &= ~bit;
          isRead = get(json, field.value);
          return true;
        }
        bit <<= 1;
        return false;
      };
      return (tryField(fields) || ...) ? isRead : json.skipValue();
    });
    std::uint32_t required = 0;
    std::uint32_t bit = 1;
    ((required |= kIsRequired<Values> ? bit : 0, bit <<= 1), ...);
    return isWellFormed && (missing & required) == 0;
  });
}

template <class Value>
bool get(JsonReader& json, std::optional<Value>& value) {
  value.reset();
  return json.readNull() || get(json, value.emplace());
}

template <class Element>
bool get(JsonReader& json, std::vector<Element>& values) {
  values.clear();
  return json.readArray([&] { return get(json, values.emplace_back()); });
}

}  // namespace

std::string encode(const HelperPeopleFile& value) {
  return encodeRecord(value, value.people.size() * kUsualDaySize);
}

std::string encode(const HelperHeartbeat& value) {
  return encodeRecord(value, kUsualDaySize);
}

std::string encode(const HelperDayNotes& value) {
  return encodeRecord(value, value.days.size() * kUsualDaySize);
}

std::string encode(const HelperState& value) {
  return encodeRecord(value,
                      (1 + value.analyzed.size() + value.waiting.size() + 4 * value.lately.size()) * kUsualDaySize);
}

std::string encode(const MessagesLatelyRecord& value) {
  return encodeRecord(value, 4 * kUsualDaySize);
}

JsonValue value(const MessagesLatelyRecord& record) {
  JsonTree tree;
  put(tree, record);
  return std::move(tree).take();
}

template <class Value>
std::optional<Value> decode(std::string_view json) {
  JsonReader reader(json);
  std::optional<Value> value(std::in_place);
  if (!get(reader, *value) || !reader.isAtEnd()) value.reset();
  return value;
}

template std::optional<HelperPeopleFile> decode(std::string_view json);
template std::optional<HelperHeartbeat> decode(std::string_view json);
template std::optional<HelperDayNotes> decode(std::string_view json);
template std::optional<HelperState> decode(std::string_view json);
template std::optional<MessagesLatelyRecord> decode(std::string_view json);

}  // namespace pellora::ExchangeCoding
