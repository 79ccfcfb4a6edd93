#include "Pellora_for_Messages/Window/HelperNotice.h"

namespace pellora {

std::optional<HelperNotice> HelperNotice::forState(const HelperEngineState& state) {
  using Kind = HelperEngineState::Kind;
  switch (state.kind) {
    case Kind::needsFullDiskAccess:
      return HelperNotice{
          QStringLiteral("Allow Full Disk Access"),
          QStringLiteral("macOS keeps your Messages history private. Turn on Pellora for Messages in Full Disk Access "
                         "so it can read it on this Mac."),
          QStringLiteral("Open Full Disk Access"), u'F', Action::openFullDiskAccess};
    case Kind::waitingForPellora:
      return HelperNotice{
          QStringLiteral("Open Pellora on this Mac"),
          QStringLiteral("Pellora tells this helper who to look for. Open Pellora once, then come back."),
          QStringLiteral("Check Again"), u'C', Action::read};
    case Kind::failed:
      return HelperNotice{QStringLiteral("Couldn't read Messages"), QString::fromStdString(state.failure),
                          QStringLiteral("Try Again"), u'T', Action::read};
    case Kind::starting:
    case Kind::reading:
    case Kind::idle:
      break;
  }
  return std::nullopt;
}

}  // namespace pellora
