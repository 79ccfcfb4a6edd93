// What a read has found so far, and the files it goes to: day notes, state, lately records. The files are written on
// the background thread, one call at a time; while none is running the fields belong to the main thread.
// Tested by Tests/App/HelperEngineReadTests.cpp and ModelOutageTests.cpp.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "Pellora_for_Messages/Engine/DayPlan.h"
#include "Pellora_for_Messages/Engine/ReadContext.h"
#include "Pellora_for_Messages/Engine/StoreReading.h"

namespace pellora {

class ReadResults {
 public:
  // A lately question that the model has not answered in these words.
  struct OpenLately {
    Uuid person;
    MessagesModel::Question question;
    std::vector<MessagesDayRecord> days;
  };

  // Merges the records of the plan into what is remembered.
  ReadResults(const ReadContext& context, ReadMemory memory, const std::vector<MessagesDayRecord>& records,
              HelperDayNotes::Reread reread);

  // Puts an analyzed day, or what was answered about a day that waits, into notes and state.
  void keepAnalyzed(const MessagesDayRecord& record);
  void keepWaiting(const WaitingDay& waiting);
  void keepLately(LatelyAnswer answer);

  // Of this person, when it is to be asked now.
  std::optional<OpenLately> openLately(const Uuid& person) const;

  // The entry of this very question; null when it was never asked.
  const LatelyAnswer* answerTo(const OpenLately& open) const;

  // Each writes only what differs from the file. They throw FileError.
  void saveNotes();
  void saveState();

  // One record per person with days, in one pass; `onlyChanged` leaves out people whose days and summary are as last
  // written. Returns how many were written.
  std::size_t writeRecords(Instant writtenAt, bool onlyChanged);

  // The end of the read: drops from the state what nobody needs any more, and notes where the read ended.
  void finish(const StoreReading& reading);

  // The progress is stored: from now on the notes say what was analyzed.
  void trustNotes();

  // Days that are not analyzed, or to be asked about again.
  std::int64_t waitingDays() const;

  const HelperDayNotes& notes() const { return _notes; }
  const std::string& notesMark() const { return _notesMark; }  // of the notes file as last saved or met
  HelperState& state() { return _state; }

 private:
  using DaysOfPeople = std::vector<std::pair<const HelperPerson*, std::vector<MessagesDayRecord>>>;

  void replaceDay(const MessagesDayRecord& record);
  DaysOfPeople daysOfPeople(const std::set<Uuid>* only) const;
  std::vector<MessagesDayRecord> daysOf(const Uuid& person) const;
  const LatelyAnswer* answerOf(const Uuid& person) const;
  std::optional<std::string> knownSummary(const Uuid& person, const std::vector<MessagesDayRecord>& days,
                                          const std::string& firstName) const;
  void adoptRecordedSummary(const Uuid& person, const std::vector<MessagesDayRecord>& days,
                            const std::string& firstName);

  const ReadContext& _context;
  HelperDayNotes _notes;
  bool _areNotesSaved = false;
  std::string _notesMark;
  HelperState _state;
  std::optional<HelperState> _savedState;
  bool _isStateLost;
  bool _areNotesTrusted;    // the next read begins with the notes even when this one stores no progress
  std::set<Uuid> _changed;  // people whose records are to be written
};

}  // namespace pellora
