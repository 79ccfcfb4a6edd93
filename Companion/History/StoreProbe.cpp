#include "Companion/History/StoreProbe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "Companion/History/HistoryDatabase.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/StoreHardening.h"

namespace pellora {

namespace {

using Kind = StoreProbe::Kind;

constexpr std::size_t kHeadSize = 100;  // bytes
constexpr std::string_view kMagic{"SQLite format 3\0", 16};
constexpr char kAdd[] = "pellora-companion history add PATH";

// What the first bytes of a database file say: the size of its pages at 16, its change counter at 24, the number of
// pages at 28, which counts when the number at 92 is that of the counter; 2 at 19 when changes go to a log.
struct Head {
  std::uintmax_t fileSize = 0;
  bool isDatabase = false;
  bool isShort = false;
  bool usesLog = false;

  static Head of(const std::filesystem::path& file) {
    Head head;
    const FileDescriptor descriptor = FileDescriptor::open(file, O_RDONLY | O_NONBLOCK);
    struct stat status{};
    if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0) return head;
    head.fileSize = static_cast<std::uintmax_t>(status.st_size);
    std::array<unsigned char, kHeadSize> bytes{};
    const auto count = retried([&] { return ::pread(descriptor.number(), bytes.data(), bytes.size(), 0); });
    const std::string_view beginning(reinterpret_cast<const char*>(bytes.data()), kMagic.size());
    head.isDatabase = count >= static_cast<ssize_t>(kMagic.size()) && beginning == kMagic;
    if (!head.isDatabase) return head;
    const auto number = [&bytes](std::size_t at) {
      return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 | std::uint32_t{bytes[at + 2]} << 8 |
             bytes[at + 3];
    };
    std::uintmax_t pageSize = static_cast<std::uintmax_t>(bytes[16]) << 8 | bytes[17];
    if (pageSize == 1) pageSize = 65536;
    const bool tellsPages = number(24) == number(92);
    head.isShort = count < static_cast<ssize_t>(kHeadSize) || (tellsPages && pageSize * number(28) > head.fileSize);
    head.usesLog = bytes[19] == 2;
    return head;
  }
};

// The file that a link leads to: its log lies beside it, and there a reader puts what it shares with writers.
std::filesystem::path realFile(const std::filesystem::path& file) {
  std::error_code error;
  const auto real = std::filesystem::canonical(file, error);
  return error ? file : real;
}

bool hasLog(const std::filesystem::path& file) {
  std::error_code error;
  return std::filesystem::exists(realFile(file).string() + "-wal", error);
}

std::filesystem::path realFolder(const std::filesystem::path& file) {
  return realFile(file).parent_path();
}

bool readsWithoutLog(const std::filesystem::path& file) {
  try {
    HistoryDatabase(file, HistoryDatabase::Mode::asItLies).integer("SELECT count(*) FROM message");
    return true;
  } catch (const HistoryDatabase::Error&) {
    return false;
  }
}

bool has(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// Why a file that looks like a database does not open, by what the database library says about it.
Kind failureKind(const std::filesystem::path& file, const ChatDatabase::Failure& failure) {
  const std::string words = failure.kind() == ChatDatabase::Failure::Kind::query ? failure.message() : "unable to open";
  if (has(words, "locked") && !has(words, "protocol")) return Kind::locked;
  const bool isOther = has(words, "no such table") || has(words, "no such column");
  const bool isRefused = has(words, "unable to open") || has(words, "readonly") || has(words, "read-only");
  if (isRefused && ::access(realFolder(file).c_str(), W_OK) != 0) return Kind::readOnly;
  const bool isWrong =
      isOther || has(words, "malformed") || has(words, "not a database") || has(words, "protocol") || isRefused;
  if (isWrong && hasLog(file) && readsWithoutLog(file)) return Kind::foreignLog;
  if (isOther) return Kind::notMessages;
  return has(words, "malformed") || has(words, "not a database") ? Kind::damaged : Kind::unreadable;
}

// Empty while the file itself shows nothing wrong.
std::optional<Kind> obstacleKind(const std::filesystem::path& file, const std::string& reason, const Head& head) {
  if (reason == "not there") return Kind::missing;
  if (reason == "not a regular file") return Kind::notAFile;
  if (reason == std::generic_category().message(EACCES)) return Kind::noPermission;
  if (!reason.empty()) return Kind::unreadable;
  if (head.fileSize == 0) return Kind::empty;
  if (!head.isDatabase) return Kind::notADatabase;
  // A log may hold the pages that the file lacks.
  if (head.isShort && !hasLog(file)) return Kind::truncated;
  return std::nullopt;
}

std::string phrase(Kind kind, const std::string& words) {
  switch (kind) {
    case Kind::readable:
      return "";
    case Kind::missing:
      return "not there";
    case Kind::noPermission:
      return words.empty() ? "no permission to read it" : words;
    case Kind::notAFile:
      return "not a regular file";
    case Kind::empty:
      return "an empty file";
    case Kind::notADatabase:
      return "file is not a database";
    case Kind::notMessages:
      return "a database without messages";
    case Kind::truncated:
      return "cut short";
    case Kind::foreignLog:
      return "the log beside it belongs to another database";
    case Kind::damaged:
      return "damaged";
    case Kind::readOnly:
      return "its folder cannot be written, as reading its log needs";
    case Kind::locked:
      return "database is locked";
    case Kind::unreadable:
      return words;
  }
  return words;
}

}  // namespace

StoreProbe StoreProbe::of(const std::filesystem::path& file) {
  StoreProbe probe;
  probe.file = file;
  std::string obstacle = reading_obstacle::find(file);
  if (obstacle.empty()) obstacle = StoreHardening::obstacleBeside(file);
  const Head head = obstacle.empty() ? Head::of(file) : Head();
  if (const auto kind = obstacleKind(file, obstacle, head)) {
    probe.kind = *kind;
    probe.reason = phrase(*kind, obstacle);
    return probe;
  }
  probe.lacksLog = head.usesLog && !hasLog(file);
  try {
    probe.summary = ChatDatabase(file).summary();
    probe.messages = probe.summary.messages;
    probe.kind = Kind::readable;
  } catch (const ChatDatabase::Failure& failure) {
    probe.kind = failureKind(file, failure);
    probe.reason =
        phrase(probe.kind, failure.kind() == ChatDatabase::Failure::Kind::query ? failure.message() : failure.what());
    probe.isLocked = probe.kind == Kind::locked;
  }
  return probe;
}

std::string StoreProbe::sentence() const {
  const std::string name = display::printable(file.string());
  switch (kind) {
    case Kind::readable:
      return "The Messages database " + name + " can be read.";
    case Kind::missing:
      return "There is no Messages database at " + name + ".";
    case Kind::noPermission:
      return name + " cannot be read: " + reason + ".";
    case Kind::notAFile:
      return name + " is not a regular file.";
    case Kind::empty:
      return name + " is empty.";
    case Kind::notADatabase:
      return name + " is not a database.";
    case Kind::notMessages:
      return name + " is a database, but not a Messages database.";
    case Kind::truncated:
      return name + " is cut short: it was not copied completely.";
    case Kind::foreignLog:
      return "The log " + name + "-wal belongs to a database other than " + name + ".";
    case Kind::damaged:
      return name + " is damaged.";
    case Kind::readOnly:
      return name + " is in a folder that you cannot write, so its log cannot be read.";
    case Kind::locked:
      return "Another program has " + name + " locked.";
    case Kind::unreadable:
      return name + " cannot be read: " + reason + ".";
  }
  return {};
}

std::string StoreProbe::nextStep() const {
  const std::string name = display::printable(file.string());
  const std::string folder = display::shellWord(file.parent_path().string());
  switch (kind) {
    case Kind::readable:
      return {};
    case Kind::missing:
      return std::string("Bring your history onto this device: ") + kAdd;
    case Kind::noPermission:
      return "Give yourself access to " + name + ", as with: sudo chown -R \"$USER\" " + folder;
    case Kind::notAFile:
      return "Put the database itself at " + name + ": " + kAdd;
    case Kind::empty:
      return std::string("Copy the history again, this time whole: ") + kAdd;
    case Kind::notADatabase:
      return "Replace " + name + " with the file chat.db of Messages: " + kAdd;
    case Kind::notMessages:
      return "Replace " + name + " with the database of Messages, not of another program: " + kAdd;
    case Kind::truncated:
      return std::string("Copy the whole database again: ") + kAdd;
    case Kind::foreignLog:
      return "Copy database and log together (" + std::string(kAdd) + "), or move " + name + "-wal away.";
    case Kind::damaged:
      return std::string("Copy the database again while Messages does not run: ") + kAdd;
    case Kind::readOnly:
      return "Move the folder aside and take a copy of it: mv " + folder + " " + folder +
             "-original && pellora-companion history add " + folder + "-original";
    case Kind::locked:
      return "Close the program that has the Messages database locked, or wait until it is done, then ask again.";
    case Kind::unreadable:
      return "Make " + name + " readable (" + reason + "), or replace it: " + kAdd;
  }
  return {};
}

}  // namespace pellora
