#include "PelloraMessagesCore/HelperDayNotes.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <utility>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora {

namespace {

// The same as a record's id(), without building its text.
struct Key {
  Uuid person;
  std::string day;

  bool operator==(const Key&) const = default;
};

struct KeyHash {
  std::size_t operator()(const Key& key) const {
    constexpr std::size_t kSpread = 0x9E3779B97F4A7C15;
    return std::hash<Uuid>()(key.person) * kSpread ^ std::hash<std::string>()(key.day);
  }
};

// Day records with one place for each id, in the order in which the ids came.
class DayIndex {
 public:
  explicit DayIndex(std::size_t expectedCount) {
    _days.reserve(expectedCount);
    _wasHandedIn.reserve(expectedCount);
    _places.reserve(expectedCount);
  }

  // Of two stored days with one id the later one counts.
  void addStored(MessagesDayRecord&& day) {
    const auto [place, isNew] = placeFor(day);
    if (isNew)
      append(std::move(day));
    else
      _days[place] = std::move(day);
  }

  // True when this changed the stored days.
  bool handIn(const MessagesDayRecord& day) {
    const auto [place, isNew] = placeFor(day);
    const bool isChanged = isNew || _days[place] != day;
    if (isNew)
      append(MessagesDayRecord(day));
    else if (isChanged)
      _days[place] = day;
    _wasHandedIn[place] = true;
    return isChanged;
  }

  // Takes the days out for which `isKept(day, wasHandedIn)` holds.
  template <class IsKept>
  std::vector<MessagesDayRecord> takeKept(IsKept isKept) {
    std::size_t kept = 0;
    for (std::size_t place = 0; place < _days.size(); ++place) {
      if (!isKept(_days[place], _wasHandedIn[place])) continue;
      if (kept != place) _days[kept] = std::move(_days[place]);
      ++kept;
    }
    _days.resize(kept);
    return std::move(_days);
  }

 private:
  std::pair<std::size_t, bool> placeFor(const MessagesDayRecord& day) {
    const auto [entry, isNew] = _places.try_emplace(Key{day.personID, day.day}, _days.size());
    return {entry->second, isNew};
  }

  void append(MessagesDayRecord&& day) {
    _days.push_back(std::move(day));
    _wasHandedIn.push_back(false);
  }

  std::vector<MessagesDayRecord> _days;
  std::vector<bool> _wasHandedIn;
  std::unordered_map<Key, std::size_t, KeyHash> _places;
};

// Oldest first; equal times keep their order. Sorts places and moves each large record once.
void sortByLastMessage(std::vector<MessagesDayRecord>& days) {
  std::vector<std::pair<Instant, std::size_t>> order;
  order.reserve(days.size());
  for (std::size_t place = 0; place < days.size(); ++place) order.emplace_back(days[place].lastMessageAt, place);
  if (std::is_sorted(order.begin(), order.end())) return;
  std::sort(order.begin(), order.end());
  std::vector<MessagesDayRecord> sorted;
  sorted.reserve(days.size());
  for (const auto& [lastMessageAt, place] : order) sorted.push_back(std::move(days[place]));
  days = std::move(sorted);
}

// The end of the sealed file, as hexadecimal digits: it authenticates the rest, and the random nonce makes it another
// one each time, so it tells files apart without reading them.
std::string markOf(std::string_view envelope) {
  constexpr std::size_t kTagSize = 16;
  std::string mark;
  for (const char byte : envelope.substr(envelope.size() - std::min(envelope.size(), kTagSize)))
    appendHex(mark, static_cast<unsigned char>(byte), kLowerHexDigits);
  return mark;
}

}  // namespace

std::optional<HelperDayNotes::Stored> HelperDayNotes::loadStored(const ExchangeKey& key,
                                                                 const std::optional<std::filesystem::path>& folder) {
  if (!folder) return std::nullopt;
  const std::optional<std::string> envelope = AtomicFile::readIfThere(*folder / HelperExchange::kNotesFile);
  if (!envelope) return std::nullopt;
  const std::optional<std::string> json = SealedEnvelope::open(*envelope, key, HelperExchange::kNotesContext);
  std::optional<HelperDayNotes> notes = json ? ExchangeCoding::decode<HelperDayNotes>(*json) : std::nullopt;
  if (!notes) return std::nullopt;
  return Stored{*std::move(notes), markOf(*envelope)};
}

std::optional<HelperDayNotes> HelperDayNotes::loadIfReadable(const ExchangeKey& key,
                                                             const std::optional<std::filesystem::path>& folder) {
  const std::optional<std::string> json =
      SealedFile::read(key, folder, HelperExchange::kNotesFile, HelperExchange::kNotesContext);
  if (!json) return std::nullopt;
  return ExchangeCoding::decode<HelperDayNotes>(*json);
}

HelperDayNotes HelperDayNotes::load(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) {
  return loadIfReadable(key, folder).value_or(HelperDayNotes());
}

std::string HelperDayNotes::save(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const {
  if (!folder) throw FileError::noSuchFile();
  const std::string envelope = SealedEnvelope::seal(ExchangeCoding::encode(*this), key, HelperExchange::kNotesContext);
  AtomicFile::write(*folder / HelperExchange::kNotesFile, envelope);
  return markOf(envelope);
}

std::set<Uuid> HelperDayNotes::merge(const std::vector<MessagesDayRecord>& records, Reread reread,
                                     const std::string& cutoffDay, const std::set<Uuid>& currentPeople) {
  std::set<Uuid> changed;
  DayIndex index(days.size() + records.size());
  for (MessagesDayRecord& day : days) index.addStored(std::move(day));
  for (const MessagesDayRecord& record : records)
    if (index.handIn(record)) changed.insert(record.personID);
  days = index.takeKept([&](const MessagesDayRecord& day, bool wasHandedIn) {
    if (!currentPeople.contains(day.personID)) return false;
    const bool isKept = day.day >= cutoffDay && (reread == Reread::incremental || wasHandedIn);
    if (!isKept) changed.insert(day.personID);
    return isKept;
  });
  sortByLastMessage(days);
  return changed;
}

}  // namespace pellora
