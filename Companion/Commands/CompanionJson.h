// The companion's `--json` output: one line each, keys sorted, times and identifiers as in the exchange files.
// Characters that could steer a terminal are escaped.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Companion/Commands/StatusReport.h"
#include "Companion/KeyState.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/People/ImportOutcome.h"

namespace pellora::companion_json {

std::string text(const std::vector<HelperPerson>& people);
std::string text(const ImportOutcome& outcome);
std::string text(const KeyState& key);
std::string text(const StatusReport& report);

// The record's exchange form and the person's name (null when unknown).
std::string text(const NamedLately& lately);
std::string text(const std::vector<NamedLately>& records);

std::string sweepText(std::size_t removed, std::size_t kept);
std::string deletedText(const Uuid& person);

}  // namespace pellora::companion_json
