// The fast reader of our own records and the tree agree with each other and with the library on well-formed and
// damaged texts alike.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Json/JsonReader.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "Tests/Support/SampleRecords.h"

namespace pellora {
namespace {

bool isAccepted(std::string_view text) {
  JsonReader reader(text);
  return reader.skipValue() && reader.isAtEnd();
}

TEST(JsonReader, TellsWellFormedFromDamagedText) {
  struct Case {
    std::string text;
    bool isWellFormed;
  };
  for (const Case& each : std::vector<Case>{{"null", true},
                                            {"nul", false},
                                            {"nulll", false},
                                            {"true", true},
                                            {"True", false},
                                            {"\"\"", true},
                                            {"\"", false},
                                            {"\"\\\"", false},
                                            {"\"\\x\"", false},
                                            {"\"\n\"", false},
                                            {"\"\t\"", false},
                                            {"\"\x7F\"", true},
                                            {"\"\\u12\"", false},
                                            {"\"\\u12G4\"", false},
                                            {"\"\\u-123\"", false},
                                            {"\"\\ud800\"", false},
                                            {"\"\\udc00\"", false},
                                            {"\"\\ud800\\ud800\"", false},
                                            {"\"\\ud800x\"", false},
                                            {"\"\\ud83c\\udf82\"", true},
                                            {"\"\xC3\xA4\"", true},
                                            {"\"\xC3\"", false},
                                            {"\"\xED\xA0\x80\"", false},
                                            {"\"\\n\xFF\"", false},
                                            {"[]", true},
                                            {"[,]", false},
                                            {"[1,]", false},
                                            {"[1 2]", false},
                                            {"[1", false},
                                            {"]", false},
                                            {"{}", true},
                                            {"{\"a\"}", false},
                                            {"{\"a\":}", false},
                                            {"{\"a\":1,}", false},
                                            {"{,}", false},
                                            {"{a:1}", false},
                                            {"{1:1}", false},
                                            {"{\"a\":1 \"b\":2}", false},
                                            {"{\"a\":[}]", false},
                                            {"[{\"a\":[{}]},[]]", true},
                                            {"-", false},
                                            {"-0", true},
                                            {"00", false},
                                            {"1.e1", false},
                                            {"1e+", false},
                                            {"1e5", true},
                                            {"/*c*/1", false},
                                            {"", false},
                                            {" ", false},
                                            {"\xEF\xBB\xBF"
                                             "1",
                                             true},
                                            {"\xEF\xBB"
                                             "1",
                                             false},
                                            {"\v1", false}}) {
    EXPECT_EQ(isAccepted(each.text), each.isWellFormed) << each.text;
    EXPECT_EQ(JsonValue::parse(each.text).has_value(), each.isWellFormed) << each.text;
    EXPECT_EQ(nlohmann::json::accept(each.text), each.isWellFormed) << each.text;
  }
}

TEST(JsonReader, AgreesWithAnotherReaderOnDamagedRecords) {
  std::mt19937 random(1);
  const std::string whole = ExchangeCoding::encode(HelperDayNotes{{support::sampleDay()}});
  constexpr std::string_view kBytes = "{}[]\",:\\u0eE+-.19ntf \xC3\xA4\xFF";
  for (int round = 0; round < 20'000; ++round) {
    std::string text = whole.substr(0, 1 + random() % whole.size());
    text = text.substr(text.size() - random() % (text.size() + 1));
    for (unsigned change = random() % 4; change > 0 && !text.empty(); --change)
      text[random() % text.size()] = kBytes[random() % kBytes.size()];
    ASSERT_EQ(isAccepted(text), nlohmann::json::accept(text)) << text;
    // Whatever comes out of it comes back from its own text.
    if (const auto notes = ExchangeCoding::decode<HelperDayNotes>(text))
      EXPECT_EQ(ExchangeCoding::decode<HelperDayNotes>(ExchangeCoding::encode(*notes)), notes);
  }
}

TEST(JsonReader, DamagedRecordsAreReadOnlyWhenStillWellFormed) {
  std::mt19937 random(2);
  const std::string whole = ExchangeCoding::encode(HelperDayNotes{{support::sampleDay()}});
  constexpr std::string_view kBytes = "{}[]\",:\\u0eE+-.19ntf \xC3\xA4\xFF";
  for (int round = 0; round < 20'000; ++round) {
    std::string text = whole;
    for (unsigned change = 1 + random() % 3; change > 0; --change)
      text[random() % text.size()] = kBytes[random() % kBytes.size()];
    const auto notes = ExchangeCoding::decode<HelperDayNotes>(text);
    if (notes) ASSERT_TRUE(nlohmann::json::accept(text)) << text;
  }
}

TEST(JsonReader, RandomTextsOfBracketsAgreeWithAnotherReader) {
  std::mt19937 random(3);
  constexpr std::string_view kTokens[] = {"{", "}", "[", "]", ",", ":", "\"a\"", "1", "null", " ", "{}", "[]"};
  for (int round = 0; round < 50'000; ++round) {
    std::string text;
    for (unsigned length = random() % 12; length > 0; --length) text += kTokens[random() % std::size(kTokens)];
    ASSERT_EQ(isAccepted(text), nlohmann::json::accept(text)) << text;
  }
}

}  // namespace
}  // namespace pellora
