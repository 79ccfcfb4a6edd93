// Where the user's session bus listens, found without ever starting one: $DBUS_SESSION_BUS_ADDRESS, else the
// socket `bus` in $XDG_RUNTIME_DIR. Absent when there is neither, or when the address only asks for a new bus.
#pragma once

#include <optional>
#include <string>

namespace pellora {

namespace SessionBusAddress {

std::optional<std::string> find();

}  // namespace SessionBusAddress

}  // namespace pellora
