// A file of the shared folder in its sealed form: what every kind of sealed file does alike.
// Tested by Tests/Core/HelperPeopleFileTests.cpp and the tests of the other kinds.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Files/ExchangeKey.h"

namespace pellora {

namespace SealedFile {

// The payload; absent when the folder is, and when the file cannot be read or does not open.
std::optional<std::string> read(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder,
                                std::string_view name, std::string_view context);

// `name` is relative to the folder; its parent folders are created. Throws FileError, also for an absent folder,
// and std::runtime_error when sealing fails.
void write(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder, std::string_view name,
           std::string_view context, std::string_view payload);

}  // namespace SealedFile

}  // namespace pellora
