// The helper's memory between reads besides its notes: where the last read ended, which days wait for the
// language model, the lately questions with their answers, and what the model's work has cost. Sealed in
// "Helper/state.json" with the context "helper-state". Losing it costs a full read and the questions that the notes
// do not answer. Written by whichever process reads, under the read lock; the companion reads it to show it.
//
// A second small file, "Helper/reread.json" (context "helper-reread"), carries the companion's request that the next
// read look at everything again. It is a file of its own so that a running read cannot overwrite the request.
// Tested by Tests/Core/HelperStateTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

// How finished reads left things. The next read that finds any of it different reads everything.
struct LastReadMark {
  Instant at;                  // of the first read that left them so
  std::int64_t lastRowID = 0;  // as the settings say it
  std::string rowMark;         // of that row: its guid and date; empty when there is no such row
  std::string notesMark;       // of the notes file that was current at the end
  std::string day;             // day string of `at` in the calendar of that read
  std::string zone;            // where that calendar's days begin
  std::string names;           // fingerprint of the people's names

  bool operator==(const LastReadMark&) const = default;
};

// A day that is not analyzed yet although the model was asked: what it has answered, and when to ask again. Holds for
// the content of `record` only (its counts and last message).
struct WaitingDay {
  MessagesDayRecord record;  // with the findings of the questions that were answered
  bool isSentenceAnswered = false;
  bool isNewsAnswered = false;
  bool areMeetupsAnswered = false;
  std::int64_t triesUsed = 0;
  Instant nextTryAt;

  bool operator==(const WaitingDay&) const = default;
};

// The last lately question of a person and what came of it.
struct LatelyAnswer {
  Uuid personID;
  std::string instructions;
  std::string prompt;
  std::optional<std::string> summary;  // absent also when the guard rejected the answer
  bool isAnswered = false;             // false: to be asked (again) from `nextTryAt` on
  std::int64_t triesUsed = 0;
  Instant nextTryAt;

  bool operator==(const LatelyAnswer&) const = default;
};

// The cost of the model's work. Tokens count as far as the server reports them.
struct ModelUse {
  std::int64_t questions = 0;  // that reached the server, answered or not
  std::int64_t promptTokens = 0;
  std::int64_t answerTokens = 0;
  std::int64_t milliseconds = 0;
  std::int64_t days = 0;  // analyzed

  bool operator==(const ModelUse&) const = default;
};

struct ModelAccount {
  std::int64_t waitingDays = 0;            // of the notes, not analyzed at the end of the last read
  std::optional<std::string> lastFailure;  // of the last read's last question without an answer, as the error says it
  std::optional<Instant> nextTryAt;        // when a day that waits is asked about again, if that is known
  std::optional<Instant> pausedUntil;      // no question at all is asked before
  ModelUse lastRead;                       // of the last read that asked anything
  ModelUse total;

  bool operator==(const ModelAccount&) const = default;
};

// Of the read that is running. One that was killed leaves it behind: whether a read runs is for the read lock to say.
struct ReadProgress {
  Instant startedAt;
  std::int64_t daysDone = 0;
  std::int64_t daysTotal = 0;  // for the model; 0 before it is known

  bool operator==(const ReadProgress&) const = default;
};

struct HelperState {
  using Folder = std::optional<std::filesystem::path>;

  // How much the next read is asked to do again.
  enum class Reread {
    store,    // every message of the window; the model's answers for unchanged days stay
    language  // and the model is asked again about every day and person
  };

  std::int64_t notesVersion = 0;  // of the day records below; others are of no use
  std::optional<LastReadMark> lastRead;
  std::vector<MessagesDayRecord> analyzed;  // by a read that has not finished; not in trusted notes yet
  std::vector<WaitingDay> waiting;
  std::vector<LatelyAnswer> lately;
  std::vector<std::string> askAgain;  // ids of days that the model is to be asked about again
  ModelAccount model;
  std::optional<ReadProgress> progress;

  // Absent when the file is missing, cannot be read, does not open or does not decode.
  static std::optional<HelperState> load(const ExchangeKey& key, const Folder& folder);

  // Throws FileError.
  void save(const ExchangeKey& key, const Folder& folder) const;

  // For the companion: asks the next read to look at everything again. Throws FileError.
  static void requestReread(const ExchangeKey& key, const Folder& folder, Reread reread);

  // The request that no read has fulfilled yet; absent also when its file does not open.
  static std::optional<Reread> requestedReread(const ExchangeKey& key, const Folder& folder);

  // Takes the request away. Errors are ignored: a request that stays is fulfilled once more.
  static void removeRereadRequest(const Folder& folder);

  bool operator==(const HelperState&) const = default;
};

}  // namespace pellora
