#include "Companion/Commands/StatusReport.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "Companion/Commands/ModelWork.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/People/StoreHandles.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora {

namespace {

using Ink = OutputStyle::Ink;

constexpr std::size_t kLabelWidth = 17;

// The later one: either file may have been put back from a backup.
std::optional<Instant> lastReadOf(const std::optional<HelperHeartbeat>& heartbeat) {
  const std::optional<Instant> kept = platform_adapters::lastReadAt();
  return heartbeat ? std::max(heartbeat->lastReadAt, kept) : kept;
}

std::string row(const CompanionContext& context, const std::string& label, const std::string& value, Ink ink) {
  const std::size_t available = context.style.textWidth() - std::min(kLabelWidth, context.style.textWidth() / 2);
  std::string text;
  for (const std::string& line : display::wrapped(display::printable(value), available)) {
    const std::string head = display::padded(text.empty() ? label : "", kLabelWidth);
    text += (text.empty() ? context.style.paint(Ink::dim, head) : head) + context.style.paint(ink, line) + "\n";
  }
  return text;
}

std::string storeText(const StatusReport& report, const CompanionContext& context) {
  const StoreProbe& store = report.store;
  if (!store.messages) return "not readable: " + store.reason + " (" + store.file.string() + ")";
  std::string text = "readable, " + display::counted(static_cast<std::size_t>(*store.messages), "message", "messages");
  if (report.isStoreOld())
    text += ", the newest from " + RelativeDate::text(*store.summary.newestMessageAt, report.now, context.calendar);
  return text + " (" + store.file.string() + ")";
}

std::string latelyText(const StatusReport& report, const CompanionContext& context) {
  if (!report.latelyReason.empty()) return "cannot be listed: " + report.latelyReason;
  std::string text = std::to_string(report.latelyRecords);
  if (report.latelyWrittenAt && report.isOldRead(report.latelyWrittenAt))
    text += ", the newest written " + RelativeDate::text(*report.latelyWrittenAt, report.now, context.calendar);
  return text;
}

std::string keyText(const KeyState& key) {
  if (key.key) return "there";
  return key.kind == KeyState::Kind::none ? "none yet, the first import creates it" : key.sentence();
}

std::string modelText(const ModelReport& model) {
  if (!model.isAvailable) return "not available: " + model.reason;
  return model.model + " (" + model.server + ", " + model.where + ")";
}

std::string protectionsText(const ConfinementReport& report) {
  std::vector<std::string> on;
  std::vector<std::string> off;
  if (const std::string refusal = report.refusal(); !refusal.empty()) return refusal;
  for (const auto& protection : report.protections)
    if (protection.isOn())
      on.push_back(protection.name);
    else
      off.push_back(protection.name + " (" + protection.detail + ")");
  std::string text = on.empty() ? "none in force" : display::listed(on);
  if (!off.empty()) text += "; not in force: " + display::listed(off);
  return text;
}

}  // namespace

StatusReport StatusReport::gather(const CompanionContext& context) {
  StatusReport report;
  report.now = context.now;
  report.store = StoreProbe::of(context.store);
  report.key = KeyState::find(context.secrets);
  const PeopleStore people = PeopleStore::find(context, report.key.key);
  report.peopleKind = people.kind;
  report.peopleReason = people.reason;
  report.people = people.people().size();
  report.sharedHandles = SharedHandle::find(people.people()).size();
  const std::error_code error = MessagesLatelyInbox::list(context.folder).error;
  if (error) report.latelyReason = error.message();
  if (report.key.key) {
    const auto records = MessagesLatelyInbox::readAll(*report.key.key, context.folder);
    report.latelyRecords = records.size();
    for (const MessagesLatelyRecord& record : records)
      report.latelyWrittenAt = std::max(report.latelyWrittenAt, std::optional(record.writtenAt));
  }
  if (report.key.key) report.state = HelperState::load(*report.key.key, context.folder);
  report.heartbeat = HelperHeartbeat::read(context.folder);
  report.lastReadAt = lastReadOf(report.heartbeat);
  report.protections = ConfinementReport::read(context.runtime);
  return report;
}

std::string StatusReport::nextStep() const {
  using Kind = KeyState::Kind;
  if (store.isLocked)
    return "Close the program that has the Messages database locked, or wait until it is done, then ask again.";
  if (!store.isReadable()) return store.nextStep();
  if (key.kind == Kind::locked) return "Unlock the keyring, then ask again.";
  if (key.kind == Kind::unavailable || key.kind == Kind::damaged) return key.sentence();
  if (peopleKind == PeopleStore::Kind::inaccessible)
    return "Give yourself access to the people file, people.json in the shared folder (" + peopleReason + ").";
  if (peopleKind == PeopleStore::Kind::sealed && !key.key)
    return "Bring back the exchange key of the people file: is PELLORA_SECRET_STORE set as when it was written?";
  if (peopleKind == PeopleStore::Kind::sealed)
    return "Import the people again: pellora-companion people import --replace FILE";
  if (!key.key || people == 0) return "Choose the people: pellora-companion people import FILE";
  if (!latelyReason.empty())
    return "Give yourself access to the lately records, the folder Lately in the shared folder (" + latelyReason + ").";
  return nextStepWithHelper();
}

std::string StatusReport::nextStepWithHelper() const {
  using Status = HelperHeartbeat::Status;
  const std::string look = "Look at the result: pellora-companion lately (or view, in the browser)";
  if (protections && !protections->refusal().empty())
    return "Let the system's administrator allow the helper its protections, then start it again.";
  if (progress()) return "Wait for the read that is running; what is done shows already: pellora-companion lately";
  if (presence == platform_adapters::HelperPresence::onlyReads) return "Wait for the read that is running.";
  if (!isHelperRunning()) return "Start the helper: pellora-for-messages";
  if (isHelperSilent())
    return "Ask for a read: pellora-companion read-now. If the helper stays silent, start it again.";
  if (heartbeat && heartbeat->status == Status::failed)
    return "Open the helper's window to see why the last read failed.";
  // The kernel lets the helper read the folders that were there when it started.
  if (heartbeat && heartbeat->status == Status::needsFullDiskAccess)
    return "Start the helper again, so that it may read the Messages folder that is there now.";
  if (heartbeat && heartbeat->status == Status::waitingForPellora)
    return "The helper does not find the key and the people that are here: was PELLORA_SECRET_STORE set for only one "
           "of the two? \"pellora-companion key use-file\" keeps the choice for both; then start the helper again.";
  if (isStoreOld()) return "Bring newer messages: pellora-companion history refresh";
  if (latelyRecords == 0) return "Ask for a read: pellora-companion read-now";
  if (model && !model->isAvailable)
    return look + ". Sentences and news need a language model on this device: Documentation/LanguageModel.md";
  return look;
}

std::string StatusReport::peopleText() const {
  switch (peopleKind) {
    case PeopleStore::Kind::missing:
      return "none yet";
    case PeopleStore::Kind::inaccessible:
      return "the people file cannot be read: " + peopleReason;
    case PeopleStore::Kind::sealed:
      return key.key ? "the people file does not open with the key"
                     : "the people file cannot be opened without the key";
    case PeopleStore::Kind::read:
      break;
  }
  std::string text = display::counted(people, "person", "people");
  if (sharedHandles > 0)
    text +=
        "; " + display::counted(sharedHandles, "number or address", "numbers or addresses") + " claimed more than once";
  return text;
}

bool StatusReport::isStoreOld() const {
  const std::optional<Instant>& newest = store.summary.newestMessageAt;
  return newest && now - *newest > kStoreIsOldAfter;
}

bool StatusReport::isOldRead(const std::optional<Instant>& instant) const {
  return !instant || *instant > now || now - *instant > kReadIsOldAfter;
}

std::optional<ReadProgress> StatusReport::progress() const {
  const bool isReading = presence != platform_adapters::HelperPresence::notRunning;
  return isReading && state ? state->progress : std::nullopt;
}

std::string StatusReport::text(const CompanionContext& context) const {
  const auto good = [](bool isGood) { return isGood ? Ink::green : Ink::yellow; };
  std::string text =
      row(context, "Messages store", storeText(*this, context), good(store.messages.has_value() && !isStoreOld()));
  text += row(context, "Exchange key", keyText(key), good(key.key.has_value()));
  text += row(context, "People", peopleText(), good(people > 0));
  text += row(context, "Last read", lastReadAt ? RelativeDate::text(*lastReadAt, now, context.calendar) : "never",
              good(!isOldRead(lastReadAt)));
  text += row(context, "Helper", helperText(presence, heartbeat, progress(), context),
              good(isHelperRunning() && !isHelperSilent() && heartbeat &&
                   heartbeat->status == HelperHeartbeat::Status::reading));
  if (!trayObstacle.empty()) text += row(context, "Tray", trayObstacle, Ink::yellow);
  text += row(context, "Lately records", latelyText(*this, context),
              good(latelyRecords > 0 && latelyReason.empty() && !isOldRead(latelyWrittenAt)));
  if (model) text += row(context, "Language model", modelText(*model), good(model->isAvailable));
  const std::string debt = state ? model_work::waiting(state->model, now) : "";
  if (!debt.empty()) text += row(context, "Waiting", debt, Ink::yellow);
  if (protections)
    text += row(context, "Protections", protectionsText(*protections), good(protections->refusal().empty()));
  return text + row(context, "Next step", nextStep(), Ink::bold);
}

namespace {

std::string_view sentence(HelperHeartbeat::Status status) {
  switch (status) {
    case HelperHeartbeat::Status::reading:
      return "reading normally";
    case HelperHeartbeat::Status::needsFullDiskAccess:
      return "cannot read the Messages store";
    case HelperHeartbeat::Status::waitingForPellora:
      return "waits for a key and people";
    case HelperHeartbeat::Status::failed:
      return "its last read failed";
  }
  return {};
}

// The same of a helper that has said nothing since.
std::string_view pastSentence(HelperHeartbeat::Status status) {
  switch (status) {
    case HelperHeartbeat::Status::reading:
      return "its last read went well";
    case HelperHeartbeat::Status::needsFullDiskAccess:
      return "it could not read the Messages store";
    case HelperHeartbeat::Status::waitingForPellora:
      return "it waited for a key and people";
    case HelperHeartbeat::Status::failed:
      return "its last read failed";
  }
  return {};
}

// A heartbeat from the future was written by another clock.
std::string heardFrom(const HelperHeartbeat& heartbeat, const CompanionContext& context) {
  const std::string when = RelativeDate::text(heartbeat.at, context.now, context.calendar);
  return heartbeat.at > context.now ? "its heartbeat is dated ahead of the clock, " + when : "last heard from " + when;
}

std::string lastWords(const std::optional<HelperHeartbeat>& heartbeat, const CompanionContext& context) {
  if (!heartbeat) {
    const auto url = HelperHeartbeat::url(context.folder);
    std::error_code error;
    return url && std::filesystem::exists(*url, error) ? "its heartbeat cannot be read" : "no heartbeat yet";
  }
  return heardFrom(*heartbeat, context) + " (" + std::string(pastSentence(heartbeat->status)) + ", version " +
         heartbeat->helperVersion + ")";
}

std::string progressText(const ReadProgress& progress, const CompanionContext& context) {
  const std::string started = RelativeDate::text(progress.startedAt, context.now, context.calendar);
  if (progress.daysTotal <= 0) return "reading, started " + started;
  return "reading: the model has done " + std::to_string(progress.daysDone) + " of " +
         std::to_string(progress.daysTotal) + " days, started " + started;
}

}  // namespace

std::string helperText(platform_adapters::HelperPresence presence, const std::optional<HelperHeartbeat>& heartbeat,
                       const std::optional<ReadProgress>& progress, const CompanionContext& context) {
  using platform_adapters::HelperPresence;
  const std::string doing = progress ? progressText(*progress, context) : "";
  switch (presence) {
    case HelperPresence::running:
      if (!doing.empty()) return "running, " + doing;
      if (!heartbeat) return "running, " + lastWords(heartbeat, context);
      if (!heartbeat->isFresh(context.now)) return "running, but silent: " + lastWords(heartbeat, context);
      return "running, " + std::string(sentence(heartbeat->status)) + " (" + heardFrom(*heartbeat, context) +
             ", version " + heartbeat->helperVersion + ")";
    case HelperPresence::onlyReads:
      return "another read is running" + (doing.empty() ? std::string() : ", " + doing);
    case HelperPresence::notRunning:
      break;
  }
  return "not running, " + lastWords(heartbeat, context);
}

std::string_view statusWord(HelperHeartbeat::Status status) {
  switch (status) {
    case HelperHeartbeat::Status::reading:
      return "reading";
    case HelperHeartbeat::Status::needsFullDiskAccess:
      return "needsFullDiskAccess";
    case HelperHeartbeat::Status::waitingForPellora:
      return "waitingForPellora";
    case HelperHeartbeat::Status::failed:
      return "failed";
  }
  return {};
}

}  // namespace pellora
