#include "SampleStore/SampleStoreWriter.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "SampleStore/MessageInserter.h"
#include "SampleStore/SampleDialogue.h"
#include "SampleStore/StoreConnection.h"

namespace pellora {

namespace {

using Chat = MessageInserter::Chat;

constexpr std::size_t kGroups = 4;
constexpr std::size_t kScenePeople = 8;   // whose days hold scenes
constexpr int kSceneDays = 27;            // back from now, well inside the window that is read
constexpr unsigned kOldPart = 2;          // percent of the history that lies in whole seconds
constexpr unsigned kTapbacks = 4;         // percent of messages that get a reaction
constexpr std::size_t kPlannedPart = 95;  // percent of all rows; reactions and late rows make up the rest

// Everybody's chats: one person may have several.
struct Cast {
  std::vector<std::vector<Chat>> known;
  std::vector<Chat> groups;
  std::vector<Chat> strangers;
};

// A conversation to come: when, in which chat, how many messages or which lines.
struct Session {
  Instant start;
  Chat chat;
  std::size_t length = 0;
  std::vector<SampleLine> lines;  // of a scene
  bool isStranger = false;
};

Cast makeChats(MessageInserter& inserter, const SampleOptions& options, const std::vector<SamplePerson>& people) {
  Cast cast;
  std::size_t chats = 0;
  for (std::size_t index = 0; index < people.size(); ++index) {
    std::vector<Chat> own{inserter.addChat({people[index].phone}, "iMessage")};
    if (!people[index].email.empty()) own.push_back(inserter.addChat({people[index].email}, "iMessage"));
    if (index % 4 == 1) own.push_back(inserter.addChat({people[index].phone}, "SMS"));
    chats += own.size();
    cast.known.push_back(std::move(own));
  }
  for (std::size_t group = 0; group < kGroups && people.size() >= 2; ++group, ++chats) {
    std::vector<std::string> handles{people[group % people.size()].phone, people[(group + 1) % people.size()].phone};
    for (std::size_t more = 0; more < group; ++more) handles.push_back(sampleStrangerPhone(20'000 + group * 10 + more));
    cast.groups.push_back(inserter.addChat(handles, "iMessage"));
  }
  const std::size_t strangers = std::max(people.size() / 2 + 4, options.chats > chats ? options.chats - chats : 0);
  cast.strangers.push_back(inserter.addChat({"262966"}, "SMS"));
  for (std::size_t index = 1; index < strangers; ++index)
    cast.strangers.push_back(inserter.addChat({sampleStrangerPhone(index)}, index % 3 == 0 ? "SMS" : "iMessage"));
  return cast;
}

// A moment of the day when people write, `daysAgo` before the end.
Instant daytime(SampleRandom& random, const SampleOptions& options, std::int64_t daysAgo) {
  const auto second = static_cast<std::int64_t>(random.below(54'000));
  const Instant midnight = std::chrono::floor<std::chrono::days>(options.now) - std::chrono::days(daysAgo);
  const Instant moment = midnight + std::chrono::hours(8) + std::chrono::seconds(second);
  return std::min(moment, options.now - std::chrono::hours(1));
}

std::vector<Session> planScenes(SampleRandom& random, const SampleOptions& options, const Cast& cast,
                                const std::vector<SamplePerson>& people) {
  std::vector<Session> sessions;
  const std::size_t count = std::min(people.size(), kScenePeople);
  if (count == 0) return sessions;
  const std::size_t scenes = SampleDialogue::scenes("").size();
  for (std::size_t index = 0; index < scenes; ++index) {
    const std::size_t person = index % count;
    const auto own = SampleDialogue::scenes(people[person].firstName)[index];
    const auto daysAgo = static_cast<std::int64_t>(1 + (index * 5) % static_cast<std::size_t>(kSceneDays));
    const Instant start = daytime(random, options, std::min<std::int64_t>(daysAgo, options.days - 1));
    // Half of a scene may come from the person's other address: one day, two chats.
    sessions.push_back({start, cast.known[person].front(), own.size(), own, false});
    if (cast.known[person].size() > 1)
      sessions.push_back({start + std::chrono::minutes(40),
                          cast.known[person].back(),
                          2,
                          {{false, "(this is my other address)"}, {true, "Got it here too"}},
                          false});
  }
  return sessions;
}

std::vector<Session> plan(SampleRandom& random, const SampleOptions& options, const Cast& cast,
                          const std::vector<SamplePerson>& people) {
  std::vector<Session> sessions = planScenes(random, options, cast, people);
  std::size_t planned = 0;
  for (const Session& session : sessions) planned += session.length;
  const auto days = static_cast<std::uint64_t>(std::max(options.days, 1));
  while (planned < options.messages * kPlannedPart / 100) {
    Session session;
    session.start = daytime(random, options, static_cast<std::int64_t>(random.below(days)));
    const std::uint64_t kind = random.below(100);
    session.length = 2 + random.below(12);
    if (kind < 12 && !cast.strangers.empty()) {
      session.chat = cast.strangers[random.below(cast.strangers.size())];
      session.isStranger = true;
      session.length = 1 + random.below(2);
    } else if (kind < 25 && !cast.groups.empty()) {
      session.chat = cast.groups[random.below(cast.groups.size())];
    } else if (!cast.known.empty()) {
      // Some are written to much more than others.
      const std::size_t person = std::min(random.below(cast.known.size()), random.below(cast.known.size()));
      session.chat = cast.known[person][random.below(cast.known[person].size())];
    } else {
      session.chat = cast.strangers.front();
      session.isStranger = true;
    }
    planned += session.length;
    sessions.push_back(std::move(session));
  }
  std::stable_sort(sessions.begin(), sessions.end(),
                   [](const Session& left, const Session& right) { return left.start < right.start; });
  return sessions;
}

std::vector<SampleLine> linesOf(const Session& session, SampleRandom& random) {
  if (!session.lines.empty()) return session.lines;
  if (!session.isStranger) return SampleDialogue::chat(random, session.length);
  std::vector<SampleLine> lines;
  for (std::size_t index = 0; index < session.length; ++index) lines.push_back(SampleDialogue::strangerLine(random));
  return lines;
}

// Puts the history into the store, up to the number of rows asked for.
class Filler {
 public:
  Filler(MessageInserter& inserter, SampleRandom& random, const SampleOptions& options, const Cast& cast)
      : _inserter(inserter), _random(random), _options(options), _cast(cast) {}

  void fill(const std::vector<Session>& sessions) {
    for (const Session& session : sessions) add(session);
    // Messages that another device hands over late: rows whose order is not that of their dates.
    while (!isFull() && !_cast.known.empty()) {
      const auto daysAgo = static_cast<std::int64_t>(_random.below(static_cast<std::uint64_t>(_options.days)));
      const Chat& chat = _cast.known[_random.below(_cast.known.size())].front();
      add({daytime(_random, _options, daysAgo), chat, 1 + _random.below(4), {}, false});
    }
    while (!isFull()) add({_options.now - std::chrono::hours(2), _cast.strangers.front(), 1, {}, true});
  }

 private:
  bool isFull() const { return _written >= _options.messages; }

  void add(const Session& session) {
    using DateUnit = MessageInserter::DateUnit;
    const std::size_t old = _options.messages * kOldPart / 100;
    Instant moment = session.start;
    for (const SampleLine& line : linesOf(session, _random)) {
      if (isFull()) return;
      const DateUnit unit = _written < old ? DateUnit::seconds : DateUnit::nanoseconds;
      moment += std::chrono::seconds(5 + _random.below(90)) + std::chrono::nanoseconds(_random.below(1'000'000'000));
      _inserter.addMessage(session.chat, line, moment, unit);
      ++_written;
      if (unit == DateUnit::seconds || !_random.chance(kTapbacks) || isFull()) continue;
      _inserter.addTapback(session.chat, !line.fromMe, moment + std::chrono::seconds(3));
      ++_written;
    }
    if (_cast.groups.empty() || isFull() || _random.below(80) != 0) return;
    _inserter.addRename(_cast.groups.front(), "Sunday hikers", moment);
    ++_written;
  }

  MessageInserter& _inserter;
  SampleRandom& _random;
  const SampleOptions& _options;
  const Cast& _cast;
  std::size_t _written = 0;
};

void makeParents(const std::filesystem::path& file) {
  std::error_code error;
  if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path(), error);
  if (error) throw StoreError("The folder of " + file.string() + " cannot be made: " + error.message() + ".");
  if (std::filesystem::exists(file, error)) throw StoreError("There is a file already: " + file.string() + ".");
}

void writeHistory(const std::filesystem::path& file, const SampleOptions& options) {
  StoreConnection connection(file, StoreConnection::Mode::create);
  connection.execute("PRAGMA page_size = 4096; PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF; BEGIN");
  connection.execute(MessagesSchema::tables());
  SampleRandom random(options.seed);
  {
    MessageInserter inserter(connection, random.next());
    const std::vector<SamplePerson> people = samplePeople(options.seed, options.people);
    const Cast cast = makeChats(inserter, options, people);
    const std::vector<Session> sessions = plan(random, options, cast, people);
    Filler(inserter, random, options, cast).fill(sessions);
  }
  connection.execute(MessagesSchema::indexes());
  connection.execute(MessagesSchema::triggers());
  connection.execute(
      "COMMIT; PRAGMA wal_checkpoint(TRUNCATE); PRAGMA synchronous = NORMAL;"
      "INSERT INTO kvtable (key, value) VALUES ('lastFailedMessageDate', x'00')");
  connection.keepLogOnClose();
}

}  // namespace

void SampleStoreWriter::create(const std::filesystem::path& file, const SampleOptions& options) {
  makeParents(file);
  try {
    writeHistory(file, options);
  } catch (...) {
    std::error_code ignored;
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(file.native() + suffix, ignored);
    throw;
  }
}

void SampleStoreWriter::append(const std::filesystem::path& file, std::size_t count, std::uint64_t seed,
                               const std::function<Instant()>& clock, const std::function<void(std::size_t)>& pause) {
  StoreConnection connection(file, StoreConnection::Mode::existing);
  connection.keepLogOnClose();
  SampleRandom random(seed ^
                      static_cast<std::uint64_t>(connection.queryInteger("SELECT IFNULL(MAX(ROWID), 0) FROM message")));
  std::vector<Chat> chats;
  {
    StoreStatement oneToOne(
        connection.handle(),
        "SELECT chat_id, MIN(handle_id) FROM chat_handle_join GROUP BY chat_id HAVING COUNT(*) = 1");
    while (oneToOne.nextRow()) chats.push_back({oneToOne.integer(0), oneToOne.integer(1)});
  }
  if (chats.empty()) throw StoreError("The store has no one-to-one chat to write in.");
  MessageInserter inserter(connection, random.next());
  std::size_t written = 0;
  while (written < count) {
    const Chat& chat = chats[random.below(chats.size())];
    const std::size_t together = std::min<std::size_t>(1 + random.below(5), count - written);
    connection.execute("BEGIN IMMEDIATE");
    for (const SampleLine& line : SampleDialogue::chat(random, together)) inserter.addMessage(chat, line, clock());
    connection.execute("COMMIT");
    written += together;
    pause(written);
  }
}

}  // namespace pellora
