#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "PelloraMessagesCore/Files/ExchangeKey.h"

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

}  // namespace
}  // namespace pellora
