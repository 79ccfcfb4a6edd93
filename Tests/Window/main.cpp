// The main function of the window tests: windows exist, on no display. PELLORA_TEST_DISPLAY=1 shows them.
#include <gtest/gtest.h>

#include <QApplication>

namespace {

void dropLibraryChatter(QtMsgType, const QMessageLogContext&, const QString&) {}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("TZ")) qputenv("TZ", "UTC");
  if (qEnvironmentVariableIsEmpty("PELLORA_TEST_DISPLAY")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(dropLibraryChatter);
  testing::InitGoogleTest(&argc, argv);
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
