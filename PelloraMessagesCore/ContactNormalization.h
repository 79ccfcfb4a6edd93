// The one spelling in which phone numbers and e-mail addresses are stored and compared.
// Tested by Tests/Core/ContactNormalizationTests.cpp.
#pragma once

#include <string>
#include <string_view>

namespace pellora {

namespace ContactNormalization {

// Number characters of any script only, and of those the last ten: a country code falls away.
std::string phone(std::string_view text);

// Trimmed and lower-cased.
std::string email(std::string_view text);

}  // namespace ContactNormalization

}  // namespace pellora
