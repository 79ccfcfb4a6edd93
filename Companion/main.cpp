// pellora-companion: the companion side of the exchange on the command line.
#include <signal.h>

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <string_view>

#include "Companion/Commands/CommandLine.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/StandardDescriptors.h"

namespace {

// Commands that look for a model server, or serve a page, on this machine.
constexpr std::array<std::string_view, 4> kWithNetwork = {"model", "setup", "status", "view"};

bool needsNetwork(int argc, char** argv) {
  return std::any_of(argv, argv + argc, [](std::string_view argument) {
    return std::find(kWithNetwork.begin(), kWithNetwork.end(), argument) != kWithNetwork.end();
  });
}

}  // namespace

int main(int argc, char** argv) {
  pellora::StandardDescriptors::fillClosed();
  // A size limit on files is an error to report, not a reason to die and leave half of a file behind.
  signal(SIGXFSZ, SIG_IGN);
  pellora::platform_adapters::confineProcess(needsNetwork(argc, argv));
  const QCoreApplication application(argc, argv);
  return pellora::CommandLine::run(argc, argv);
}
