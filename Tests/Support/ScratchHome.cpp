#include "Tests/Support/ScratchHome.h"

#include <array>
#include <chrono>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora::support {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::uint8_t, ExchangeKey::kSize> kKeyBytes{9, 8, 7, 6, 5, 4, 3, 2, 1};

void makeKeyFile(const fs::path& folder) {
  const std::string_view bytes(reinterpret_cast<const char*>(kKeyBytes.data()), kKeyBytes.size());
  AtomicFile::write(folder / "exchange-key", bytes);
}

Instant ago(std::chrono::seconds age) {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - age;
}

}  // namespace

ScratchHome::ScratchHome() : _key(ExchangeKey::fromData(SecretBytes(kKeyBytes))) {
  for (const char* name : {"data", "config", "runtime", "tmp"}) {
    fs::create_directory(_folder / name);
    fs::permissions(_folder / name, fs::perms::owner_all);
  }
  makeKeyFile(_folder / "data/app.pellora.messages.exchange");
  _people = {{*Uuid::parse("11111111-1111-4111-8111-111111111111"), "Anna", {"5550100001"}, {}},
             {*Uuid::parse("22222222-2222-4222-8222-222222222222"), "Ben", {}, {"ben@example.com"}}};
  HelperPeopleFile{ago(std::chrono::seconds(0)), _people}.write(*_key, shared());
  _store = std::make_unique<SmallStore>(_folder / "Library/Messages/chat.db");
  _annaChat = _store->addChat({"+15550100001"});
  _benChat = _store->addChat({"ben@example.com"});
}

std::map<std::string, std::string> ScratchHome::environment() const {
  return {{"HOME", _folder.path().string()},
          {"XDG_DATA_HOME", _folder / "data"},
          {"XDG_CONFIG_HOME", _folder / "config"},
          {"XDG_RUNTIME_DIR", _folder / "runtime"},
          {"TMPDIR", _folder / "tmp"},
          {"TZ", "UTC"},
          {"PELLORA_SECRET_STORE", "file"},
          {"PELLORA_MODEL_URL", "unix:" + (_folder / "runtime/none.sock").string()},
          {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (_folder / "runtime/no-bus").string()}};
}

void ScratchHome::addSomeDays() {
  using std::chrono::hours;
  _store->execute("BEGIN");
  for (int day = 0; day < 6; ++day) {
    const hours age(24 * day + 1);
    _store->addMessage(_annaChat, ago(age), SmallStore::kFromThem, "How was day " + std::to_string(day) + "?");
    _store->addMessage(_annaChat, ago(age - std::chrono::minutes(5)), SmallStore::kFromMe, "https://example.com/fine");
    _store->addArchivedMessage(_benChat, ago(age + hours(2)), SmallStore::kFromMe, "Happy birthday!");
  }
  _store->execute("COMMIT");
}

ScratchHome::Records ScratchHome::records() const {
  Records records{HelperDayNotes::load(*_key, shared()).days, MessagesLatelyInbox::readAll(*_key, shared())};
  for (MessagesLatelyRecord& each : records.lately) each.writtenAt = {};
  return records;
}

void ScratchHome::forgetReads() {
  for (const char* name : {"Helper", "Lately", "heartbeat.json"}) fs::remove_all(shared() / name);
  fs::remove_all(_folder / "config/app.pellora.messages");
}

std::vector<std::string> ScratchHome::temporaryFiles() const {
  std::vector<std::string> found;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path()))
    if (entry.path().filename().string().ends_with(".tmp")) found.push_back(entry.path().string());
  return found;
}

}  // namespace pellora::support
