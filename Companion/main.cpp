// pellora-companion: the companion side of the exchange on the command line.
#include <QCoreApplication>

#include "Companion/Commands/CommandLine.h"
#include "PelloraMessagesCore/Files/StandardDescriptors.h"

int main(int argc, char** argv) {
  pellora::StandardDescriptors::fillClosed();
  const QCoreApplication application(argc, argv);
  return pellora::CommandLine::run(argc, argv);
}
