#include "SampleStore/AttributedBodyEncoder.h"

#include <cstdint>

namespace pellora {

namespace {

using std::literals::string_view_literals::operator""sv;

constexpr std::string_view kHeader = "\x04\x0Bstreamtyped\x81\xE8\x03"sv;
constexpr std::string_view kOneObject = "\x84\x01\x40"sv;
constexpr std::string_view kAttributedString = "\x84\x84\x84\x12NSAttributedString\x00"sv;
constexpr std::string_view kMutableAttributedString =
    "\x84\x84\x84\x19NSMutableAttributedString\x00\x84\x84\x12NSAttributedString\x00"sv;
constexpr std::string_view kObject = "\x84\x84\x08NSObject\x00\x85\x92"sv;
constexpr std::string_view kString = "\x84\x84\x84\x08NSString\x01\x94\x84\x01\x2B"sv;
constexpr std::string_view kMutableString =
    "\x84\x84\x84\x0FNSMutableString\x01\x84\x84\x08NSString\x01\x95\x84\x01\x2B"sv;
constexpr std::string_view kRun = "\x86\x84\x02\x69\x49\x01"sv;
constexpr std::string_view kDictionary =
    "\x92\x84\x84\x84\x0CNSDictionary\x00\x94\x84\x01\x69\x01\x92\x84\x96\x96\x1A"
    "__MessagePartAttributeName\x86\x92\x84\x84\x84\x08NSNumber\x00\x84\x84\x07"
    "NSValue\x00\x94\x84\x01\x2A\x84\x99\x99\x00\x86\x86\x86"sv;

void appendLittleEndian(std::string& bytes, std::uint64_t value, int byteCount) {
  for (int index = 0; index < byteCount; ++index) bytes += static_cast<char>(value >> (8 * index) & 0xFF);
}

void appendLength(std::string& bytes, std::size_t length) {
  if (length < 0x80) {
    appendLittleEndian(bytes, length, 1);
  } else if (length <= 0xFFFF) {
    bytes += '\x81';
    appendLittleEndian(bytes, length, 2);
  } else {
    bytes += '\x82';
    appendLittleEndian(bytes, length, 4);
  }
}

// A scalar takes two UTF-16 units when its UTF-8 form takes four bytes.
std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if ((value & 0xC0) != 0x80) ++units;
    if (value >= 0xF0) ++units;
  }
  return units;
}

}  // namespace

std::string AttributedBodyEncoder::encode(std::string_view text, StringClass stringClass) {
  const bool isMutable = stringClass == StringClass::mutableString;
  std::string bytes;
  bytes.reserve(256 + text.size());
  bytes += kHeader;
  bytes += kOneObject;
  bytes += isMutable ? kMutableAttributedString : kAttributedString;
  bytes += kObject;
  bytes += isMutable ? kMutableString : kString;
  appendLength(bytes, text.size());
  bytes += text;
  bytes += kRun;
  appendLength(bytes, utf16Length(text));
  bytes += kDictionary;
  return bytes;
}

}  // namespace pellora
