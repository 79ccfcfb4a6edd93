// pellora-companion: the companion side of the exchange on the command line.
#include <signal.h>

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "Companion/Commands/CommandLine.h"
#include "Companion/Commands/Commands.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace {

using Words = std::span<const std::string_view>;

// Commands that look for a model server on this machine.
constexpr std::array<std::string_view, 3> kWithNetwork = {"model", "setup", "status"};

// Those that open something.
constexpr std::array<std::string_view, 1> kOpening = {pellora::ViewCommand::kName};

bool hasOneOf(Words words, int argc, char** argv) {
  return std::any_of(argv, argv + argc, [words](std::string_view argument) {
    return std::find(words.begin(), words.end(), argument) != words.end();
  });
}

}  // namespace

int main(int argc, char** argv) {
  pellora::StandardDescriptors::fillClosed();
  // A size limit on files is an error to report, not a reason to die and leave half of a file behind.
  signal(SIGXFSZ, SIG_IGN);
  if (hasOneOf(kOpening, argc, argv))
    if (const auto runtime = pellora::platform_adapters::runtimeFolder())
      pellora::platform_adapters::prepareToOpen(pellora::ViewCommand::page(*runtime));
  pellora::platform_adapters::confineProcess(hasOneOf(kWithNetwork, argc, argv));
  const QCoreApplication application(argc, argv);
  return pellora::CommandLine::run(argc, argv);
}
