// The process: reads the command line and hands over to the app or to a single read.
#include <signal.h>

#include <QCoreApplication>
#include <iostream>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Pellora_for_Messages/Engine/HelperOptions.h"
#include "Pellora_for_Messages/HelperApp.h"
#include "Pellora_for_Messages/PlatformAdapters.h"
#include "Pellora_for_Messages/ReadOnce.h"

namespace {

constexpr int kCouldNotPrint = 1;
constexpr int kWrongUsage = 2;

int tell(const std::string& refusal) {
  std::cerr << refusal << '\n';
  return pellora::ReadOnce::kFailed;
}

int readOnce(int argc, char** argv) {
  using pellora::PlatformAdapters;
  if (const std::string shortage = PlatformAdapters::shortage(); !shortage.empty()) return tell(shortage);
  const auto confinement = PlatformAdapters::confineProcess(PlatformAdapters::Purpose::oneRead);
  if (const std::string refusal = PlatformAdapters::refusal(*confinement); !refusal.empty()) return tell(refusal);
  const QCoreApplication application(argc, argv);
  return pellora::ReadOnce::run(confinement);
}

}  // namespace

int main(int argc, char** argv) {
  using pellora::HelperOptions;
  pellora::StandardDescriptors::fillClosed();
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
      return pellora::printText(HelperOptions::helpText()) ? 0 : kCouldNotPrint;
    case HelperOptions::Mode::version:
      return pellora::printText("pellora-for-messages " + pellora::PlatformAdapters::version() + "\n") ? 0
                                                                                                       : kCouldNotPrint;
    case HelperOptions::Mode::readOnce:
      return readOnce(argc, argv);
    case HelperOptions::Mode::app:
      break;
  }
  using pellora::PlatformAdapters;
  if (const std::string shortage = PlatformAdapters::shortage(); !shortage.empty()) return tell(shortage);
  const auto confinement = PlatformAdapters::confineProcess(PlatformAdapters::Purpose::window);
  if (const std::string refusal = PlatformAdapters::refusal(*confinement); !refusal.empty()) return tell(refusal);
  return pellora::runHelperApp(argc, argv, *options, confinement);
}
