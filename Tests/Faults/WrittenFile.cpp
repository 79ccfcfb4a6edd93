#include "Tests/Faults/WrittenFile.h"

#include <array>

#include "Adapters/Linux/Desktop/XdgAutostartLoginItem.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Secrets/KeyFileSecretStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "Tests/Support/SampleRecords.h"

namespace pellora::support {

namespace {

namespace fs = std::filesystem;
using Version = WrittenFile::Version;
using Found = WrittenFile::Found;

constexpr char kKey[] = "messages.lastRowID";

ExchangeKey fixedKey() {
  const std::array<std::uint8_t, ExchangeKey::kSize> bytes{1, 2, 3};
  return *ExchangeKey::fromData(SecretBytes(bytes));
}

std::size_t sizeOf(Version version) {
  return version == Version::older ? 3 : 400;
}

HelperPeopleFile peopleOf(Version version) {
  HelperPeopleFile file{instantAtSeconds(kSampleSecond), {}};
  for (std::size_t number = 0; number < sizeOf(version); ++number)
    file.people.push_back({*Uuid::parse(kSamplePerson), "Person " + std::to_string(number), {"5551234567"}, {}});
  return file;
}

MessagesLatelyRecord latelyOf(Version version) {
  MessagesLatelyRecord record = sampleLately();
  record.sentCount = static_cast<std::int64_t>(sizeOf(version));
  return record;
}

HelperState stateOf(Version version) {
  HelperState state = sampleState();
  state.analyzed = sampleDays(sizeOf(version));
  return state;
}

HelperHeartbeat heartbeatOf(Version version) {
  const auto seconds = kSampleSecond + static_cast<std::int64_t>(sizeOf(version));
  return {instantAtSeconds(seconds), HelperHeartbeat::Status::reading, std::nullopt, "1.0"};
}

template <class Value>
Found compare(const Value& value, const Value& older, const Value& newer) {
  return value == older ? Found::older : value == newer ? Found::newer : Found::other;
}

template <class Value>
Found compareIfThere(const fs::path& file, const std::optional<Value>& value, const Value& older, const Value& newer) {
  if (!fs::exists(fs::symlink_status(file))) return Found::absent;
  return value ? compare(*value, older, newer) : Found::other;
}

// The entry's content as far as it differs.
std::string startedProgram(const fs::path& root) {
  const std::string bytes = AtomicFile::read(root / "autostart/app.pellora.Messages.desktop").value_or("");
  for (const char* program : {"/usr/bin/true", "/usr/bin/false"})
    if (bytes.find(program) != std::string::npos && bytes.ends_with("\n")) return program;
  return "other";
}

}  // namespace

const std::vector<std::string>& WrittenFile::kinds() {
  static const std::vector<std::string> names = {"people",    "notes",    "state", "lately",
                                                 "heartbeat", "defaults", "key",   "autostart"};
  return names;
}

bool WrittenFile::write(Version version) const {
  try {
    if (_kind == "people") peopleOf(version).write(fixedKey(), _root);
    if (_kind == "notes") HelperDayNotes{sampleDays(sizeOf(version))}.save(fixedKey(), _root);
    if (_kind == "state") stateOf(version).save(fixedKey(), _root);
    if (_kind == "lately") MessagesLatelyInbox::write(fixedKey(), _root, latelyOf(version));
    if (_kind == "heartbeat") heartbeatOf(version).write(_root);
    if (_kind == "defaults")
      IniUserDefaults(_root / "defaults/defaults.ini")
          .store({{kKey, static_cast<std::int64_t>(sizeOf(version))}, {"other", std::string(5000, 'x')}});
    if (_kind == "autostart") {
      const std::string program = version == Version::older ? "/usr/bin/false" : "/usr/bin/true";
      XdgAutostartLoginItem(program, _root, {}).enable();
      return startedProgram(_root) == program;
    }
    if (_kind == "key") {
      KeyFileSecretStore store(_root);
      return ExchangeKeychain::loadOrCreate(store).has_value();
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

Found WrittenFile::read() const {
  const ExchangeKey key = fixedKey();
  if (_kind == "people")
    return compareIfThere(_root / "people.json", HelperPeopleFile::read(key, _root), peopleOf(Version::older),
                          peopleOf(Version::newer));
  if (_kind == "notes")
    return compareIfThere(_root / "Helper/notes.json", HelperDayNotes::loadIfReadable(key, _root),
                          HelperDayNotes{sampleDays(sizeOf(Version::older))},
                          HelperDayNotes{sampleDays(sizeOf(Version::newer))});
  if (_kind == "state")
    return compareIfThere(_root / "Helper/state.json", HelperState::load(key, _root), stateOf(Version::older),
                          stateOf(Version::newer));
  if (_kind == "lately")
    return compareIfThere(_root / "Lately" / (std::string(kSamplePerson) + ".json"),
                          MessagesLatelyInbox::read(key, _root, latelyOf(Version::older).personID),
                          latelyOf(Version::older), latelyOf(Version::newer));
  if (_kind == "heartbeat")
    return compareIfThere(_root / "heartbeat.json", HelperHeartbeat::read(_root), heartbeatOf(Version::older),
                          heartbeatOf(Version::newer));
  if (_kind == "defaults")
    return compareIfThere(
        _root / "defaults/defaults.ini", IniUserDefaults(_root / "defaults/defaults.ini").integer(kKey),
        static_cast<std::int64_t>(sizeOf(Version::older)), static_cast<std::int64_t>(sizeOf(Version::newer)));
  if (_kind == "autostart")
    return compareIfThere(_root / "autostart/app.pellora.Messages.desktop", std::optional(startedProgram(_root)),
                          std::string("/usr/bin/false"), std::string("/usr/bin/true"));
  const fs::path file = _root / "app.pellora.messages.exchange/exchange-key";
  if (!fs::exists(file)) return Found::absent;
  KeyFileSecretStore store(_root);
  return ExchangeKeychain::load(store) ? Found::newer : Found::other;
}

void WrittenFile::startAgain() const {
  if (_kind == "key") write(Version::newer);
  AtomicFile::removeLeftovers(_root);
  for (const char* folder : {"Helper", "Lately", "defaults", "autostart"}) AtomicFile::removeLeftovers(_root / folder);
}

std::vector<std::string> WrittenFile::leftovers() const {
  std::vector<std::string> found;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(_root)) {
    const std::string name = entry.path().filename().string();
    if (!entry.is_directory() && name.find("tmp") != std::string::npos) found.push_back(name);
  }
  return found;
}

}  // namespace pellora::support
