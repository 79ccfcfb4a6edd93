// One read from start to end, in stages: the key and the people, what earlier reads left behind, what the store says,
// the files that need no model, the model's work, the progress keys. One object per read, kept alive by the coroutine
// that runs it. The delegate may go away while the read waits; the read then ends without touching anything more.
// Tested by Tests/App/HelperEngineReadTests.cpp, ReadHistoryTests.cpp and ModelOutageTests.cpp.
#pragma once

#include <QPointer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "Pellora_for_Messages/Engine/DayAnalysis.h"
#include "Pellora_for_Messages/Engine/HelperPlatform.h"
#include "Pellora_for_Messages/Engine/ReadResults.h"

namespace pellora {

class HelperReadCycle {
 public:
  // News of a running read for the engine.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    virtual void databaseIsReadable() = 0;
    virtual void peopleFound(std::int64_t count) = 0;  // the checks are passed, the work begins
    virtual void analysisProgress(std::int64_t done, std::int64_t total) = 0;
    virtual void recordsWritten(std::int64_t count) = 0;
    // Whether a read was asked for since this one began: then the model's work gives way to it after the day at hand.
    virtual bool isReadAgainWanted() const = 0;
  };

  struct Outcome {
    enum class Kind { needsFullDiskAccess, waitingForPellora, failed, finished, abandoned };

    Kind kind = Kind::abandoned;
    std::string failure;
    Instant startedAt;
    bool isMoreWaiting = false;  // of finished: the store has more new rows, to be read at once
    std::optional<Instant> nextTryAt =
        {};  // of finished: when the model is to be asked again, unless a read comes first
  };

  // While the model works, files are written when so much time has passed since they last were.
  static constexpr std::chrono::seconds kWriteInterval{2};

  // `owner` is the delegate's own object: the read is abandoned when it goes, and a query that is running then ends
  // when `stop` is requested.
  HelperReadCycle(const HelperPlatform& platform, QObject* owner, Delegate& delegate, std::stop_token stop);

  // Never throws.
  Task<Outcome> run();

 private:
  // Ends a read whose owner is gone.
  struct Abandoned {};
  // The key and the people, who may be nobody.
  struct Shared {
    ExchangeKey key;
    std::vector<HelperPerson> people;
  };
  // The results of the store and the notes, before any question.
  struct Findings {
    StoreReading reading;
    ReadResults results;
    std::vector<OpenDay> open;
  };

  void requireOwner() const;
  template <class Value>
  Task<Value> whileOwned(Task<Value> task) const;
  template <class Work>
  auto inBackground(Work work) const -> Task<std::invoke_result_t<Work>>;

  Task<std::optional<Shared>> loadShared() const;
  Task<Outcome> read(Shared shared);
  Task<bool> isModelThere(ReadMemory& memory) const;
  Task<void> write(ReadResults& results, bool onlyChanged);
  Task<void> workWithModel(const ReadContext& context, Findings& findings);
  Task<void> analyzeDays(ModelTurn& turn, const ReadContext& context, Findings& findings);
  Task<void> keep(OpenDay& day, bool isAnalyzed, ReadResults& results);
  Task<void> askLately(ModelTurn& turn, const ReadContext& context, ReadResults& results, Uuid person);
  void closeAccount(ModelTurn& turn, HelperState& state) const;
  void storeProgress(const ReadContext& context, const Findings& findings) const;

  const HelperPlatform& _platform;
  QPointer<QObject> _owner;
  Delegate& _delegate;
  std::stop_token _stop;
  Instant _now;
  Instant _writtenAt;
};

}  // namespace pellora
