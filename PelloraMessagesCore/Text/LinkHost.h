// Host names of links: where one ends in a text, known top-level domains, international names, addresses of
// machines, ports. Pure functions, callable from any thread; time is in proportion to the name's length.
// Tested by Tests/Core/LinkDetectorTests.cpp and LinkWordsTests.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pellora::LinkHost {

// Longer names are none.
inline constexpr std::size_t kMaximumBytes = 253;

// A host name in a text: where it ends, and how it is written in an address.
struct Found {
  std::size_t end = 0;
  std::string ascii;
  bool isComplete = false;  // no text was cut off behind it, so a port or a path may follow
};

// The name at `begin` of an address with a scheme: any valid name, whether or not its top-level domain exists.
std::optional<Found> nameAt(std::string_view text, std::size_t begin);

// Behind a full stop directly behind a name that ends at `end`, when more of an address follows it ("example.com./a");
// else `end`.
std::size_t emptyLabelEnd(std::string_view text, std::size_t end);

// "[::1]" at `begin`.
std::optional<Found> addressInBracketsAt(std::string_view text, std::size_t begin);

// A valid name as it is written in an address: international names in punycode, ASCII ones as they are.
std::optional<std::string> ascii(std::string_view host);

// Whether the name's last label is a top-level domain of the public list, in any case or alphabet.
bool endsInTopLevelDomain(std::string_view host);

// Whether a name with a known top-level domain, but without scheme, "www.", port and path, was meant as an address:
// chat typing has many words with a full stop and no space behind it.
bool isMeant(std::string_view host);

// "192.168.0.1": four numbers from 0 to 255.
bool isIPv4(std::string_view host);

// The address between the brackets of "[::1]".
bool isIPv6(std::string_view address);

// `host` without a text in a script without spaces or symbols directly behind a complete name ("example.com" followed
// by Chinese); all of it when it has a known top-level domain as it is, or no such name within.
std::string_view withoutTextBehind(std::string_view host);

// Behind ":8080" at `begin`, or behind ":" alone when a path follows; `begin` without a port; absent when the number is
// too large, so that nothing can open the address.
std::optional<std::size_t> portEnd(std::string_view text, std::size_t begin);

}  // namespace pellora::LinkHost
