#include "Tests/Support/ReadHistory.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeCoding.h"

namespace pellora::support {

namespace {

namespace fs = std::filesystem;
using std::chrono::hours;
using std::chrono::minutes;

constexpr std::array<const char*, 6> kZones = {"UTC",          "Europe/Berlin",      "America/New_York",
                                               "Asia/Kolkata", "Pacific/Kiritimati", "Pacific/Pago_Pago"};

std::string answer(const ScriptedLanguageModel::Asked& asked) {
  if (asked.schemaName == "FoundMeetups") return R"({"meetups":[]})";
  if (asked.schemaName == "FoundNews") return R"({"news":[]})";
  return "You and Anna talked about the harbour.";
}

std::string bare(MessagesDayRecord day) {
  day.summary.reset();
  day.news.clear();
  day.meetups.reset();
  return ExchangeCoding::encode(HelperDayNotes{{day}});
}

std::vector<std::string> comparable(const std::vector<MessagesDayRecord>& days, const std::string& cutoffDay) {
  std::vector<std::string> result;
  for (const MessagesDayRecord& day : days)
    if (day.day > cutoffDay) result.push_back(bare(day));
  std::sort(result.begin(), result.end());
  return result;
}

}  // namespace

FilesInMemory::FilesInMemory() {
  std::error_code ignored;
  if (fs::is_directory("/dev/shm", ignored)) _environment.set("TMPDIR", "/dev/shm");
}

ReadHistory::Program ReadHistory::random(std::uint32_t seed) {
  std::minstd_rand numbers(seed);
  const auto below = [&numbers](std::uint32_t limit) { return static_cast<int>(numbers() % limit); };
  const auto anyone = [&] {
    return std::array{"anna", "anna", "ben", "me", "mail", "group", "stranger"}[static_cast<std::size_t>(below(7))];
  };
  Program program;
  const auto add = [&program](const std::string& step) { program.push_back(step); };
  for (int index = 0; index < 6; ++index) add("message " + std::string(anyone()) + " " + std::to_string(below(20'000)));
  add("read");
  const int steps = 6 + below(14);
  for (int index = 0; index < steps; ++index) {
    switch (below(26)) {
      case 0:
      case 1:
      case 2:
      case 3:
      case 4:
      case 5:
        add("message " + std::string(anyone()) + " " + std::to_string(below(3) == 0 ? below(50'000) : below(300)));
        break;
      case 6:
        add("photo anna " + std::to_string(below(3000)));
        break;
      case 7:
        add("text-arrives");
        break;
      case 8:
        add("delete-newest");
        break;
      case 9:
        add("delete-some " + std::to_string(below(7)));
        break;
      case 10:
        add("edit " + std::to_string(below(7)));
        break;
      case 11:
      case 12:
        add("forward " + std::to_string(1 + below(30)));
        break;
      case 13:
        add("forward " + std::to_string(24 * (1 + below(40))));
        break;
      case 14:
        add("wrong-clock " + std::to_string(std::array{2, 31, 400, -3, -40}[static_cast<std::size_t>(below(5))]));
        break;
      case 15:
        add("zone " + std::string(kZones[static_cast<std::size_t>(below(kZones.size()))]));
        break;
      case 16:
        add("keep-data");
        break;
      case 17:
        add("restore-data");
        break;
      case 18:
        add("keep-settings");
        break;
      case 19:
        add("restore-settings");
        break;
      case 20:
        add("keep-store");
        break;
      case 21:
        add("restore-store");
        break;
      case 22:
        add(below(2) == 0 ? "renumber-store" : "lose-state");
        break;
      case 23:
        add(below(2) == 0 ? "damage-notes" : "swap-people");
        break;
      case 24:
        add(std::array{"model on", "model off", "model failing"}[static_cast<std::size_t>(below(3))]);
        break;
      default:
        break;
    }
    if (below(3) != 0) add("read");
  }
  return program;
}

ReadHistory::Program ReadHistory::parse(const std::string& text) {
  Program program;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (!line.empty()) program.push_back(line);
  return program;
}

std::string ReadHistory::text(const Program& program) {
  std::string text;
  for (const std::string& step : program) text += step + "\n";
  return text;
}

ReadHistory::ReadHistory() {
  world.scripted = ScriptedLanguageModel(answer);
  world.scripted.setAvailable(false);
  _groupChat = world.store->addChat({"+15550100001", "+15550100777"});
  _strangerChat = world.store->addChat({"+15550100999"});
  _annaMailChat = world.store->addChat({"Anna@Example.org"});
}

void ReadHistory::run(const Program& program) {
  for (const std::string& step : program) run(step);
}

void ReadHistory::run(const std::string& step) {
  std::istringstream words(step);
  std::string what;
  std::string who;
  words >> what >> who;
  std::int64_t number = 0;
  if (!(words >> number) && !who.empty() && (std::isdigit(static_cast<unsigned char>(who[0])) != 0 || who[0] == '-'))
    number = std::stoll(who);
  if (what == "read")
    world.read();
  else if (what == "message" || what == "photo" || what == "text-arrives" || what == "edit" ||
           what.starts_with("delete-"))
    runOnStore(what, who, number);
  else if (what.starts_with("keep-") || what.starts_with("restore-") || what.starts_with("lose-") ||
           what == "damage-notes" || what == "renumber-store")
    runOnFiles(what, who);
  else
    runOnWorld(what, who, number);
}

Instant ReadHistory::ago(std::int64_t minutesAgo) const {
  return world.scheduler.now() - minutes(minutesAgo) - std::chrono::seconds(_texts % 60) -
         std::chrono::milliseconds(_texts);
}

void ReadHistory::runOnStore(const std::string& what, const std::string& who, std::int64_t number) {
  const std::string serial = std::to_string(++_texts);
  const std::string text = "Is this number " + serial + "? See https://example.org/" + serial;
  if (what == "message") {
    const std::int64_t chat = who == "ben"        ? world.benChat
                              : who == "group"    ? _groupChat
                              : who == "stranger" ? _strangerChat
                              : who == "mail"     ? _annaMailChat
                                                  : world.annaChat;
    world.store->addMessage(chat, ago(number), who == "me", text);
  } else if (what == "photo") {
    world.store->addRow({.chat = world.annaChat, .date = ChatDatabase::appleTime(ago(number))});
  } else if (what == "text-arrives") {
    world.store->execute("UPDATE message SET text = '" + text + "' WHERE text IS NULL AND attributedBody IS NULL");
  } else if (what == "delete-newest") {
    world.store->execute("DELETE FROM message WHERE ROWID = (SELECT MAX(ROWID) FROM message)");
  } else if (what == "delete-some") {
    world.store->execute("DELETE FROM message WHERE ROWID % 7 = " + std::to_string(number));
  } else if (what == "edit") {
    world.store->execute(
        "UPDATE message SET text = 'Happy birthday! https://example.org/edited' WHERE text IS NOT NULL AND ROWID % 7 "
        "= " +
        std::to_string(number));
  }
}

void ReadHistory::copyFolder(const fs::path& from, const fs::path& to) {
  if (!fs::exists(from)) return;
  fs::remove_all(to);
  fs::copy(from, to, fs::copy_options::recursive);
}

void ReadHistory::runOnFiles(const std::string& what, const std::string&) {
  const fs::path kept = world.folder / "kept";
  fs::create_directories(kept);
  if (what == "keep-data") copyFolder(world.shared / "Helper", kept / "Helper");
  if (what == "restore-data") copyFolder(kept / "Helper", world.shared / "Helper");
  if (what == "keep-settings") _keptSettings = std::make_unique<InMemoryUserDefaults>(world.defaults);
  if (what == "restore-settings" && _keptSettings) world.defaults = *_keptSettings;
  if (what == "keep-store")
    world.store->execute("DROP TABLE IF EXISTS kept; CREATE TABLE kept AS SELECT * FROM message");
  if (what == "restore-store")
    world.store->execute(
        "CREATE TABLE IF NOT EXISTS kept AS SELECT * FROM message WHERE 0;"
        "DELETE FROM message WHERE EXISTS (SELECT 1 FROM kept);"
        "INSERT INTO message SELECT * FROM kept");
  if (what == "renumber-store")
    // Another store with the same messages: lower row ids, other guids.
    world.store->execute(
        "CREATE TEMP TABLE ids AS SELECT ROWID AS old, ROW_NUMBER() OVER (ORDER BY date) AS new FROM message;"
        "UPDATE message SET ROWID = -ROWID, guid = 'n' || guid;"
        "UPDATE message SET ROWID = (SELECT new FROM ids WHERE old = -message.ROWID);"
        "UPDATE chat_message_join SET message_id = -message_id;"
        "UPDATE chat_message_join SET message_id = IFNULL((SELECT new FROM ids WHERE old = -message_id), message_id);"
        "DROP TABLE ids");
  if (what == "lose-state") fs::remove(world.shared / "Helper/state.json");
  if (what == "damage-notes") std::ofstream(world.shared / "Helper/notes.json") << "PMX1 and nothing that makes sense";
}

void ReadHistory::runOnWorld(const std::string& what, const std::string& who, std::int64_t number) {
  if (what == "forward") {
    world.scheduler.advance(hours(number));
  } else if (what == "wrong-clock") {
    world.scheduler.setClockError(hours(24 * number));
    world.read();
    world.scheduler.setClockError(Nanoseconds(0));
  } else if (what == "zone") {
    world.zone = who;
  } else if (what == "swap-people") {
    const bool isBenThere = HelperPeopleFile::read(world.key, world.shared)->people.size() == 2;
    world.writePeople(isBenThere ? std::vector{world.anna} : std::vector{world.anna, world.ben});
  } else if (what == "model") {
    world.scripted = who == "failing" ? ScriptedLanguageModel([](const ScriptedLanguageModel::Asked&) -> std::string {
      throw LanguageModelError(LanguageModelError::Reason::question, "answered 400");
    })
                                      : ScriptedLanguageModel(answer);
    world.scripted.setAvailable(who != "off");
  } else {
    throw std::invalid_argument("No such step: " + what);
  }
}

std::vector<std::string> ReadHistory::differencesNextDay() {
  const LocalCalendar calendar = LocalCalendar::inTimeZone(world.zone);
  const std::string today = calendar.dayString(world.scheduler.now());
  do world.scheduler.advance(hours(1));
  while (calendar.dayString(world.scheduler.now()) == today);
  world.read();
  return differences();
}

std::vector<std::string> ReadHistory::differences() {
  const LocalCalendar calendar = LocalCalendar::inTimeZone(world.zone);
  const std::string cutoffDay = calendar.dayString(world.scheduler.now() - ReadContext::kReadWindow);
  const std::vector<std::string> kept = comparable(world.notes().days, cutoffDay);
  const std::vector<std::string> fresh = comparable(world.freshDays(), cutoffDay);
  std::vector<std::string> lines;
  for (const std::string& day : kept)
    if (!std::binary_search(fresh.begin(), fresh.end(), day)) lines.push_back("only in the notes: " + day);
  for (const std::string& day : fresh)
    if (!std::binary_search(kept.begin(), kept.end(), day)) lines.push_back("only fresh: " + day);
  return lines;
}

}  // namespace pellora::support
