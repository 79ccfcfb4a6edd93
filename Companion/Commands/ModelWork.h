// What the helper's language work has cost and what of it waits, in words: for `model` and `status`. Pure but for the
// reading of the state file. Tested by Tests/Companion/ModelCommandTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "Companion/CompanionContext.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora::model_work {

// Absent without a key or a state that opens.
std::optional<ModelAccount> load(const CompanionContext& context);

// "12 questions, 3400 tokens, 95 seconds"; empty when nothing was asked.
std::string cost(const ModelUse& use);

// "about 2 hours for 600 days with this model; newest days first"; empty when nothing waits or nothing is known.
std::string estimate(const ModelAccount& account);

// "The model server answered 500 (...). 84 days wait; next try in 15 minutes."; empty when there is nothing to say.
std::string waiting(const ModelAccount& account, Instant now);

JsonValue json(const ModelAccount& account);

}  // namespace pellora::model_work
