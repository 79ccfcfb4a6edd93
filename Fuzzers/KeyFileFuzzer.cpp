// Any bytes make a key file, what is set in it is read again, and no other value changes by that. The first byte says
// whether entries may come before the first group.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include "Adapters/Linux/Files/KeyFile.h"

using pellora::KeyFile;

namespace {

using Values = std::map<std::string, std::optional<std::string>>;

Values valuesOf(const KeyFile& file) {
  Values values;
  for (const std::string& group : file.groups())
    for (const std::string& key : file.keys(group)) values[group + "\n" + key] = file.value(group, key);
  return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string firstGroup = data[0] % 2 == 0 ? "General" : "";
  KeyFile file(bytes, firstGroup);
  Values values = valuesOf(file);
  file.setValue("General", "pellora.number", "42");
  file.setText("General", "pellora.text", " a\\b; \"c\"\n ");
  const KeyFile again(file.bytes(), firstGroup);
  if (again.value("General", "pellora.number") != "42") std::abort();
  if (again.text("General", "pellora.text") != " a\\b; \"c\"\n ") std::abort();
  Values changed = valuesOf(again);
  for (Values* each : {&values, &changed})
    for (const char* key : {"General\npellora.number", "General\npellora.text"}) each->erase(key);
  if (values != changed) std::abort();
  return 0;
}
