// The notice card that a state calls for: texts shown as they stand, in no other language, and what the button does.
// Tested by Tests/Window/HelperNoticeTests.cpp.
#pragma once

#include <QString>
#include <optional>

#include "Pellora_for_Messages/Engine/HelperEngineState.h"

namespace pellora {

struct HelperNotice {
  enum class Action { openFullDiskAccess, read };

  QString title;
  QString body;
  QString button;
  QChar mnemonic;  // the letter of `button` that presses it together with Alt
  Action action = Action::read;

  // Absent where no card is shown.
  static std::optional<HelperNotice> forState(const HelperEngineState& state);

  bool operator==(const HelperNotice&) const = default;
};

}  // namespace pellora
