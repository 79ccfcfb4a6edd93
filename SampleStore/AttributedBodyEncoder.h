// Writes the typed archive stream in which a Messages store keeps the body of a message: one attributed string
// with one run of attributes over the whole text.
//
//   04 0B "streamtyped" 81 E8 03                  version, length, signature, system version 1000
//   84 01 40                                      one object
//   84 84 84 12 "NSAttributedString" 00           its class, its superclasses, the string's class
//   84 84 08 "NSObject" 00 85 92
//   84 84 84 08 "NSString" 01 94                  (the mutable forms add a class of their own before it)
//   84 01 2B  length  UTF-8                       length: one byte, or 81 + 16 bits, or 82 + 32 bits, little endian
//   86 84 02 69 49 01 length                      a run and its length in UTF-16 units
//   92 84 84 84 0C "NSDictionary" 00 94 ...       the run's attributes
#pragma once

#include <string>
#include <string_view>

namespace pellora {

class AttributedBodyEncoder {
 public:
  enum class StringClass { plain, mutableString };

  // `text` is valid UTF-8 of less than 2 GiB.
  static std::string encode(std::string_view text, StringClass stringClass);
};

}  // namespace pellora
