// One read from start to end: checks, what to fetch, day records, analysis, notes, lately records, progress keys.
// Made anew for every read and kept alive by the coroutine that runs it. The delegate may go away while the read
// waits for the language model or the event loop; the read then ends without touching anything more.
// Tested by Tests/App/HelperEngineReadTests.cpp.
#pragma once

#include <QPointer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Files/ExchangeKey.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperHeartbeat.h"
#include "PelloraMessagesCore/HelperPeopleFile.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/LatelySummaries.h"
#include "PelloraMessagesCore/MessagesDayDraft.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "PelloraMessagesCore/Ports/AbsentLanguageModel.h"
#include "Pellora_for_Messages/Engine/HelperPlatform.h"

namespace pellora {

class HelperReadCycle {
 public:
  // What the engine hears of while a read goes on.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    virtual void databaseIsReadable() = 0;
    virtual void peopleFound(std::int64_t count) = 0;  // the checks are passed, the work begins
    virtual void analysisProgress(std::int64_t done, std::int64_t total) = 0;
    virtual void recordWritten() = 0;
  };

  struct Outcome {
    enum class Kind { needsFullDiskAccess, waitingForPellora, failed, finished, abandoned };

    Kind kind = Kind::abandoned;
    std::string failure;
    Instant startedAt;
  };

  static constexpr std::chrono::seconds kReadWindow{2'592'000};  // 30 days of 86,400 s
  static constexpr std::int64_t kWindowDays = 30;
  static constexpr int kFullLimit = 50'000;        // rows
  static constexpr int kIncrementalLimit = 5'000;  // rows
  static constexpr std::size_t kRecordsTogether = 16;

  // `owner` is the delegate's own object: the read is abandoned when it goes.
  HelperReadCycle(const HelperPlatform& platform, std::shared_ptr<LatelySummaries> summaries, QObject* owner,
                  Delegate& delegate);

  // Never throws.
  Task<Outcome> run();

 private:
  // What is read of the store, and what for.
  struct Fetched {
    std::vector<HistoryMessage> messages;
    std::int64_t lastRow = 0;
    HelperDayNotes::Reread reread = HelperDayNotes::Reread::full;
  };
  // Where the pieces of the read meet.
  struct Work {
    ExchangeKey key;
    HelperPeopleFile people;
    LocalCalendar calendar;
    std::string cutoffDay{};
    std::int64_t lastRow = 0;                       // 0 before the first read
    std::optional<std::string> knownFingerprint{};  // the people of the last read
    // From here on filled in the background.
    std::optional<ChatDatabase> database{};
    std::optional<HandleMatcher> matcher{};
    ChatParticipants participants{};
    std::string fingerprint{};
    std::optional<HelperDayNotes> stored{};  // absent under another notes version and when it cannot be read
    bool modelIsThere = false;
  };

  bool isAbandoned() const { return _owner.isNull(); }
  Task<void> inBackground(std::function<void()> work) const;
  std::optional<HelperPeopleFile> loadPeople(const ExchangeKey& key) const;
  Task<void> read(Work& work);
  void prepare(Work& work, bool areNotesCurrent) const;
  static bool isIncremental(const Work& work);
  Fetched fetchAll(Work& work) const;
  Fetched fetchNew(Work& work) const;
  static std::vector<MessagesDayDraft> draftsOf(std::vector<HistoryMessage> messages, const Work& work);
  Task<std::vector<MessagesDayRecord>> recordsOf(std::vector<MessagesDayDraft>& drafts, Work& work);
  static std::vector<MessagesDayDraft*> withoutKnownDays(std::vector<MessagesDayDraft>& drafts, const Work& work,
                                                         const HelperState& analysed,
                                                         std::vector<MessagesDayRecord>& records);
  Task<bool> analyse(MessagesDayDraft& draft, const Work& work);
  void keepAnalysed(const Work& work, HelperState& analysed, const MessagesDayRecord& record) const;
  HelperDayNotes mergedNotes(const std::vector<MessagesDayRecord>& records, HelperDayNotes::Reread reread,
                             Work& work) const;
  Task<void> writeLatelyRecords(HelperDayNotes notes, Work& work);
  Task<void> writeRecords(std::vector<MessagesLatelyRecord>& records, const Work& work) const;
  void storeProgress(const Work& work, std::int64_t lastRow) const;

  const HelperPlatform& _platform;
  std::shared_ptr<LatelySummaries> _summaries;
  QPointer<QObject> _owner;
  Delegate& _delegate;
  std::filesystem::path _chatDatabase;
  std::optional<std::filesystem::path> _folder;
  Instant _now;
  AbsentLanguageModel _absentModel;
};

}  // namespace pellora
