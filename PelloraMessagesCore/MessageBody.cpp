#include "PelloraMessagesCore/MessageBody.h"

#include <cstdint>
#include <cstring>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::string_view kMarker = "NSString";
constexpr std::size_t kSpanAfterMarker = 16;
constexpr char kStringStart = 0x2B;
constexpr std::uint8_t kLengthIn16Bits = 0x81;
constexpr std::uint8_t kLengthIn32Bits = 0x82;
constexpr std::uint32_t kMaximumLength = 0x100000;  // bytes
constexpr std::string_view kAttachmentPlaceholder = "\uFFFC";

std::uint8_t byteAt(std::string_view bytes, std::size_t position) {
  return static_cast<std::uint8_t>(bytes[position]);
}

// Where the marker ends.
std::optional<std::size_t> endOfMarker(std::string_view blob) {
  if (blob.size() < kMarker.size()) return std::nullopt;
  const void* found = memmem(blob.data(), blob.size(), kMarker.data(), kMarker.size());
  if (found == nullptr) return std::nullopt;
  return static_cast<std::size_t>(static_cast<const char*>(found) - blob.data()) + kMarker.size();
}

// The string whose length prefix is at the beginning of `bytes`.
std::optional<std::string_view> prefixedString(std::string_view bytes) {
  if (bytes.empty()) return std::nullopt;
  std::size_t start = 1;
  std::uint32_t length = byteAt(bytes, 0);
  if (length >= 0x80) {
    std::size_t width = 0;
    if (length == kLengthIn16Bits) width = 2;
    if (length == kLengthIn32Bits) width = 4;
    start += width;
    if (width == 0 || bytes.size() < start) return std::nullopt;
    length = 0;
    for (std::size_t index = width; index > 0; --index) length = length << 8 | byteAt(bytes, index);
  }
  if (length == 0 || length > kMaximumLength || length > bytes.size() - start) return std::nullopt;
  return bytes.substr(start, length);
}

std::optional<std::string_view> archivedString(std::string_view blob) {
  const auto markerEnd = endOfMarker(blob);
  if (!markerEnd) return std::nullopt;
  const std::string_view span = blob.substr(*markerEnd, kSpanAfterMarker);
  const std::size_t plus = span.find(kStringStart);
  if (plus == std::string_view::npos) return std::nullopt;
  const auto string = prefixedString(blob.substr(*markerEnd + plus + 1));
  if (!string || !text::isValidUtf8(*string)) return std::nullopt;
  return string;
}

std::string cleaned(std::string_view text) {
  // Its first byte is rare, so most texts are looked at once, quickly.
  if (text.find(kAttachmentPlaceholder.front()) == std::string_view::npos) return std::string(text::trimmed(text));
  return std::string(text::trimmed(text::replacingAll(text, kAttachmentPlaceholder, "")));
}

}  // namespace

std::optional<std::string> MessageBody::text(std::optional<std::string_view> text,
                                             std::optional<std::string_view> attributedBody) {
  if (text && !text::trimmed(*text).empty()) return cleaned(*text);
  if (!attributedBody) return std::nullopt;
  const auto string = archivedString(*attributedBody);
  if (!string) return std::nullopt;
  return cleaned(*string);
}

}  // namespace pellora
