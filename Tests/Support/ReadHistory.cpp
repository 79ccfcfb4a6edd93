#include "Tests/Support/ReadHistory.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora::support {

namespace fs = std::filesystem;
using std::chrono::hours;
using std::chrono::minutes;

namespace {

constexpr char kAnna[] = "+15550100001";
constexpr char kBen[] = "+15550100002";
constexpr char kStranger[] = "+15550100999";

// What the words of a step say.
struct Words {
  explicit Words(const std::string& step) {
    std::istringstream words(step);
    words >> what >> who;
    if (words >> number || who.empty()) return;
    if (std::isdigit(static_cast<unsigned char>(who[0])) != 0 || who[0] == '-') number = std::stoll(who);
  }

  std::string what;
  std::string who;
  std::int64_t number = 0;
};

// What a random program puts behind the name of a step.
enum class Arguments {
  none,
  chatAndAge,
  age,
  remainder,
  chat,
  hours,
  days,
  daysWrong,
  minutesWrong,
  zone,
  file,
  model
};

// A file that is lost, damaged or restored.
struct Kept {
  const char* name;
  const char* path;  // below the shared folder
};

constexpr std::array<Kept, 6> kFiles = {{{"data", "Helper"},
                                         {"notes", "Helper/notes.json"},
                                         {"state", "Helper/state.json"},
                                         {"lately", "Lately"},
                                         {"people", "people.json"},
                                         {"everything", ""}}};

constexpr std::array<const char*, 10> kZones = {"UTC",
                                                "Europe/Berlin",
                                                "America/New_York",
                                                "America/Santiago",
                                                "Asia/Kolkata",
                                                "Asia/Beirut",  // clocks change at midnight
                                                "Australia/Lord_Howe",
                                                "Pacific/Chatham",
                                                "Pacific/Kiritimati",
                                                "Pacific/Pago_Pago"};

std::string bare(MessagesDayRecord day) {
  day.summary.reset();
  day.news.clear();
  day.meetups.reset();
  return "day " + ExchangeCoding::encode(HelperDayNotes{{day}});
}

std::string bare(MessagesLatelyRecord record) {
  record.summary.reset();
  record.news.clear();
  record.meetups.reset();
  record.writtenAt = {};
  return "lately " + ExchangeCoding::encode(record);
}

void addDifferences(const std::vector<std::string>& kept, std::vector<std::string> expected,
                    std::vector<std::string>& lines) {
  std::sort(expected.begin(), expected.end());
  std::vector<std::string> sorted = kept;
  std::sort(sorted.begin(), sorted.end());
  for (const std::string& each : sorted)
    if (!std::binary_search(expected.begin(), expected.end(), each)) lines.push_back("only kept: " + each);
  for (const std::string& each : expected)
    if (!std::binary_search(sorted.begin(), sorted.end(), each)) lines.push_back("only fresh: " + each);
}

std::vector<std::string> bareDays(const std::vector<MessagesDayRecord>& days, const std::string& after) {
  std::vector<std::string> result;
  for (const MessagesDayRecord& day : days)
    if (day.day > after) result.push_back(bare(day));
  return result;
}

// Of people with days: records of others are left as they are.
std::vector<std::string> bareLately(const HistoryStage::Records& records) {
  std::vector<std::string> result;
  for (const MessagesLatelyRecord& record : records.lately) {
    const bool hasDays = std::any_of(records.days.begin(), records.days.end(),
                                     [&](const MessagesDayRecord& day) { return day.personID == record.personID; });
    if (hasDays) result.push_back(bare(record));
  }
  return result;
}

// What the days make of the records.
std::vector<std::string> latelyOf(const std::vector<MessagesDayRecord>& days, const std::vector<HelperPerson>& people,
                                  const LocalCalendar& calendar) {
  std::vector<std::string> result;
  for (const HelperPerson& person : people) {
    std::vector<MessagesDayRecord> own;
    for (const MessagesDayRecord& day : days)
      if (day.personID == person.id) own.push_back(day);
    if (const auto record = MessagesLatelyRecord::build(own, 30, {}, calendar, person.firstName))
      result.push_back(bare(*record));
  }
  return result;
}

void replace(std::string_view name, std::int64_t value, std::string& sql) {
  for (auto at = sql.find(name); at != std::string::npos; at = sql.find(name))
    sql.replace(at, name.size(), std::to_string(value));
}

void replaceBy(const fs::path& from, const fs::path& to) {
  if (!fs::exists(from)) return;
  fs::remove_all(to);
  fs::create_directories(to.parent_path());
  fs::copy(from, to, fs::copy_options::recursive);
}

}  // namespace

// The steps themselves. In SQL, :number is the step's number and :chat the chat that it names.
struct HistorySteps {
  struct Step {
    const char* name;
    int weight;
    bool isHealedAtOnce;
    Arguments arguments;
    const char* sql;
    void (*run)(ReadHistory&, const Words&);
  };

  static void message(ReadHistory& history, const Words& words) {
    history._stage->store()->addMessage(history.chatOf(words.who), history.ago(words.number), words.who == "me",
                                        history.nextText());
  }

  static void photo(ReadHistory& history, const Words& words) {
    const Instant date = history.ago(words.number);
    history._stage->store()->addRow({.chat = history._annaChat, .date = ChatDatabase::appleTime(date)});
  }

  // Rows a second apart, the first one a day ago.
  static void burst(ReadHistory& history, const Words& words) {
    const std::string chat = std::to_string(history.chatOf(words.who));
    const std::string text = words.what == "photos" ? "NULL" : "'one of many'";
    const std::string first = std::to_string(ChatDatabase::appleTime(history.ago(24 * 60)));
    history._stage->store()->execute(
        "CREATE TEMP TABLE highest AS SELECT IFNULL(MAX(ROWID), 0) AS id FROM message;"
        "WITH RECURSIVE numbers (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM numbers WHERE i < " +
        std::to_string(words.number) +
        ") INSERT INTO message (guid, date, text, service) SELECT lower(hex(randomblob(16))), " + first +
        " + i * 1000000000, " + text +
        ", 'iMessage' FROM numbers;"
        "INSERT INTO chat_message_join (chat_id, message_id, message_date)"
        " SELECT " +
        chat + ", ROWID, date FROM message WHERE ROWID > (SELECT id FROM highest); DROP TABLE highest");
  }

  static void oddRow(ReadHistory& history, const Words& words) {
    constexpr std::array<std::int64_t, 6> kDates = {0, -1, 790'000'000, 10'000'000'001, INT64_MAX, INT64_MIN};
    history._stage->store()->addRow({.chat = history._annaChat,
                                     .date = kDates[static_cast<std::size_t>(words.number) % kDates.size()],
                                     .text = history.nextText()});
  }

  static void readStep(ReadHistory& history, const Words&) { history._stage->read(); }
  static void forward(ReadHistory& history, const Words& words) { history._stage->pass(hours(words.number)); }
  static void forwardDays(ReadHistory& history, const Words& words) { history._stage->pass(hours(24 * words.number)); }

  static void wrongClock(ReadHistory& history, const Words& words) {
    history._stage->setClockError(hours(24 * words.number));
    history._stage->read();
    history._stage->setClockError(Nanoseconds(0));
  }

  // Until it is set again.
  static void clock(ReadHistory& history, const Words& words) { history._stage->setClockError(minutes(words.number)); }

  static void zone(ReadHistory& history, const Words& words) { history._stage->zone = words.who; }

  static void keep(ReadHistory& history, const Words& words) {
    if (words.who == "settings") return history._stage->keepSettings();
    for (const Kept& file : kFiles)
      if (words.who == file.name) replaceBy(history._stage->shared() / file.path, kept(history, file));
  }

  static void restore(ReadHistory& history, const Words& words) {
    if (words.who == "settings") return history._stage->restoreSettings();
    for (const Kept& file : kFiles)
      if (words.who == file.name) replaceBy(kept(history, file), history._stage->shared() / file.path);
  }

  static void lose(ReadHistory& history, const Words& words) {
    if (words.who == "settings") return history._stage->loseSettings();
    for (const Kept& file : kFiles)
      if (words.who == file.name && words.who != "people" && words.who != "everything")
        fs::remove_all(history._stage->shared() / file.path);
  }

  // To half its length, or to nonsense.
  static void damage(ReadHistory& history, const Words& words) {
    const fs::path file = history._stage->shared() / "Helper" / (words.who == "notes" ? "notes.json" : "state.json");
    if (!fs::is_regular_file(file)) return;
    if (words.who == "notes")
      std::ofstream(file) << "PMX1 and nothing that makes sense";
    else
      fs::resize_file(file, fs::file_size(file) / 2);
  }

  // Something lies where the helper wants to write.
  static void obstruct(ReadHistory& history, const Words& words) {
    if (words.who != "notes" && words.who != "state" && words.who != "lately") return;
    const fs::path file = obstructed(history, words.who);
    if (fs::exists(aside(history, words.who))) return;
    if (fs::exists(file)) fs::rename(file, aside(history, words.who));
    fs::create_directories(file.parent_path());
    if (words.who == "lately")
      std::ofstream(file) << "a file in place of the folder";
    else
      fs::create_directories(file / "a folder in place of the file");
  }

  static void clear(ReadHistory& history, const Words&) {
    for (const char* who : {"notes", "state", "lately"}) {
      const fs::path file = obstructed(history, who);
      if (!fs::exists(file) || fs::is_directory(file) == (std::string(who) == "lately")) continue;
      fs::remove_all(file);
      if (fs::exists(aside(history, who))) fs::rename(aside(history, who), file);
    }
    fs::remove_all(history._stage->scratch() / "aside");
  }

  static void keepStore(ReadHistory& history, const Words&) {
    const fs::path kept = history._stage->scratch() / "kept-store.db";
    fs::remove(kept);
    history._stage->store()->execute("VACUUM INTO '" + kept.string() + "'");
  }

  // Another file takes the store's place, as when a backup is put back.
  static void restoreStore(ReadHistory& history, const Words&) {
    const fs::path kept = history._stage->scratch() / "kept-store.db";
    if (!fs::exists(kept)) return;
    std::unique_ptr<SmallStore>& store = history._stage->store();
    const fs::path file = store->path();
    store.reset();
    fs::copy_file(kept, file.string() + ".new");
    fs::rename(file.string() + ".new", file);
    store = SmallStore::open(file);
    store->execute("PRAGMA journal_mode = WAL");
  }

  static void swapPeople(ReadHistory& history, const Words&) {
    std::vector<HelperPerson> people = history.people();
    if (people.size() > 1)
      people.erase(people.begin() + 1, people.end());
    else
      people.push_back({*Uuid::parse("22222222-2222-4222-8222-222222222222"), "Ben", {"5550100002"}, {}});
    history.setPeople(people);
  }

  static void addPerson(ReadHistory& history, const Words&) {
    std::vector<HelperPerson> people = history.people();
    if (people.size() < 3)
      people.push_back({*Uuid::parse("33333333-3333-4333-8333-333333333333"), "Cara", {"5550100999"}, {}});
    history.setPeople(people);
  }

  static void rename(ReadHistory& history, const Words&) {
    std::vector<HelperPerson> people = history.people();
    people[0].firstName = people[0].firstName == "Anna" ? "Sam" : "Anna";
    history.setPeople(people);
  }

  // A number that was one person's is another's.
  static void moveHandle(ReadHistory& history, const Words&) {
    std::vector<HelperPerson> people = history.people();
    if (people.size() > 1) std::swap(people[0].phones, people[1].phones);
    history.setPeople(people);
  }

  static void model(ReadHistory& history, const Words& words) {
    using Model = HistoryStage::Model;
    history._stage->setModel(words.who == "failing" ? Model::fails : words.who == "on" ? Model::answers : Model::off);
  }

  static fs::path kept(const ReadHistory& history, const Kept& file) {
    return history._stage->scratch() / "kept" / file.name;
  }

  static fs::path aside(const ReadHistory& history, const std::string& who) {
    return history._stage->scratch() / "aside" / who;
  }

  static fs::path obstructed(const ReadHistory& history, const std::string& who) {
    fs::create_directories(history._stage->scratch() / "aside");
    if (who == "lately") return history._stage->shared() / "Lately";
    return history._stage->shared() / "Helper" / (who + ".json");
  }

  static const std::vector<Step>& all();
};

const std::vector<HistorySteps::Step>& HistorySteps::all() {
  using A = Arguments;
  constexpr bool kAtOnce = true;
  constexpr bool kNextDay = false;
  static const std::vector<Step> steps = {
      {"read", 0, kAtOnce, A::none, nullptr, readStep},
      {"message", 12, kAtOnce, A::chatAndAge, nullptr, message},
      {"photo", 2, kNextDay, A::age, nullptr, photo},
      {"odd-row", 1, kNextDay, A::remainder, nullptr, oddRow},
      {"burst", 0, kAtOnce, A::none, nullptr, burst},
      {"photos", 0, kAtOnce, A::none, nullptr, burst},
      {"text-arrives", 2, kNextDay, A::none,
       "UPDATE message SET text = 'Here it is? https://example.org/late' WHERE text IS NULL AND attributedBody IS NULL",
       nullptr},
      {"delete-newest", 2, kAtOnce, A::none, "DELETE FROM message WHERE ROWID = (SELECT MAX(ROWID) FROM message)",
       nullptr},
      {"delete-some", 2, kNextDay, A::remainder, "DELETE FROM message WHERE ROWID % 7 = :number", nullptr},
      {"delete-chat", 1, kNextDay, A::chat,
       "DELETE FROM message WHERE ROWID IN (SELECT message_id FROM chat_message_join WHERE chat_id = :chat)", nullptr},
      {"edit", 2, kNextDay, A::remainder,
       "UPDATE message SET text = 'Happy birthday! https://example.org/edited' WHERE text IS NOT NULL AND ROWID % 7 = "
       ":number",
       nullptr},
      {"unsend", 1, kNextDay, A::remainder,
       "UPDATE message SET text = NULL, attributedBody = NULL WHERE ROWID % 7 = :number", nullptr},
      {"shift-dates", 1, kNextDay, A::remainder,
       "UPDATE message SET date = date - 86400000000000 WHERE ROWID % 7 = :number AND date > 1000000000000000",
       nullptr},
      {"turn-round", 1, kNextDay, A::remainder,
       "UPDATE message SET is_from_me = 1 - is_from_me WHERE ROWID % 7 = :number", nullptr},
      {"become-reaction", 1, kNextDay, A::remainder,
       "UPDATE message SET associated_message_type = 2000 - associated_message_type WHERE ROWID % 7 = :number",
       nullptr},
      {"move-to", 1, kNextDay, A::chat,
       "UPDATE OR IGNORE chat_message_join SET chat_id = :chat WHERE message_id % 5 = 2", nullptr},
      {"copy-to", 1, kNextDay, A::chat,
       "INSERT OR IGNORE INTO chat_message_join (chat_id, message_id) SELECT :chat, ROWID FROM message WHERE ROWID % 5 "
       "= "
       "3",
       nullptr},
      {"leave-chats", 1, kNextDay, A::remainder, "DELETE FROM chat_message_join WHERE message_id % 7 = :number",
       nullptr},
      {"join-chats", 1, kNextDay, A::none,
       "INSERT OR IGNORE INTO chat_message_join (chat_id, message_id) SELECT :chat, ROWID FROM message WHERE ROWID NOT "
       "IN (SELECT "
       "message_id FROM chat_message_join)",
       nullptr},
      {"swap-handles", 1, kNextDay, A::none,
       "UPDATE handle SET id = 'x' || id WHERE id IN ('+15550100001', '+15550100999');"
       "UPDATE handle SET id = CASE id WHEN 'x+15550100001' THEN '+15550100999' ELSE '+15550100001' END"
       " WHERE id LIKE 'x%'",
       nullptr},
      {"group-forms", 1, kNextDay, A::chat,
       "INSERT OR IGNORE INTO chat_handle_join (chat_id, handle_id) SELECT :chat, MAX(ROWID) FROM handle", nullptr},
      {"group-dissolves", 1, kNextDay, A::none,
       "DELETE FROM chat_handle_join WHERE ROWID NOT IN (SELECT MIN(ROWID) FROM chat_handle_join GROUP BY chat_id)",
       nullptr},
      // Another store with the same messages: lower row ids, other guids.
      {"renumber-store", 1, kAtOnce, A::none,
       "DELETE FROM chat_message_join WHERE message_id NOT IN (SELECT ROWID FROM message);"
       "CREATE TEMP TABLE ids AS SELECT ROWID AS old, ROW_NUMBER() OVER (ORDER BY date) AS new FROM message;"
       "UPDATE message SET ROWID = -ROWID, guid = 'n' || guid;"
       "UPDATE message SET ROWID = (SELECT new FROM ids WHERE old = -message.ROWID);"
       "UPDATE chat_message_join SET message_id = -message_id;"
       "UPDATE chat_message_join SET message_id = IFNULL((SELECT new FROM ids WHERE old = -message_id), message_id);"
       "DROP TABLE ids",
       nullptr},
      // The same with ids that no read has seen.
      {"raise-rows", 1, kAtOnce, A::none,
       "DELETE FROM chat_message_join WHERE message_id NOT IN (SELECT ROWID FROM message);"
       "CREATE TEMP TABLE top AS SELECT MAX(ROWID) + 1000 AS by FROM message;"
       "UPDATE message SET ROWID = -ROWID, guid = 'n' || guid;"
       "UPDATE message SET ROWID = (SELECT by FROM top) - ROWID;"
       "UPDATE chat_message_join SET message_id = message_id + (SELECT by FROM top); DROP TABLE top;"
       "UPDATE sqlite_sequence SET seq = (SELECT MAX(ROWID) FROM message) WHERE name = 'message'",
       nullptr},
      {"keep-store", 2, kAtOnce, A::none, nullptr, keepStore},
      {"restore-store", 2, kAtOnce, A::none, nullptr, restoreStore},
      {"forward", 4, kAtOnce, A::hours, nullptr, forward},
      {"forward-days", 1, kAtOnce, A::days, nullptr, forwardDays},
      {"wrong-clock", 2, kAtOnce, A::daysWrong, nullptr, wrongClock},
      {"clock", 2, kAtOnce, A::minutesWrong, nullptr, clock},
      {"zone", 3, kAtOnce, A::zone, nullptr, zone},
      {"keep", 5, kAtOnce, A::file, nullptr, keep},
      {"restore", 5, kAtOnce, A::file, nullptr, restore},
      {"lose", 3, kAtOnce, A::file, nullptr, lose},
      {"damage", 1, kAtOnce, A::file, nullptr, damage},
      {"obstruct", 2, kAtOnce, A::file, nullptr, obstruct},
      {"clear", 2, kAtOnce, A::none, nullptr, clear},
      {"swap-people", 2, kAtOnce, A::none, nullptr, swapPeople},
      {"add-person", 1, kAtOnce, A::none, nullptr, addPerson},
      {"rename", 1, kAtOnce, A::none, nullptr, rename},
      {"move-handle", 1, kAtOnce, A::none, nullptr, moveHandle},
      {"model", 3, kAtOnce, A::model, nullptr, model},
  };
  return steps;
}

FilesInMemory::FilesInMemory() {
  std::error_code ignored;
  if (fs::is_directory("/dev/shm", ignored)) _environment.set("TMPDIR", "/dev/shm");
}

namespace {

class RandomProgram {
 public:
  explicit RandomProgram(std::uint32_t seed) : _numbers(seed) {}

  ReadHistory::Program make(ReadHistory::Steps kind) {
    ReadHistory::Program program;
    for (int index = 0; index < 6; ++index) program.push_back("message " + chat() + " " + number(20'000));
    program.emplace_back("read");
    std::vector<const HistorySteps::Step*> steps;
    for (const HistorySteps::Step& step : HistorySteps::all())
      if (kind == ReadHistory::Steps::any || step.isHealedAtOnce)
        steps.insert(steps.end(), static_cast<std::size_t>(step.weight), &step);
    for (int left = 6 + below(14); left > 0; --left) {
      const HistorySteps::Step& step = *steps[static_cast<std::size_t>(below(static_cast<int>(steps.size())))];
      program.push_back(step.name + arguments(step.arguments));
      if (below(3) != 0) program.emplace_back("read");
    }
    return program;
  }

 private:
  int below(int limit) { return static_cast<int>(_numbers() % static_cast<std::uint32_t>(limit)); }
  std::string number(int limit) { return std::to_string(below(limit)); }

  template <class Value, std::size_t count>
  Value oneOf(const std::array<Value, count>& values) {
    return values[static_cast<std::size_t>(below(count))];
  }

  std::string chat() { return oneOf(std::array{"anna", "anna", "ben", "me", "mail", "group", "stranger"}); }

  std::string arguments(Arguments kind) {
    switch (kind) {
      case Arguments::none:
        return "";
      case Arguments::chatAndAge:
        return " " + chat() + " " + (below(3) == 0 ? number(50'000) : number(300));
      case Arguments::age:
        return " " + number(3000);
      case Arguments::remainder:
        return " " + number(7);
      case Arguments::chat:
        return " " + chat();
      case Arguments::hours:
        return " " + std::to_string(1 + below(30));
      case Arguments::days:
        return " " + std::to_string(1 + below(40));
      case Arguments::daysWrong:
        return " " + std::to_string(oneOf(std::array{1, 2, 31, 400, -1, -3, -40}));
      case Arguments::minutesWrong:
        return " " + std::to_string(oneOf(std::array{0, 0, 20, -20, 200, -200, 1500, -1500}));
      case Arguments::zone:
        return std::string(" ") + oneOf(kZones);
      case Arguments::file:
        return std::string(" ") +
               oneOf(std::array{"data", "notes", "state", "lately", "people", "everything", "settings"});
      case Arguments::model:
        return std::string(" ") + oneOf(std::array{"on", "off", "failing"});
    }
    return "";
  }

  std::minstd_rand _numbers;
};

}  // namespace

ReadHistory::Program ReadHistory::random(std::uint32_t seed, Steps steps) {
  return RandomProgram(seed).make(steps);
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

ReadHistory::ReadHistory(std::unique_ptr<HistoryStage> stage) : _stage(std::move(stage)) {
  SmallStore& store = *_stage->store();
  _annaChat = store.addChat({kAnna});
  _benChat = store.addChat({kBen});
  _groupChat = store.addChat({kAnna, "+15550100777"});
  _strangerChat = store.addChat({kStranger});
  _annaMailChat = store.addChat({"Anna@Example.org"});
  setPeople({{*Uuid::parse("11111111-1111-4111-8111-111111111111"), "Anna", {"5550100001"}, {"anna@example.org"}},
             {*Uuid::parse("22222222-2222-4222-8222-222222222222"), "Ben", {"5550100002"}, {}}});
}

void ReadHistory::run(const Program& program) {
  for (const std::string& step : program) run(step);
}

void ReadHistory::run(const std::string& step) {
  const Words words(step);
  const auto& steps = HistorySteps::all();
  const auto found =
      std::find_if(steps.begin(), steps.end(), [&](const HistorySteps::Step& each) { return words.what == each.name; });
  if (found == steps.end()) throw std::invalid_argument("No such step: " + step);
  if (found->run != nullptr) return found->run(*this, words);
  std::string sql = found->sql;
  replace(":number", words.number, sql);
  replace(":chat", chatOf(words.who), sql);
  _stage->store()->execute(sql);
}

std::int64_t ReadHistory::chatOf(const std::string& who) const {
  if (who == "ben") return _benChat;
  if (who == "group") return _groupChat;
  if (who == "stranger") return _strangerChat;
  return who == "mail" ? _annaMailChat : _annaChat;
}

std::string ReadHistory::nextText() {
  const std::string serial = std::to_string(++_texts);
  if (_texts % 4 == 0) return "Happy birthday Sam! https://example.org/cake" + serial;
  return "Is this number " + serial + "? See https://example.org/" + serial;
}

Instant ReadHistory::ago(std::int64_t minutesAgo) const {
  return _stage->now() - minutes(minutesAgo) - std::chrono::seconds(_texts % 60) - std::chrono::milliseconds(_texts);
}

std::vector<HelperPerson> ReadHistory::people() const {
  const auto file = HelperPeopleFile::read(_stage->key(), _stage->shared());
  return file ? file->people : std::vector<HelperPerson>();
}

void ReadHistory::setPeople(const std::vector<HelperPerson>& people) {
  HelperPeopleFile{_stage->now(), people}.write(_stage->key(), _stage->shared());
}

void ReadHistory::putRight() {
  run("clear");
  _stage->setClockError(Nanoseconds(0));
}

std::vector<std::string> ReadHistory::differencesAtOnce() {
  putRight();
  if (!_stage->read()) return {"the read failed"};
  return differences();
}

std::vector<std::string> ReadHistory::differencesNextDay() {
  putRight();
  const LocalCalendar calendar = LocalCalendar::inTimeZone(_stage->zone);
  const std::string today = calendar.dayString(_stage->now());
  do _stage->pass(hours(1));
  while (calendar.dayString(_stage->now()) == today);
  if (!_stage->read()) return {"the read failed"};
  const HistoryStage::Records kept = _stage->records();
  const HistoryStage::Records fresh = _stage->fresh();
  std::vector<std::string> lines;
  addDifferences(bareDays(kept.days, ""), bareDays(fresh.days, ""), lines);
  addDifferences(bareLately(kept), bareLately(fresh), lines);
  return lines;
}

std::vector<std::string> ReadHistory::differences() {
  const LocalCalendar calendar = LocalCalendar::inTimeZone(_stage->zone);
  const std::string cutoffDay = calendar.dayString(_stage->now() - ReadContext::kReadWindow);
  const HistoryStage::Records kept = _stage->records();
  std::vector<std::string> lines;
  addDifferences(bareDays(kept.days, cutoffDay), bareDays(_stage->fresh().days, cutoffDay), lines);
  addDifferences(bareLately(kept), latelyOf(kept.days, people(), calendar), lines);
  return lines;
}

}  // namespace pellora::support
