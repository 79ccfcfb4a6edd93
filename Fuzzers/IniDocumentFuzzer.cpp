// Any bytes make a document of settings or a desktop entry that is spelt as it was, and a value that is set is
// read again, without a change to any other. The first byte chooses the dialect.
#include <cstdint>
#include <cstdlib>

#include "Adapters/Linux/Files/IniDocument.h"
#include "Adapters/Linux/Files/IniValue.h"
#include "PelloraMessagesCore/Text/Text.h"

using pellora::IniDocument;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto dialect = data[0] % 2 == 0 ? IniDocument::Dialect::settings : IniDocument::Dialect::desktopEntry;
  IniDocument document(bytes, dialect);
  if (document.bytes() != bytes) std::abort();
  for (const std::string& group : document.groups())
    for (const std::string& key : document.keys(group))
      if (const auto value = document.value(group, key)) pellora::IniValue::decoded(*value);
  document.set("General", "pellora.number", "42");
  const IniDocument again(document.bytes(), dialect);
  if (document.value("General", "pellora.number") != "42") std::abort();
  if (again.value("General", "pellora.number") != "42") std::abort();
  const std::string quoted = "\"a, \\\"b\"";
  document.set("General", "pellora.text", quoted);
  const IniDocument third(document.bytes(), dialect);
  if (third.value("General", "pellora.text") != quoted) std::abort();
  if (third.value("General", "pellora.number") != "42") std::abort();
  const std::string text = pellora::text::repairedUtf8(bytes);
  if (pellora::IniValue::decoded(pellora::IniValue::encoded(text)) != text) std::abort();
  return 0;
}
