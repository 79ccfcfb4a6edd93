// What makes a host name of a link: known top-level domains, international names, addresses of machines. Pure
// functions, callable from any thread; time is bounded by the name's length.
// Tested by Tests/Core/LinkDetectorTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora::LinkHost {

// Longer names are none.
inline constexpr std::size_t kMaximumBytes = 253;

// A valid name as it stands in an address: international names in punycode, ASCII ones as written.
std::optional<std::string> ascii(std::string_view host);

// Whether the name's last label is a top-level domain of the public list, in any case or alphabet.
bool endsInTopLevelDomain(std::string_view host);

// Whether a name without scheme, "www." and path is more likely a missing space after a full stop, a file or a
// number with its unit than a host.
bool looksAccidental(std::string_view host);

// "192.168.0.1": four numbers from 0 to 255.
bool isIPv4(std::string_view host);

// What stands between the brackets of "[::1]".
bool isIPv6(std::string_view address);

// `host` without a text in a script without spaces that is written right behind a complete name
// ("example.com" followed by Chinese).
std::string_view withoutTextBehind(std::string_view host);

// Han, Kana, Hangul, Thai and the like: written without spaces between words or before other scripts.
bool isUnspacedScript(char32_t scalar);

}  // namespace pellora::LinkHost
