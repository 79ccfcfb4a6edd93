#include "Tests/Support/HistoryStage.h"

#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/ScopedEnvironment.h"

namespace pellora::support {

namespace {

namespace fs = std::filesystem;

std::string answer(const ScriptedLanguageModel::Asked& asked) {
  if (asked.schemaName == "FoundMeetups") return R"({"meetups":[]})";
  if (asked.schemaName == "FoundNews") return R"({"news":[]})";
  return "You and Anna talked about the harbour.";
}

std::string refused(const ScriptedLanguageModel::Asked&) {
  throw LanguageModelError(LanguageModelError::Reason::question, "answered 400");
}

HistoryStage::Records recordsIn(const ExchangeKey& key, const fs::path& shared) {
  HistoryStage::Records records{HelperDayNotes::load(key, shared).days, MessagesLatelyInbox::readAll(key, shared)};
  for (MessagesLatelyRecord& each : records.lately) each.writtenAt = {};
  return records;
}

void replaceFolder(const fs::path& from, const fs::path& to) {
  if (!fs::exists(from)) return;
  fs::remove_all(to);
  fs::copy(from, to, fs::copy_options::recursive);
}

}  // namespace

HistoryStage::Records HistoryStage::records() const {
  return recordsIn(key(), shared());
}

EngineStage::EngineStage() {
  setModel(Model::off);
}

bool EngineStage::read() {
  world.zone = zone;
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  return engine->state().kind == HelperEngineState::Kind::idle;
}

HistoryStage::Records EngineStage::fresh() {
  world.zone = zone;
  return world.freshRecords();
}

void EngineStage::restoreSettings() {
  if (_kept) world.defaults = *_kept;
}

void EngineStage::setModel(Model model) {
  world.scripted = ScriptedLanguageModel(model == Model::fails ? refused : answer);
  world.scripted.setAvailable(model != Model::off);
}

void EngineStage::setClockError(Nanoseconds error) {
  _error = error;
  world.scheduler.setClockError(error);
}

ProgramStage::ProgramStage(std::string helper, const std::filesystem::path& clock)
    : _helper(std::move(helper)), _clock(clock) {}

bool ProgramStage::readInto(const fs::path& data, const fs::path& config) {
  ScopedEnvironment environment;
  for (const auto& [name, value] : _home.environment()) environment.set(name, value);
  environment.set("XDG_DATA_HOME", data.string());
  environment.set("XDG_CONFIG_HOME", config.string());
  environment.set("TZ", zone);
  environment.set("LD_PRELOAD", _clock.name());
  environment.set("PELLORA_CLOCK",
                  std::to_string(static_cast<std::int64_t>((_now + _error).time_since_epoch().count())));
  ProgramRun run({_helper, {"--read-once"}, {}});
  const int status = run.wait();
  _errors = run.errors();
  return status == 0;
}

bool ProgramStage::read() {
  return readInto(_home.path() / "data", _home.path() / "config");
}

HistoryStage::Records ProgramStage::fresh() {
  const fs::path fresh = _home.path() / "fresh";
  const fs::path group = shared().filename();
  fs::remove_all(fresh);
  fs::create_directories(fresh / "data" / group);
  fs::create_directories(fresh / "config");
  fs::copy_file(shared() / "people.json", fresh / "data" / group / "people.json");
  fs::copy(shared().string() + ".exchange", (fresh / "data" / group).string() + ".exchange");
  readInto(fresh / "data", fresh / "config");
  return recordsIn(key(), fresh / "data" / group);
}

void ProgramStage::keepSettings() {
  replaceFolder(settings(), scratch() / "kept-settings");
}

void ProgramStage::restoreSettings() {
  replaceFolder(scratch() / "kept-settings", settings());
}

void ProgramStage::loseSettings() {
  fs::remove_all(settings());
}

}  // namespace pellora::support
