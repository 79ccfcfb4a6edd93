#include "Companion/Commands/CompanionJson.h"

#include <nlohmann/json.hpp>

#include "Companion/Commands/HeartbeatText.h"
#include "PelloraMessagesCore/ExchangeCoding.h"

namespace pellora::companion_json {

namespace {

using Json = nlohmann::json;

// Control characters stand inside strings only, where their escapes mean the same.
std::string line(const Json& value) {
  const std::string raw = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string text;
  text.reserve(raw.size() + 1);
  constexpr char kHex[] = "0123456789abcdef";
  for (std::size_t position = 0; position < raw.size(); ++position) {
    const auto byte = static_cast<unsigned char>(raw[position]);
    const bool hasNext = position + 1 < raw.size();
    const auto next = hasNext ? static_cast<unsigned char>(raw[position + 1]) : 0U;
    if (byte == 0x7F) {
      text += "\\u007f";
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      text += {'\\', 'u', '0', '0', kHex[next >> 4], kHex[next & 0x0F]};
      ++position;
    } else {
      text += raw[position];
    }
  }
  return text + "\n";
}

Json json(const HelperPerson& person) {
  return {{"id", person.id.toString()},
          {"firstName", person.firstName},
          {"phones", person.phones},
          {"emails", person.emails}};
}

Json json(const std::vector<HelperPerson>& people) {
  Json list = Json::array();
  for (const HelperPerson& person : people) list.push_back(json(person));
  return list;
}

Json json(const NamedLately& lately) {
  Json object = Json::parse(ExchangeCoding::encode(lately.record), nullptr, false);
  object["name"] = lately.name ? Json(*lately.name) : Json(nullptr);
  return object;
}

Json date(const std::optional<Instant>& instant) {
  return instant ? Json(ExchangeCoding::dateText(*instant)) : Json(nullptr);
}

Json json(const ModelReport& model) {
  Json object{{"available", model.isAvailable},
              {"model", model.model},
              {"where", model.where},
              {"server", model.server},
              {"reason", model.reason}};
  object["contextTokens"] = model.contextTokens ? Json(*model.contextTokens) : Json(nullptr);
  return object;
}

Json json(const HelperHeartbeat& heartbeat, Instant now) {
  return {{"at", ExchangeCoding::dateText(heartbeat.at)},
          {"status", statusWord(heartbeat.status)},
          {"helperVersion", heartbeat.helperVersion},
          {"lastReadAt", date(heartbeat.lastReadAt)},
          {"fresh", heartbeat.isFresh(now)}};
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

std::string text(const std::vector<HelperPerson>& people) {
  return line(json(people));
}

std::string text(const ImportOutcome& outcome) {
  using Kind = PersonChange::Kind;
  Json object{{"format", formatName(outcome.format)}, {"total", outcome.total}, {"written", !outcome.isTrial}};
  for (const Kind kind : {Kind::added, Kind::updated, Kind::unchanged, Kind::removed})
    object[std::string(changeName(kind))] = Json::array();
  for (const PersonChange& change : outcome.changes)
    object[std::string(changeName(change.kind))].push_back(json(change.person()));
  object["skipped"] = Json::array();
  for (const SkippedEntry& entry : outcome.skipped)
    object["skipped"].push_back({{"entry", entry.entry}, {"reason", entry.reason}});
  object["shared"] = Json::array();
  for (const SharedHandle& shared : outcome.shared)
    object["shared"].push_back({{"handle", shared.handle}, {"people", json(shared.people)}});
  return line(object);
}

std::string text(const KeyState& key) {
  return line({{"key", key.word()}, {"reason", key.reason}});
}

std::string text(const StatusReport& report) {
  Json object;
  object["store"] = {{"file", report.store.file.string()},
                     {"readable", report.store.messages.has_value()},
                     {"messages", report.store.messages ? Json(*report.store.messages) : Json(nullptr)},
                     {"reason", report.store.reason}};
  object["key"] = {{"state", report.key.word()}, {"reason", report.key.reason}};
  object["people"] = {{"state", word(report.peopleKind)},
                      {"reason", report.peopleReason},
                      {"count", report.people},
                      {"sharedHandles", report.sharedHandles}};
  object["latelyRecords"] = report.latelyReason.empty() ? Json(report.latelyRecords) : Json(nullptr);
  object["lastReadAt"] = date(report.lastReadAt);
  object["heartbeat"] = report.heartbeat ? json(*report.heartbeat, report.now) : Json(nullptr);
  object["model"] = report.model ? json(*report.model) : Json(nullptr);
  if (report.protections) {
    Json& protections = object["protections"] = Json::array();
    for (const auto& protection : report.protections->protections)
      protections.push_back({{"name", protection.name}, {"on", protection.isOn}, {"detail", protection.detail}});
  }
  object["nextStep"] = report.nextStep();
  return line(object);
}

std::string text(const NamedLately& lately) {
  return line(json(lately));
}

std::string text(const std::vector<NamedLately>& records) {
  Json list = Json::array();
  for (const NamedLately& lately : records) list.push_back(json(lately));
  return line(list);
}

std::string sweepText(std::size_t removed, std::size_t kept) {
  return line({{"removed", removed}, {"kept", kept}});
}

std::string deletedText(const Uuid& person) {
  return line({{"deleted", person.toString()}});
}

}  // namespace pellora::companion_json
