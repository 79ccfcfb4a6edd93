#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "PelloraMessagesCore/MessageBody.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "SampleStore/MessageInserter.h"

namespace pellora {
namespace {

using std::literals::string_literals::operator""s;
using Body = std::optional<std::string>;

constexpr std::size_t kMaximumLength = 0x100000;

Body decoded(const std::string& blob) {
  return MessageBody::text(std::nullopt, blob);
}

// The marker, five bytes of class data, and what follows.
std::string marked(const std::string& rest) {
  return "\x04\x0Bstreamtyped\x81\xE8\x03\x84NSString\x01\x94\x84\x01\x2B"s + rest;
}

std::string in16Bits(std::size_t length) {
  return "\x81"s + static_cast<char>(length & 0xFF) + static_cast<char>(length >> 8);
}

std::string in32Bits(std::uint32_t length) {
  std::string bytes = "\x82";
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(length >> shift & 0xFF);
  return bytes;
}

TEST(MessageBody, ColumnTextIsTrimmedAndFreeOfPlaceholders) {
  struct Case {
    std::string text;
    std::string body;
  };
  for (const Case& each : std::vector<Case>{
           {"hello", "hello"},
           {"  hello \n", "hello"},
           {"\uFFFC", ""},
           {"hi \uFFFC", "hi"},
           {"\uFFFC\uFFFC look at this \uFFFC", "look at this"},
           {"a\uFFFC b", "a b"},
           {" \uFFFC \n \uFFFC ", ""},
           {"\u00A0\u2028hello\u3000\u0085", "hello"},
           {"two\nlines", "two\nlines"},
           {"\uFFFD stays", "\uFFFD stays"},
           {"\uFF01\uFFFB\uFFFC\uFFFD", "\uFF01\uFFFB\uFFFD"},
           {"e\u0301", "e\u0301"},
       })
    EXPECT_EQ(MessageBody::text(each.text, marked("\x05other")), each.body) << each.text;
}

TEST(MessageBody, AbsentOrBlankTextFallsThroughToTheBlob) {
  for (const auto& text :
       std::vector<std::optional<std::string_view>>{std::nullopt, "", "   ", "\n\t\r\n", "\u00A0\u2003\u200B"})
    EXPECT_EQ(MessageBody::text(text, marked("\x05hello")), "hello");
}

TEST(MessageBody, BlobIsNotConsultedForATextOfPlaceholdersOnly) {
  EXPECT_EQ(MessageBody::text("\uFFFC", marked("\x05hello")), "");
  EXPECT_EQ(MessageBody::text(" \uFFFC ", marked("\x05hello")), "");
}

TEST(MessageBody, NothingToReadIsAbsent) {
  EXPECT_EQ(MessageBody::text(std::nullopt, std::nullopt), std::nullopt);
  EXPECT_EQ(MessageBody::text("  ", std::nullopt), std::nullopt);
  EXPECT_EQ(MessageBody::text(std::nullopt, std::string_view()), std::nullopt);
  EXPECT_EQ(MessageBody::text(std::string_view(), std::string_view()), std::nullopt);
  EXPECT_EQ(decoded("no marker at all"), std::nullopt);
  EXPECT_EQ(decoded("NSStrin"), std::nullopt);
  EXPECT_EQ(decoded("NSString"), std::nullopt);
  EXPECT_EQ(decoded("nsstring\x01\x94\x84\x01+\x05hello"), std::nullopt);
}

TEST(MessageBody, ArchivedTextIsTrimmedAndFreeOfPlaceholders) {
  EXPECT_EQ(decoded(marked("\x09 hello \n ")), "hello");
  EXPECT_EQ(decoded(marked("\x03\uFFFC")), "");
  EXPECT_EQ(decoded(marked("\x06"
                           "hi \uFFFC")),
            "hi");
  EXPECT_EQ(decoded(marked("\x03   ")), "");
}

TEST(MessageBody, LengthPrefixHasThreeForms) {
  const std::string text(300, 'x');
  EXPECT_EQ(decoded(marked("\x05hello and attributes")), "hello");
  EXPECT_EQ(decoded(marked("\x7F"s + text)), text.substr(0, 127));
  EXPECT_EQ(decoded(marked("\x81\x2C\x01"s + text)), text);
  EXPECT_EQ(decoded(marked("\x81\x05\x00hello"s)), "hello");
  EXPECT_EQ(decoded(marked("\x82\x2C\x01\x00\x00"s + text)), text);
  for (int prefix = 0x83; prefix <= 0xFF; ++prefix)
    EXPECT_EQ(decoded(marked(static_cast<char>(prefix) + text)), std::nullopt) << prefix;
  EXPECT_EQ(decoded(marked("\x80"s + text)), std::nullopt);
}

TEST(MessageBody, LengthsOfNothingAndOfMoreThanAMebibyteAreRefused) {
  EXPECT_EQ(decoded(marked("\x00hello"s)), std::nullopt);
  EXPECT_EQ(decoded(marked(in16Bits(0) + "hello")), std::nullopt);
  EXPECT_EQ(decoded(marked(in32Bits(0) + "hello")), std::nullopt);
  const std::string text(kMaximumLength + 1, 'x');
  EXPECT_EQ(decoded(marked(in32Bits(kMaximumLength) + text)), text.substr(1));
  EXPECT_EQ(decoded(marked(in32Bits(kMaximumLength + 1) + text)), std::nullopt);
  EXPECT_EQ(decoded(marked(in32Bits(0xFFFFFFFF) + text)), std::nullopt);
  EXPECT_EQ(decoded(marked(in32Bits(0x80000005) + "hello")), std::nullopt);
}

TEST(MessageBody, ALengthPastTheEndIsAbsent) {
  EXPECT_EQ(decoded(marked("\x06hello")), std::nullopt);
  EXPECT_EQ(decoded(marked(in16Bits(6) + "hello")), std::nullopt);
  EXPECT_EQ(decoded(marked(in32Bits(6) + "hello")), std::nullopt);
  EXPECT_EQ(decoded(marked("")), std::nullopt);
  EXPECT_EQ(decoded(marked("\x81")), std::nullopt);
  EXPECT_EQ(decoded(marked("\x81\x01")), std::nullopt);
  EXPECT_EQ(decoded(marked("\x82\x01\x00\x00"s)), std::nullopt);
}

TEST(MessageBody, TheStringStartsWithinSixteenBytesOfTheMarker) {
  const std::string payload = "+\x05hello";
  for (std::size_t distance = 0; distance < 24; ++distance) {
    const Body expected = distance < 16 ? Body("hello") : std::nullopt;
    EXPECT_EQ(decoded("NSString" + std::string(distance, '\x01') + payload), expected) << distance;
  }
}

TEST(MessageBody, OnlyTheFirstMarkerAndItsFirstPlusCount) {
  EXPECT_EQ(decoded("NSString" + std::string(20, '.') + marked("\x05hello")), std::nullopt);
  EXPECT_EQ(decoded("NSString+\x90" + marked("\x05hello")), std::nullopt);
  // The second plus is a length: 43 bytes.
  EXPECT_EQ(decoded("NSString++" + std::string(80, '.')), std::string(43, '.'));
  EXPECT_EQ(decoded("NSMutableString\x01\x84\x84\x08NSString\x01\x95\x84\x01+\x05hello"), "hello");
  EXPECT_EQ(decoded("NSNSString+\x05hello"), "hello");
}

TEST(MessageBody, InvalidUtf8InTheBlobIsAbsentAndNotRepaired) {
  for (const std::string& bytes :
       {"\xFF"s, "\xC3"s, "\xC0\xAF"s, "\xED\xA0\x80"s, "\xF4\x90\x80\x80"s, "ok\x80"s, "\xF0\x9F\x98"s, "\xE2\x82"s})
    EXPECT_EQ(decoded(marked(static_cast<char>(bytes.size()) + bytes)), std::nullopt);
}

TEST(MessageBody, AZeroByteInTheBlobIsPartOfTheText) {
  EXPECT_EQ(decoded(marked("\x05he\0lo"s)), "he\0lo"s);
}

TEST(MessageBody, EncodedBodiesOfEveryLengthComeBack) {
  for (const std::size_t length : {1u, 42u, 43u, 44u, 127u, 128u, 129u, 255u, 256u, 65'535u, 65'536u, 70'000u})
    for (const auto kind :
         {AttributedBodyEncoder::StringClass::plain, AttributedBodyEncoder::StringClass::mutableString}) {
      const std::string text(length, 'a');
      EXPECT_EQ(decoded(AttributedBodyEncoder::encode(text, kind)), text) << length;
    }
  const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467 e\u0301 \u05D0";
  EXPECT_EQ(decoded(AttributedBodyEncoder::encode(family, AttributedBodyEncoder::StringClass::plain)), family);
}

TEST(MessageBody, ATruncatedBlobNeverGivesAnotherText) {
  const std::string text = "the whole text, or none of it \U0001F370";
  const std::string blob = AttributedBodyEncoder::encode(text, AttributedBodyEncoder::StringClass::mutableString);
  for (std::size_t length = 0; length < blob.size(); ++length) {
    // A copy of its own, so that a read past the end does not go unnoticed.
    const std::vector<char> cut(blob.begin(), blob.begin() + static_cast<std::ptrdiff_t>(length));
    const Body body = MessageBody::text(std::nullopt, std::string_view(cut.data(), cut.size()));
    if (body) EXPECT_EQ(*body, text) << length;
  }
}

TEST(MessageBody, AnyBytesGiveValidTextOrNothing) {
  std::mt19937 random(7);
  const std::string blob =
      AttributedBodyEncoder::encode(std::string(200, 'a') + "\u20AC", AttributedBodyEncoder::StringClass::plain);
  for (int round = 0; round < 20'000; ++round) {
    std::string damaged = blob;
    for (int flip = 0; flip < 3; ++flip) damaged[random() % damaged.size()] = static_cast<char>(random());
    const Body body = decoded(damaged);
    if (body) {
      EXPECT_TRUE(text::isValidUtf8(*body));
    }
  }
}

}  // namespace
}  // namespace pellora
