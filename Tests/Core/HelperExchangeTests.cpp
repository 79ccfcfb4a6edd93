#include <gtest/gtest.h>

#include <QCoreApplication>

#include "Adapters/InMemory/InMemoryEvents.h"
#include "Adapters/InMemory/InMemoryStorage.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

namespace {

TEST(HelperExchange, NamesAreFixed) {
  EXPECT_STREQ(HelperExchange::kGroupIdentifier, "app.pellora.messages");
  EXPECT_STREQ(HelperExchange::kPeopleFile, "people.json");
  EXPECT_STREQ(HelperExchange::kHeartbeatFile, "heartbeat.json");
  EXPECT_STREQ(HelperExchange::kNotesFile, "Helper/notes.json");
  EXPECT_STREQ(HelperExchange::kLatelyFolder, "Lately");
  EXPECT_STREQ(HelperExchange::kDaysFolder, "Days");
  EXPECT_STREQ(HelperExchange::kPeopleContext, "people");
  EXPECT_STREQ(HelperExchange::kNotesContext, "helper-notes");
  EXPECT_EQ(HelperExchange::latelyContext("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10"),
            "lately:6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10");
}

TEST(HelperExchange, FolderIsTheOneThatThePlatformGives) {
  EXPECT_EQ(HelperExchange::folderURL(FixedGroupContainer("/shared")), "/shared");
  EXPECT_EQ(HelperExchange::folderURL(FixedGroupContainer(std::nullopt)), std::nullopt);
}

TEST(HelperReadRequest, CallsTheHandlerForEverySignalWhileTheObserverLives) {
  InMemoryNotificationCenter center;
  int calls = 0;
  auto observer = HelperReadRequest::observe(center, [&] { ++calls; });
  ASSERT_NE(observer, nullptr);
  EXPECT_TRUE(HelperReadRequest::post(center));
  EXPECT_TRUE(HelperReadRequest::post(center));
  QCoreApplication::processEvents();
  EXPECT_EQ(calls, 2);
  center.post("app.pellora.messages.other");
  QCoreApplication::processEvents();
  EXPECT_EQ(calls, 2);
  observer.reset();
  HelperReadRequest::post(center);
  QCoreApplication::processEvents();
  EXPECT_EQ(calls, 2);
}

TEST(HelperReadRequest, GoesByItsFullName) {
  InMemoryNotificationCenter center;
  int calls = 0;
  const auto observer = center.observe("app.pellora.messages.readNow", [&] { ++calls; });
  HelperReadRequest::post(center);
  QCoreApplication::processEvents();
  EXPECT_EQ(calls, 1);
}

}  // namespace

}  // namespace pellora
