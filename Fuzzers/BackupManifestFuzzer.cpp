// Manifests, key bags and file records of phone backups: whatever the bytes, reading them ends with a value or none.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Companion/History/PhoneBackup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  switch (data[0] % 3) {
    case 0: {
      const auto manifest = pellora::BackupManifest::parse(bytes);
      if (manifest) pellora::BackupKeyBag::parse(manifest->keyBag);
      return 0;
    }
    case 1: {
      const auto record = pellora::BackupFileRecord::parse(bytes);
      if (record && record->wrappedKey.empty()) std::abort();
      return 0;
    }
    default: {
      const auto bag = pellora::BackupKeyBag::parse({data + 1, size - 1});
      // Without the password nothing unwraps.
      if (bag && bag->unwrap(3, {data + 1, size - 1})) std::abort();
      return 0;
    }
  }
}
