// Which secret store this process uses: the desktop's secret service, or a key file below the user's data folder, with
// PELLORA_SECRET_STORE=file or when the user's kept choice says so; the environment wins over the choice. Any other
// value of that variable but "secret-service" gives a store that is unavailable and says why, so that a slip of the pen
// never puts the key where nobody meant it.
#pragma once

#include <memory>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

std::unique_ptr<SecretStore> makeSecretStore();

// The kept choice: the file "secret-store" next to the key file, whose text is "file".
namespace KeptSecretStore {

bool isFile();

// Throws FileError.
void useFile();
void useKeyring();

// The two stores themselves, whatever is chosen.
std::unique_ptr<SecretStore> file();
std::unique_ptr<SecretStore> keyring();

}  // namespace KeptSecretStore

}  // namespace pellora
