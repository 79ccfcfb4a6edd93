// `key`: whether there is an exchange key. Its bytes are never shown.
#pragma once

#include "Companion/CompanionContext.h"

namespace pellora {

struct KeyCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// `key use-file` and `key use-keyring`: where the key is kept from now on, for every program of the user without an
// environment variable.
struct KeyPlaceCommand {
  enum class Place { file, keyring };

  Place place = Place::file;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
