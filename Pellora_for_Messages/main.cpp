// The process: reads the command line and hands over to the app or to a single read.
#include <signal.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QCoroTask>
#include <cerrno>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Pellora_for_Messages/Engine/HelperEngineState.h"
#include "Pellora_for_Messages/Engine/HelperOptions.h"
#include "Pellora_for_Messages/HelperApp.h"
#include "Pellora_for_Messages/PlatformAdapters.h"

namespace {

using namespace pellora;

constexpr int kCouldNotPrint = 1;
constexpr int kWrongUsage = 2;

// Exit codes of a single read.
constexpr int kRead = 0;
constexpr int kNeedsFullDiskAccess = 3;
constexpr int kWaitingForPellora = 4;
constexpr int kFailed = 5;
constexpr int kAlreadyRunning = 6;

// Writes all of it to standard output, for a helper without a window. When that fails it says so in one sentence on
// standard error; the result is false.
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

// A keyring that cannot be asked is another matter than a key that was never shared.
std::string whyItWaits(SecretStore& secrets) {
  const std::string reason = secrets.find(ExchangeKeychain::attributes()).reason;
  return reason.empty() ? "Pellora hasn't shared a key and people yet; `pellora-companion status` says what is missing."
                        : reason + " `pellora-companion status` says what to do.";
}

// Prints the status line and, unless the read succeeded, one sentence on standard error. The result is the exit code.
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
      std::cerr << whyItWaits(platform.secrets) << '\n';
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

// `--read-once`: one read without a display.
int readStore(std::shared_ptr<HelperConfinement> confinement) {
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

int tell(const std::string& refusal) {
  std::cerr << refusal << '\n';
  return kFailed;
}

int readOnce(int argc, char** argv) {
  if (const std::string shortage = PlatformAdapters::shortage(); !shortage.empty()) return tell(shortage);
  const auto confinement = PlatformAdapters::confineProcess(PlatformAdapters::Purpose::oneRead);
  if (const std::string refusal = PlatformAdapters::refusal(*confinement); !refusal.empty()) return tell(refusal);
  const QCoreApplication application(argc, argv);
  return readStore(confinement);
}

}  // namespace

int main(int argc, char** argv) {
  StandardDescriptors::fillClosed();
  // A size limit on files and a closed pipe are errors to report, not reasons to die.
  signal(SIGXFSZ, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
  std::string problem;
  const auto options = HelperOptions::parse(std::vector<std::string>(argv + 1, argv + argc), problem);
  if (!options) {
    std::cerr << "pellora-for-messages: " << problem << "\nTry \"pellora-for-messages --help\".\n";
    return kWrongUsage;
  }
  switch (options->mode) {
    case HelperOptions::Mode::help:
      return printText(HelperOptions::helpText()) ? 0 : kCouldNotPrint;
    case HelperOptions::Mode::version:
      return printText("pellora-for-messages " + PlatformAdapters::version() + "\n") ? 0 : kCouldNotPrint;
    case HelperOptions::Mode::readOnce:
      return readOnce(argc, argv);
    case HelperOptions::Mode::app:
      break;
  }
  if (const std::string shortage = PlatformAdapters::shortage(); !shortage.empty()) return tell(shortage);
  const auto confinement = PlatformAdapters::confineProcess(PlatformAdapters::Purpose::window);
  if (const std::string refusal = PlatformAdapters::refusal(*confinement); !refusal.empty()) return tell(refusal);
  return runHelperApp(argc, argv, *options, confinement);
}
