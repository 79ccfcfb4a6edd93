#include "Companion/Commands/CompanionJson.h"

#include "Companion/Commands/StatusReport.h"
#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Text/Bytes.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora::companion_json {

namespace {

using Json = JsonValue;

Json json(const HelperPerson& person) {
  return Json::object({{"id", person.id.toString()},
                       {"firstName", person.firstName},
                       {"phones", Json::array(person.phones)},
                       {"emails", Json::array(person.emails)}});
}

Json json(const std::vector<HelperPerson>& people) {
  return Json::array(people, [](const HelperPerson& person) { return json(person); });
}

Json json(const NamedLately& lately) {
  Json object = ExchangeCoding::value(lately.record).set("name", lately.name);
  if (lately.isOlderThan) object.set("olderThanShown", IsoDate::text(*lately.isOlderThan));
  return object;
}

Json date(const std::optional<Instant>& instant) {
  return instant ? Json(IsoDate::text(*instant)) : Json();
}

Json json(const ModelReport& model) {
  return Json::object({{"available", model.isAvailable},
                       {"model", model.model},
                       {"where", model.where},
                       {"server", model.server},
                       {"reason", model.reason},
                       {"contextTokens", model.contextTokens}});
}

Json json(const HelperHeartbeat& heartbeat, Instant now) {
  return Json::object({{"at", IsoDate::text(heartbeat.at)},
                       {"status", statusWord(heartbeat.status)},
                       {"helperVersion", heartbeat.helperVersion},
                       {"lastReadAt", date(heartbeat.lastReadAt)},
                       {"fresh", heartbeat.isFresh(now)}});
}

Json helperJson(const StatusReport& report) {
  using platform_adapters::HelperPresence;
  Json object = Json::object({{"running", report.presence == HelperPresence::running},
                              {"otherRead", report.presence == HelperPresence::onlyReads}});
  if (const auto progress = report.progress())
    object.set("progress", Json::object({{"startedAt", IsoDate::text(progress->startedAt)},
                                         {"daysDone", progress->daysDone},
                                         {"daysTotal", progress->daysTotal}}));
  if (!report.state) return object;
  object.set("waitingDays", report.state->model.waitingDays);
  object.set("lastModelFailure", report.state->model.lastFailure);
  return object.set("nextTryAt", date(report.state->model.nextTryAt));
}

std::string_view word(PeopleStore::Kind kind) {
  switch (kind) {
    case PeopleStore::Kind::missing:
      return "missing";
    case PeopleStore::Kind::inaccessible:
    case PeopleStore::Kind::sealed:
      return "unreadable";
    case PeopleStore::Kind::read:
      return "read";
  }
  return {};
}

}  // namespace

// Control characters are inside strings only, where their escapes mean the same.
std::string line(const JsonValue& value) {
  const std::string raw = value.dump(Json::Order::sorted);
  std::string text;
  text.reserve(raw.size() + 1);
  for (std::size_t position = 0; position < raw.size(); ++position) {
    const auto byte = static_cast<unsigned char>(raw[position]);
    const bool hasNext = position + 1 < raw.size();
    const auto next = hasNext ? static_cast<unsigned char>(raw[position + 1]) : 0U;
    if (byte == 0x7F) {
      text += "\\u007f";
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      text += "\\u00";
      appendHex(text, static_cast<unsigned char>(next), kLowerHexDigits);
      ++position;
    } else {
      text += raw[position];
    }
  }
  return text + "\n";
}

std::string text(const std::vector<HelperPerson>& people, const std::optional<StoreHandles>& handles) {
  return line(Json::array(people, [&handles](const HelperPerson& person) {
    Json object = json(person);
    if (handles) object.set("appears", handles->has(person));
    return object;
  }));
}

std::string text(const ImportOutcome& outcome) {
  using Kind = PersonChange::Kind;
  Json object =
      Json::object({{"format", formatName(outcome.format)}, {"total", outcome.total}, {"written", !outcome.isTrial}});
  for (const Kind kind : {Kind::added, Kind::updated, Kind::unchanged, Kind::removed}) {
    Json people = Json::array();
    for (const PersonChange& change : outcome.changes)
      if (change.kind == kind) people.append(json(change.person()));
    object.set(std::string(changeName(kind)), std::move(people));
  }
  object.set("skipped", Json::array(outcome.skipped, [](const SkippedEntry& each) {
               return Json::object({{"entry", each.entry}, {"reason", each.reason}});
             }));
  object.set("shared", Json::array(outcome.shared, [](const SharedHandle& each) {
               return Json::object({{"handle", each.handle}, {"people", json(each.people)}});
             }));
  object.set("remarks", Json::array(outcome.remarks));
  object.set("countries", Json::array(outcome.countries));
  object.set("usedColumns", Json::array(outcome.usedColumns));
  object.set("unusedColumns", Json::array(outcome.unusedColumns));
  object.set("appearing", outcome.appearing ? Json(*outcome.appearing) : Json());
  object.set("notFound", Json::array(outcome.notFound));
  return line(object);
}

std::string text(const KeyState& key) {
  return line(Json::object({{"key", key.word()}, {"reason", key.reason}}));
}

std::string text(const StatusReport& report) {
  Json object = Json::object({{"store", Json::object({{"file", report.store.file.string()},
                                                      {"readable", report.store.messages.has_value()},
                                                      {"messages", report.store.messages},
                                                      {"reason", report.store.reason}})},
                              {"key", Json::object({{"state", report.key.word()}, {"reason", report.key.reason}})},
                              {"people", Json::object({{"state", word(report.peopleKind)},
                                                       {"reason", report.peopleReason},
                                                       {"count", report.people},
                                                       {"sharedHandles", report.sharedHandles}})},
                              {"latelyRecords", report.latelyReason.empty() ? Json(report.latelyRecords) : Json()},
                              {"lastReadAt", date(report.lastReadAt)},
                              {"heartbeat", report.heartbeat ? json(*report.heartbeat, report.now) : Json()},
                              {"model", report.model ? json(*report.model) : Json()},
                              {"helper", helperJson(report)},
                              {"nextStep", report.nextStep()}});
  if (report.protections)
    object.set("protections", Json::array(report.protections->protections, [](const auto& each) {
                 return Json::object({{"name", each.name}, {"on", each.isOn()}, {"detail", each.detail}});
               }));
  return line(object);
}

std::string text(const NamedLately& lately) {
  return line(json(lately));
}

std::string text(const std::vector<NamedLately>& records) {
  return line(Json::array(records, [](const NamedLately& lately) { return json(lately); }));
}

std::string sweepText(std::size_t removed, std::size_t kept) {
  return line(Json::object({{"removed", removed}, {"kept", kept}}));
}

std::string deletedText(const Uuid& person) {
  return line(Json::object({{"deleted", person.toString()}}));
}

}  // namespace pellora::companion_json
