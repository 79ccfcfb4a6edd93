// What the helper prints when it runs without a window.
#pragma once

#include <string_view>

namespace pellora {

// Writes all of it to standard output. When that fails it says so in one sentence on standard error; the result is
// false.
bool printText(std::string_view text);

}  // namespace pellora
