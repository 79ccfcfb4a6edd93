#include "Companion/Lately/ShownRecords.h"

#include <algorithm>
#include <exception>
#include <map>

#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Time/IsoDate.h"

namespace pellora::shown_records {

namespace {

constexpr char kFile[] = "shown.json";
constexpr char kContext[] = "companion-shown";

using Shown = std::map<std::string, Instant>;  // by the person's identifier

Shown load(const CompanionContext& context, const ExchangeKey& key) {
  Shown shown;
  const auto payload = SealedFile::read(key, context.settings, kFile, kContext);
  const auto json = payload ? JsonValue::parse(*payload) : std::nullopt;
  if (!json) return shown;
  for (const JsonValue::Member& member : json->members())
    if (const auto date = IsoDate::parse(member.value.text())) shown.emplace(member.key, *date);
  return shown;
}

void save(const Shown& shown, const CompanionContext& context, const ExchangeKey& key) {
  JsonValue json = JsonValue::object();
  for (const auto& [person, date] : shown) json.set(person, IsoDate::text(date));
  try {
    SealedFile::write(key, context.settings, kFile, kContext, json.dump());
  } catch (const std::exception&) {
    // A folder that cannot be written must not keep anybody from seeing the records.
  }
}

}  // namespace

void compare(std::vector<NamedLately>& records, const CompanionContext& context, const ExchangeKey& key) {
  if (!context.settings || records.empty()) return;
  const Shown before = load(context, key);
  Shown after = before;
  for (NamedLately& lately : records) {
    const std::string person = lately.record.personID.toString();
    // Whole seconds, as the file keeps them.
    const Instant written = instantAtSeconds(wholeSeconds(std::min(lately.record.writtenAt, context.now)));
    const auto seen = before.find(person);
    if (seen != before.end() && written < seen->second)
      lately.isOlderThan = seen->second;
    else
      after[person] = written;
  }
  if (after != before) save(after, context, key);
}

}  // namespace pellora::shown_records
