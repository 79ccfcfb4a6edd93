// Body columns of any content: a text or nothing, and never a text that is no UTF-8 or not trimmed. The first byte
// says how the rest is shared between the two columns.
#include <cstdint>
#include <cstdlib>

#include "PelloraMessagesCore/MessageBody.h"
#include "PelloraMessagesCore/Text/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t cut = data[0] == 0 ? 0 : bytes.size() * data[0] / 255;
  const std::string plain = pellora::text::repairedUtf8(bytes.substr(0, cut));
  const auto column = cut == 0 ? std::nullopt : std::optional<std::string_view>(plain);
  const auto body = pellora::MessageBody::text(column, bytes.substr(cut));
  if (body && (!pellora::text::isValidUtf8(*body) || pellora::text::trimmed(*body) != *body)) std::abort();
  return 0;
}
