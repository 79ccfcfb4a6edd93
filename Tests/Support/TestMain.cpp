// The main function of every test program: an event loop exists, as it does in the real processes, and the time
// zone is fixed unless a test chooses another.
#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("TZ")) qputenv("TZ", "UTC");
  testing::InitGoogleTest(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
