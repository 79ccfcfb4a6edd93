#include <gtest/gtest.h>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

constexpr std::int64_t kAt = 1'740'821'400;

HelperHeartbeat sample() {
  return {instantAtSeconds(kAt), HelperHeartbeat::Status::waitingForPellora, instantAtSeconds(kAt - 60), "1.2.3"};
}

TEST(HelperHeartbeat, IsPlainJsonAtItsPlace) {
  const support::TemporaryFolder folder;
  EXPECT_EQ(HelperHeartbeat::url(folder.path()), folder / "heartbeat.json");
  sample().write(folder / "shared");
  EXPECT_EQ(AtomicFile::read(folder / "shared/heartbeat.json"),
            R"({"at":"2025-03-01T09:30:00Z","helperVersion":"1.2.3","lastReadAt":"2025-03-01T09:29:00Z",)"
            R"("status":"waitingForPellora"})");
  EXPECT_EQ(HelperHeartbeat::read(folder / "shared"), sample());
}

TEST(HelperHeartbeat, IsAbsentWhenMissingOrDamaged) {
  const support::TemporaryFolder folder;
  EXPECT_EQ(HelperHeartbeat::read(folder.path()), std::nullopt);
  sample().write(folder.path());
  const std::string whole = *AtomicFile::read(folder / "heartbeat.json");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    AtomicFile::write(folder / "heartbeat.json", whole.substr(0, size));
    ASSERT_EQ(HelperHeartbeat::read(folder.path()), std::nullopt) << size;
  }
  AtomicFile::write(folder / "heartbeat.json", R"({"at":"2025-03-01T09:30:00Z","helperVersion":"1","status":"idle"})");
  EXPECT_EQ(HelperHeartbeat::read(folder.path()), std::nullopt);
  EXPECT_TRUE(std::filesystem::exists(folder / "heartbeat.json"));
}

TEST(HelperHeartbeat, WithoutAFolderReadsAbsentAndRefusesToWrite) {
  EXPECT_EQ(HelperHeartbeat::url(std::nullopt), std::nullopt);
  EXPECT_EQ(HelperHeartbeat::read(std::nullopt), std::nullopt);
  EXPECT_THROW(sample().write(std::nullopt), FileError);
}

TEST(HelperHeartbeat, IsFreshForLessThan2400Seconds) {
  const auto isFreshAfter = [](std::chrono::nanoseconds age) { return sample().isFresh(instantAtSeconds(kAt) + age); };
  EXPECT_TRUE(isFreshAfter(std::chrono::seconds(0)));
  EXPECT_TRUE(isFreshAfter(std::chrono::seconds(2399)));
  EXPECT_TRUE(isFreshAfter(std::chrono::seconds(2400) - std::chrono::nanoseconds(1)));
  EXPECT_FALSE(isFreshAfter(std::chrono::seconds(2400)));
  EXPECT_FALSE(isFreshAfter(std::chrono::hours(24 * 365)));
}

TEST(HelperHeartbeat, FromTheFutureIsFresh) {
  EXPECT_TRUE(sample().isFresh(instantAtSeconds(kAt - 1)));
  EXPECT_TRUE(sample().isFresh(instantAtSeconds(kAt - 1'000'000'000)));
}

}  // namespace
}  // namespace pellora
