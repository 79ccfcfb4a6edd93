#include "Companion/History/HistoryRecord.h"

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Time/IsoDate.h"

namespace pellora {

namespace {

constexpr char kFile[] = "history.json";
constexpr std::size_t kLargest = 65536;  // bytes

}  // namespace

std::optional<HistoryRecord> HistoryRecord::read(const std::optional<std::filesystem::path>& settings) {
  if (!settings) return std::nullopt;
  const auto bytes = AtomicFile::read(*settings / kFile, kLargest);
  const auto json = bytes ? JsonValue::parse(*bytes) : std::nullopt;
  if (!json || (*json)["source"].text().empty()) return std::nullopt;
  HistoryRecord record;
  record.source = (*json)["source"].text();
  record.kind = (*json)["kind"].text();
  if (const auto& file = (*json)["passwordFile"].text(); !file.empty()) record.passwordFile = file;
  const auto addedAt = IsoDate::parse((*json)["addedAt"].text());
  if (!addedAt) return std::nullopt;
  record.addedAt = *addedAt;
  record.messages = (*json)["messages"].integer().value_or(0);
  record.newMessages = (*json)["newMessages"].integer().value_or(0);
  return record;
}

void HistoryRecord::write(const std::optional<std::filesystem::path>& settings) const {
  if (!settings) return;
  JsonValue json = JsonValue::object({{"source", source.string()},
                                      {"kind", kind},
                                      {"addedAt", IsoDate::text(addedAt)},
                                      {"messages", messages},
                                      {"newMessages", newMessages}});
  if (passwordFile) json.set("passwordFile", passwordFile->string());
  AtomicFile::write(*settings / kFile, json.dump() + "\n");
}

}  // namespace pellora
