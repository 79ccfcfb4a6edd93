// Reads a file, or standard input for "-", whole.
#pragma once

#include <cstddef>
#include <string>

namespace pellora::input_file {

inline constexpr std::size_t kMaximumSize = std::size_t{256} << 20;  // bytes

// Throws CompanionFailure.
std::string read(const std::string& name);

}  // namespace pellora::input_file
