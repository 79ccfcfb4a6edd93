#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora {
namespace {

TEST(ExchangeKey, TakesExactly32Bytes) {
  for (std::size_t size = 0; size <= 65; ++size) {
    const std::vector<std::uint8_t> bytes(size, 5);
    const std::optional<ExchangeKey> key = ExchangeKey::fromData(SecretBytes(bytes));
    EXPECT_EQ(key.has_value(), size == 32) << size;
    if (key) EXPECT_EQ(key->data(), SecretBytes(bytes));
  }
}

TEST(ExchangeKey, RandomKeysDiffer) {
  std::set<std::vector<std::uint8_t>> seen;
  for (int count = 0; count < 100; ++count) {
    const ExchangeKey key = ExchangeKey::random();
    ASSERT_EQ(key.data().size(), ExchangeKey::kSize);
    seen.emplace(key.data().span().begin(), key.data().span().end());
  }
  EXPECT_EQ(seen.size(), 100u);
}

// The flags of the memory mapping that holds this address, as the system lists them.
std::string mappingFlags(const void* address) {
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  std::ifstream maps("/proc/self/smaps");
  bool isWanted = false;
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " ", &begin, &end) == 2)
      isWanted = wanted >= begin && wanted < end;
    else if (isWanted && line.starts_with("VmFlags:"))
      return line + " ";
  }
  return {};
}

TEST(ExchangeKey, StaysOutOfCoreDumpsAndSwap) {
  const ExchangeKey key = ExchangeKey::random();
  const std::string flags = mappingFlags(key.data().span().data());
  EXPECT_NE(flags.find(" dd "), std::string::npos) << flags;
  // Locked where the system lets this process lock at all; the address sanitizer, for one, does not.
  constexpr std::size_t kPage = 4096;
  void* const other = mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(other, MAP_FAILED);
  mlock(other, kPage);
  if (mappingFlags(other).find(" lo ") != std::string::npos) EXPECT_NE(flags.find(" lo "), std::string::npos) << flags;
  munmap(other, kPage);
}

TEST(ExchangeKey, IsGoneFromMemoryWhenItIsMovedReplacedOrDestroyed) {
  SecretBytes key(std::vector<std::uint8_t>(32, 7));
  const void* const place = key.span().data();
  SecretBytes moved = std::move(key);
  EXPECT_EQ(key.size(), 0u);
  EXPECT_EQ(moved.span().data(), place);
  moved = SecretBytes(std::vector<std::uint8_t>(32, 8));
  EXPECT_EQ(mappingFlags(place).find(" dd "), std::string::npos) << "the page is still there";
}

}  // namespace
}  // namespace pellora
