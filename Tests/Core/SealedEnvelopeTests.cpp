#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "PelloraMessagesCore/Files/SealedFile.h"

namespace pellora {
namespace {

ExchangeKey keyOf(std::uint8_t byte) {
  const std::vector<std::uint8_t> bytes(ExchangeKey::kSize, byte);
  return *ExchangeKey::fromData(SecretBytes(bytes));
}

TEST(SealedEnvelope, OpensToThePayloadThatWasSealed) {
  const ExchangeKey key = keyOf(1);
  for (const std::size_t size : {0, 1, 15, 16, 17, 4096, 1 << 20}) {
    const std::string payload(size, 'x');
    EXPECT_EQ(SealedEnvelope::open(SealedEnvelope::seal(payload, key, "people"), key, "people"), payload) << size;
  }
  const std::string binary("\0\xFF\x80PMX1\0", 8);
  EXPECT_EQ(SealedEnvelope::open(SealedEnvelope::seal(binary, key, "people"), key, "people"), binary);
}

TEST(SealedEnvelope, EmptyPayloadTakes32Bytes) {
  const std::string envelope = SealedEnvelope::seal("", keyOf(1), "people");
  EXPECT_EQ(envelope.size(), 32u);
  EXPECT_EQ(envelope.substr(0, 4), "PMX1");
  EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), "people"), "");
}

TEST(SealedEnvelope, IsLongerThanThePayloadBy32Bytes) {
  EXPECT_EQ(SealedEnvelope::seal("hello", keyOf(1), "people").size(), 37u);
}

// The vector of the algorithm's own publication for an all-zero key, nonce and 16-byte block, no associated data.
TEST(SealedEnvelope, OpensAKnownBoxOfAes256Gcm) {
  const std::uint8_t box[] = {0xce, 0xa7, 0x40, 0x3d, 0x4d, 0x60, 0x6b, 0x6e, 0x07, 0x4e, 0xc5,
                              0xd3, 0xba, 0xf3, 0x9d, 0x18, 0xd0, 0xd1, 0xc8, 0xa7, 0x99, 0x99,
                              0x6b, 0xf0, 0x26, 0x5b, 0x98, 0xb5, 0xd4, 0x8a, 0xb9, 0x19};
  const std::string envelope =
      "PMX1" + std::string(12, '\0') + std::string(reinterpret_cast<const char*>(box), sizeof box);
  EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(0), ""), std::string(16, '\0'));
}

TEST(SealedEnvelope, TwoSealsOfOnePayloadDifferAndBothOpen) {
  const ExchangeKey key = keyOf(7);
  const std::string first = SealedEnvelope::seal("hello", key, "people");
  const std::string second = SealedEnvelope::seal("hello", key, "people");
  EXPECT_NE(first, second);
  EXPECT_NE(first.substr(4, 12), second.substr(4, 12));
  EXPECT_NE(first.substr(16), second.substr(16));
  EXPECT_EQ(SealedEnvelope::open(first, key, "people"), "hello");
  EXPECT_EQ(SealedEnvelope::open(second, key, "people"), "hello");
}

TEST(SealedEnvelope, PayloadIsNotReadableInTheEnvelope) {
  const std::string payload = "a sentence that nobody else may read";
  EXPECT_EQ(SealedEnvelope::seal(payload, keyOf(1), "people").find(payload.substr(0, 8)), std::string::npos);
}

TEST(SealedEnvelope, TruncatedEnvelopeReadsAsAbsent) {
  const std::string envelope = SealedEnvelope::seal("a payload of some length", keyOf(1), "people");
  for (std::size_t size = 0; size < envelope.size(); ++size) {
    EXPECT_EQ(SealedEnvelope::open(envelope.substr(0, size), keyOf(1), "people"), std::nullopt) << size;
    EXPECT_EQ(SealedEnvelope::open(envelope.substr(envelope.size() - size), keyOf(1), "people"), std::nullopt) << size;
  }
}

TEST(SealedEnvelope, LengthenedEnvelopeReadsAsAbsent) {
  const std::string envelope = SealedEnvelope::seal("payload", keyOf(1), "people");
  EXPECT_EQ(SealedEnvelope::open(envelope + '\0', keyOf(1), "people"), std::nullopt);
  EXPECT_EQ(SealedEnvelope::open(envelope + envelope, keyOf(1), "people"), std::nullopt);
  EXPECT_EQ(SealedEnvelope::open("PMX1" + envelope, keyOf(1), "people"), std::nullopt);
}

TEST(SealedEnvelope, EveryFlippedBitReadsAsAbsent) {
  const std::string envelope = SealedEnvelope::seal("a payload of some length", keyOf(1), "people");
  for (std::size_t bit = 0; bit < envelope.size() * 8; ++bit) {
    std::string altered = envelope;
    altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << bit % 8));
    EXPECT_EQ(SealedEnvelope::open(altered, keyOf(1), "people"), std::nullopt) << bit;
  }
}

TEST(SealedEnvelope, WrongMagicReadsAsAbsent) {
  std::string envelope = SealedEnvelope::seal("payload", keyOf(1), "people");
  EXPECT_EQ(SealedEnvelope::open("PMX1", keyOf(1), "people"), std::nullopt);
  EXPECT_EQ(SealedEnvelope::open("", keyOf(1), "people"), std::nullopt);
  EXPECT_EQ(SealedEnvelope::open("{\"people\":[]}", keyOf(1), "people"), std::nullopt);
  envelope[3] = '2';
  EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), "people"), std::nullopt);
}

TEST(SealedEnvelope, WrongKeyReadsAsAbsent) {
  const ExchangeKey key = keyOf(1);
  const std::string envelope = SealedEnvelope::seal("payload", key, "people");
  EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(2), "people"), std::nullopt);
  std::vector<std::uint8_t> nearly(key.data().span().begin(), key.data().span().end());
  nearly.back() ^= 1;
  EXPECT_EQ(SealedEnvelope::open(envelope, *ExchangeKey::fromData(SecretBytes(nearly)), "people"), std::nullopt);
}

TEST(SealedEnvelope, WrongContextReadsAsAbsent) {
  const std::string envelope = SealedEnvelope::seal("payload", keyOf(1), "people");
  for (const std::string context : {"helper-notes", "", "People", "peopl", "people ", "lately:people"})
    EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), context), std::nullopt) << context;
}

TEST(SealedEnvelope, RecordsOfTwoPeopleCannotBeSwapped) {
  const std::string anna = "lately:6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10";
  const std::string sam = "lately:6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E11";
  const std::string envelope = SealedEnvelope::seal("payload", keyOf(1), anna);
  EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), anna), "payload");
  EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), sam), std::nullopt);
}

TEST(SealedEnvelope, ContextMayBeEmptyOrLong) {
  for (const std::string& context : {std::string(), std::string(100'000, 'c'), std::string("a\0b", 3)}) {
    const std::string envelope = SealedEnvelope::seal("payload", keyOf(1), context);
    EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), context), "payload");
    EXPECT_EQ(SealedEnvelope::open(envelope, keyOf(1), context + "c"), std::nullopt);
  }
}

}  // namespace
}  // namespace pellora
