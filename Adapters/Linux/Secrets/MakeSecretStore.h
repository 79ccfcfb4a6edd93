// Which secret store this process uses: the desktop's secret service, or, with PELLORA_SECRET_STORE=file, a key
// file below the user's data folder. Any other value of that variable but "secret-service" gives a store that is
// unavailable and says why, so that a slip of the pen never puts the key where nobody meant it.
#pragma once

#include <memory>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

std::unique_ptr<SecretStore> makeSecretStore();

}  // namespace pellora
