#include "Pellora_for_Messages/ReadOnce.h"

#include <unistd.h>

#include <QCoroTask>
#include <cerrno>
#include <iostream>
#include <system_error>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Pellora_for_Messages/Engine/StatusLine.h"
#include "Pellora_for_Messages/PlatformAdapters.h"

namespace pellora::ReadOnce {

namespace {

int report(const HelperEngine& engine, const HelperPlatform& platform) {
  using Kind = HelperEngine::State::Kind;
  // The exit code stays true when nobody gets the line.
  printText(statusLine(engine.state(), engine.lastReadAt(), platform.scheduler.now(), platform.calendar()) + "\n");
  switch (engine.state().kind) {
    case Kind::idle:
      return kRead;
    case Kind::needsFullDiskAccess:
      std::cerr << "The Messages database can't be read: " << platform.chatDatabase.string() << '\n';
      return kNeedsFullDiskAccess;
    case Kind::waitingForPellora:
      std::cerr << "Pellora hasn't shared a key and people yet; `pellora-companion status` says what is missing.\n";
      return kWaitingForPellora;
    case Kind::failed:
      std::cerr << engine.state().failure << '\n';
      return kFailed;
    case Kind::starting:
      std::cerr << "Another read is running.\n";
      return kAlreadyRunning;
    case Kind::reading:
      break;
  }
  std::cerr << "The read did not finish.\n";
  return kFailed;
}

}  // namespace

int run(std::shared_ptr<HelperConfinement> confinement) {
  PlatformAdapters adapters(std::move(confinement));
  const HelperPlatform platform = adapters.platform();
  if (!adapters.becomeOnlyReader()) {
    std::cerr << "Pellora for Messages is already running.\n";
    return kAlreadyRunning;
  }
  adapters.tellProtections();
  adapters.removeLeftovers();
  HelperEngine engine(platform);
  QCoro::waitFor(engine.readNow());
  return report(engine, platform);
}

}  // namespace pellora::ReadOnce

namespace pellora {

bool printText(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = retried([&] { return ::write(STDOUT_FILENO, text.data(), text.size()); });
    if (written < 0) {
      std::cerr << "The output cannot be written: " << std::generic_category().message(errno) << ".\n";
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace pellora
