// The plain text of a stored message, from its two body columns. Newer stores keep the text only in a typed
// archive stream; the string is found in it by one forward scan, not by unarchiving. Total: any bytes give a text
// or nothing. Tested by Tests/Core/MessageBodyTests.cpp.
//
//   ... "NSString" (5 bytes of class data) 0x2B length UTF-8 ...
//   length: one byte below 0x80, or 0x81 + 16 bits, or 0x82 + 32 bits, little endian
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora {

namespace MessageBody {

// Both columns as the store holds them, absent for NULL; `text` must be valid UTF-8. The result is trimmed, free
// of attachment placeholders (U+FFFC), and may be empty.
std::optional<std::string> text(std::optional<std::string_view> text, std::optional<std::string_view> attributedBody);

}  // namespace MessageBody

}  // namespace pellora
