// The adapters that speak to the desktop, with stand-ins for it on a private bus.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "Adapters/Linux/Desktop/FileManagerPrivacySettings.h"
#include "Adapters/Linux/Process/SignalQuitRequests.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::waitUntil;

TEST(FileManagerPrivacySettings, ShowsTheNearestFolderThatExists) {
  const support::TemporaryFolder folder;
  const auto database = folder / "Library/Messages/chat.db";
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(database), folder.path());
  std::filesystem::create_directories(folder / "Library");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(database), folder / "Library");
  std::filesystem::create_directories(folder / "Library/Messages");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(database), folder / "Library/Messages");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder("/nowhere/at/all/chat.db"), "/");
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder("chat.db"), "");
}

TEST(FileManagerPrivacySettings, AFileInPlaceOfAFolderIsPassedBy) {
  const support::TemporaryFolder folder;
  std::ofstream(folder / "Library") << "x";
  EXPECT_EQ(FileManagerPrivacySettings::nearestFolder(folder / "Library/Messages/chat.db"), folder.path());
}

TEST(SignalQuitRequests, HandsSignalsToTheEventLoop) {
  int quits = 0;
  {
    SignalQuitRequests requests;
    requests.observe([&quits] { ++quits; });
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
      const int before = quits;
      raise(signal);
      EXPECT_EQ(quits, before) << "called from within the handler";
      EXPECT_TRUE(waitUntil([&] { return quits > before; }));
    }
  }
}

}  // namespace
}  // namespace pellora
