// The companion's `--json` output: one line each, keys sorted, times and identifiers as in the exchange files.
// Characters that could steer a terminal are escaped.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Companion/Commands/StatusReport.h"
#include "Companion/CompanionContext.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/People/PeopleMerge.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora::companion_json {

// The value on one line, as described above.
std::string line(const JsonValue& value);

// With "appears" (in Messages) where the store can be read.
std::string text(const std::vector<HelperPerson>& people, const std::optional<StoreHandles>& handles);
std::string text(const ImportOutcome& outcome);
std::string text(const KeyState& key);
std::string text(const StatusReport& report);

// The record's exchange form and the person's name (null when unknown).
std::string text(const NamedLately& lately);
std::string text(const std::vector<NamedLately>& records);

std::string sweepText(std::size_t removed, std::size_t kept);
std::string deletedText(const Uuid& person);

}  // namespace pellora::companion_json
