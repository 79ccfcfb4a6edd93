#include <gtest/gtest.h>

#include <QCoreApplication>

#include "Adapters/InMemory/InMemoryNotificationCenter.h"
#include "PelloraMessagesCore/HelperReadRequest.h"

namespace pellora {
namespace {

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
