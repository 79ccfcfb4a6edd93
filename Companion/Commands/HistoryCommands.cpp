#include <fcntl.h>
#include <openssl/crypto.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include "Companion/Commands/ChangeLock.h"
#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/History/HistorySource.h"
#include "Companion/History/StagedStore.h"
#include "Companion/History/StoreProbe.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/Output/Terminal.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

namespace {

constexpr std::chrono::seconds kHistoryLockPatience{5};
constexpr char kHistoryLock[] = "history.lock";
constexpr std::size_t kLongestPasswordLine = 4096;  // bytes

// The options of an `add` or a `refresh`.
struct Request {
  std::string source;
  std::optional<std::string> passwordFile;
  bool replaces = false;
};

struct Outcome {
  HistoryRecord record;
  ChatDatabase::Summary summary;
  std::uintmax_t size = 0;
  std::string missing;
};

std::string newest(const ChatDatabase::Summary& summary, const CompanionContext& context) {
  return summary.newestMessageAt ? date_text::date(*summary.newestMessageAt, context.now, context.calendar) : "none";
}

// Reads the first line of a file or pipe; "-" is standard input. Blocks until the other end of a pipe has written it.
SecretBytes passwordFrom(const std::string& name) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  const std::string file = name == "-" ? "Standard input" : "The password file " + display::printable(name);
  const auto refuse = [&file](const std::string& reason) {
    throw CompanionFailure(file + " cannot be read: " + reason + "; nothing was changed.");
  };
  const FileDescriptor input = name == "-" ? FileDescriptor(dup(STDIN_FILENO)) : FileDescriptor::open(name, O_RDONLY);
  std::array<char, kLongestPasswordLine> bytes;
  std::string_view line;
  for (bool isWhole = false; !isWhole;) {
    if (line.size() == bytes.size()) refuse("it is too large to be a password");
    const ssize_t count =
        retried([&] { return read(input.number(), bytes.data() + line.size(), bytes.size() - line.size()); });
    if (count < 0) {
      const std::string reason = std::generic_category().message(errno);
      const std::string obstacle = name == "-" ? std::string() : reading_obstacle::find(name);
      refuse(obstacle.empty() ? reason : obstacle);
    }
    line = std::string_view(bytes.data(), line.size() + static_cast<std::size_t>(count));
    isWhole = count == 0 || line.find('\n') != line.npos;
  }
  if (line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  const SecretBytes password(line);
  OPENSSL_cleanse(bytes.data(), bytes.size());
  if (password.size() == 0)
    throw CompanionFailure(file + " has nothing in its first line, where the password belongs; nothing was changed.");
  return password;
}

void unlock(HistorySource& source, const std::optional<std::string>& passwordFile) {
  if (!source.needsPassword()) return;
  auto password =
      passwordFile ? std::optional(passwordFrom(*passwordFile)) : terminal::password("Password of the backup:");
  if (!password)
    throw CompanionFailure(terminal::isThere()
                               ? "No password was given; nothing was changed."
                               : "The backup is encrypted; give its password with --password-file FILE.");
  const Progress progress("Opening the backup's keys");
  source.unlock(*password);
}

// What the user would miss of the history in place: messages newer than the new one's, or most of it, as when the new
// one is another phone's or only a part. Empty when it is nothing much: a few that were deleted meanwhile are none.
std::string loss(const CompanionContext& context, const ChatDatabase::Summary& next,
                 const std::optional<StagedStore::Difference>& difference) {
  const StoreProbe present = StoreProbe::of(context.store);
  if (!present.isReadable() || !present.summary.newestMessageAt) return {};
  if (!next.newestMessageAt || *next.newestMessageAt < *present.summary.newestMessageAt) {
    const std::string there = newest(present.summary, context);
    const std::string here = newest(next, context);
    return there == here
               ? "The history in place has newer messages than this one, on the same day (" + there + ")"
               : "The history in place has newer messages (until " + there + ") than this one (until " + here + ")";
  }
  if (difference && difference->lost > difference->inPlace / 2)
    return "This history lacks " + std::to_string(difference->lost) + " of the " + std::to_string(difference->inPlace) +
           " messages of the history in place";
  return {};
}

// Throws unless the user agrees.
void askBeforeLosing(const std::string& loss) {
  if (loss.empty() || terminal::isConfirmed(loss + ". Replace it?").value_or(false)) return;
  throw CompanionFailure(loss + "; nothing was changed. Add --replace to replace it all the same.");
}

// Throws when the history is in place and only that could not be done.
void remember(const CompanionContext& context, const HistoryRecord& record) {
  try {
    record.write(context.settings);
  } catch (const FileError& failure) {
    throw CompanionFailure("The history is in place, but its source could not be remembered for \"history refresh\": " +
                           std::string(failure.what()) + ".");
  }
}

void bring(const HistorySource& source, const StagedStore& staged) {
  Progress progress("Copying the history");
  const bool isDone = source.bring(staged.file(), [&progress](int hundredths) {
    progress.setDone(hundredths);
    return !InterruptionGuard::isRequested();
  });
  if (!isDone) throw CompanionFailure("Interrupted; nothing was changed.");
}

Outcome replaceStore(const CompanionContext& context, const Request& request) {
  std::error_code error;
  HistorySource source = HistorySource::find(request.source);
  if (std::filesystem::equivalent(source.database(), context.store, error))
    throw CompanionFailure(display::printable(source.database().string()) + " is already the history in place.");
  const auto lock = change_lock::take(context, kHistoryLock, "bringing a history", kHistoryLockPatience);
  unlock(source, request.passwordFile);
  const InterruptionGuard guard;
  StagedStore staged(context.store);
  Outcome outcome;
  outcome.missing = source.missing();
  staged.needRoom(source.size());
  bring(source, staged);
  std::optional<StagedStore::Difference> difference;
  {
    const Progress progress("Checking the history");
    staged.check();
    const StoreProbe probe = StoreProbe::of(staged.file());
    if (!probe.isReadable()) throw CompanionFailure(probe.sentence() + " Nothing was changed.");
    outcome.summary = probe.summary;
    difference = staged.difference();
    outcome.record = {source.path(),          std::string(sourceName(source.kind())),
                      std::nullopt,           context.now,
                      probe.summary.messages, difference ? difference->gained : probe.summary.messages};
  }
  // A pipe can be read only once.
  if (request.passwordFile && *request.passwordFile != "-" &&
      std::filesystem::is_regular_file(*request.passwordFile, error))
    outcome.record.passwordFile = std::filesystem::absolute(*request.passwordFile, error);
  outcome.size = std::filesystem::file_size(staged.file(), error);
  if (!request.replaces) askBeforeLosing(loss(context, outcome.summary, difference));
  if (InterruptionGuard::isRequested()) throw CompanionFailure("Interrupted; nothing was changed.");
  staged.putIntoPlace();
  platform_adapters::askHelperToRead();
  remember(context, outcome.record);
  return outcome;
}

JsonValue json(const ChatDatabase::Summary& summary) {
  return JsonValue::object(
      {{"messages", summary.messages},
       {"people", summary.people},
       {"chats", summary.chats},
       {"newestMessageAt",
        summary.newestMessageAt ? JsonValue(IsoDate::text(*summary.newestMessageAt)) : JsonValue()}});
}

CommandResult told(const CompanionContext& context, const Outcome& outcome, bool asJson) {
  if (asJson) {
    JsonValue object = json(outcome.summary);
    object.set("source", outcome.record.source.string());
    object.set("kind", outcome.record.kind);
    object.set("newMessages", outcome.record.newMessages);
    object.set("size", static_cast<std::int64_t>(outcome.size));
    object.set("missing", outcome.missing);
    return {companion_json::line(object), {}};
  }
  const auto count = [](std::int64_t number) { return static_cast<std::size_t>(number); };
  std::string text =
      "The history is in place: " + display::counted(count(outcome.summary.messages), "message", "messages") + ", " +
      std::to_string(outcome.record.newMessages) + " of them new, until " + newest(outcome.summary, context) + " (" +
      display::size(outcome.size) + ").\n";
  if (!outcome.missing.empty()) text += "Missing: " + display::printable(outcome.missing) + "\n";
  return {text, {}};
}

}  // namespace

CommandResult HistoryAddCommand::run(const CompanionContext& context) const {
  return told(context, replaceStore(context, {source, passwordFile, replaces}), json);
}

CommandResult HistoryRefreshCommand::run(const CompanionContext& context) const {
  const auto record = HistoryRecord::read(context.settings);
  if (!record)
    throw CompanionFailure(
        "No history has been added yet, so there is nothing to refresh: pellora-companion history add PATH");
  Request request{record->source.string(), passwordFile, replaces};
  if (!request.passwordFile && record->passwordFile) request.passwordFile = record->passwordFile->string();
  return told(context, replaceStore(context, request), json);
}

CommandResult HistoryStatusCommand::run(const CompanionContext& context) const {
  StagedStore::removeLeftovers(context.store);
  const StoreProbe probe = StoreProbe::of(context.store);
  const auto record = HistoryRecord::read(context.settings);
  const std::string complaint = probe.isReadable() ? "" : probe.sentence() + " " + probe.nextStep();
  if (json) {
    JsonValue object = probe.isReadable() ? pellora::json(probe.summary) : JsonValue::object();
    object.set("file", context.store.string());
    object.set("readable", probe.isReadable());
    object.set("reason", probe.reason);
    object.set("nextStep", probe.nextStep());
    object.set("source", record ? JsonValue(record->source.string()) : JsonValue());
    object.set("kind", record ? JsonValue(record->kind) : JsonValue());
    object.set("addedAt", record ? JsonValue(IsoDate::text(record->addedAt)) : JsonValue());
    return {companion_json::line(object), complaint};
  }
  std::string text;
  const auto row = [&text](const char* label, const std::string& value) {
    text += display::padded(label, 17) + display::printable(value) + "\n";
  };
  row("Source", record ? record->kind + " " + record->source.string() : "unknown: not brought by \"history add\"");
  if (record) row("Added", date_text::weekdayDate(record->addedAt, context.now, context.calendar));
  row("Store", context.store.string());
  if (!probe.isReadable()) return {text, complaint};
  row("Messages", std::to_string(probe.summary.messages));
  row("People", std::to_string(probe.summary.people));
  row("Chats", std::to_string(probe.summary.chats));
  row("Newest message", newest(probe.summary, context));
  return {text, {}};
}

}  // namespace pellora
