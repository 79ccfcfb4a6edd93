// Of the news that a language model proposes, keeps only those that the person's own message bears out. Pure.
// Tested by Tests/Core/NewsGuardTests.cpp and NewsRepeatTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/Prompts.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

namespace NewsGuard {

struct Candidate {
  std::int64_t message = 0;  // line number of the prompt, from 1
  std::string sentence;
  MessagesNews::Kind kind = MessagesNews::Kind::work;
  std::string when;
};

// `lines` are those of the prompt, in its order.
std::vector<MessagesNews> accept(const std::vector<Candidate>& candidates, const std::vector<MessageLine>& lines,
                                 std::string_view firstName, Instant referenceDate);

// Whether any of the lines could bear news out: the person's own, about a life event, without a hedge or an order.
// When it is false `accept` keeps nothing of any answer about these lines, so the model need not be asked.
bool hasCandidateLine(const std::vector<MessageLine>& lines);

// The model's sentence with the name as the caller spells it, or nothing when it is not about the person.
std::optional<std::string> fixSentence(std::string_view sentence, std::string_view firstName);

// "Sam had a baby, Ida" for a newborn's sentence that has the baby as its subject, or nothing.
std::optional<std::string> birthRepair(const Candidate& candidate, const MessageLine& line, std::string_view firstName);

// Whether sentence and source share a content word.
bool overlaps(std::string_view sentence, std::string_view source, std::string_view firstName);

// Whether the sentence tells of something the person only went to or heard of.
bool isSecondHand(std::string_view sentence, std::string_view firstName);

// Whether the source speaks of a life event.
bool hasEvent(std::string_view source);

// Oldest first, without items that add nothing to one kept before them: of the same kind, with every telling word of
// the item and the same words that turn a meaning round (NewsWords::telling). A repeat too many does less harm than a
// loss.
std::vector<MessagesNews> withoutRepeats(const std::vector<MessagesNews>& news, std::string_view firstName);

}  // namespace NewsGuard

}  // namespace pellora
