#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>

#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {
namespace {

std::string nested(std::size_t depth, const std::string& open, const std::string& close) {
  std::string text;
  for (std::size_t level = 0; level < depth; ++level) text += open;
  text += "1";
  for (std::size_t level = 0; level < depth; ++level) text += close;
  return text;
}

TEST(JsonValue, ReadsEveryTypeAndKeepsTheOrderOfMembers) {
  const auto value =
      JsonValue::parse(R"({"z":null,"b":true,"i":-5,"d":2.5,"s":"\u00e4\n","a":[1,[],{}],"o":{"y":1,"x":2}})");
  ASSERT_TRUE(value);
  EXPECT_TRUE((*value)["z"].isNull());
  EXPECT_TRUE(value->contains("z"));
  EXPECT_EQ((*value)["b"].boolean(), true);
  EXPECT_EQ((*value)["i"].integer(), -5);
  EXPECT_EQ((*value)["i"].number(), -5.0);
  EXPECT_EQ((*value)["d"].number(), 2.5);
  EXPECT_EQ((*value)["s"].text(), "\u00e4\n");
  EXPECT_EQ((*value)["a"].elements().size(), 3u);
  EXPECT_TRUE((*value)["a"].elements()[2].isObject());
  EXPECT_EQ(value->members()[0].key, "z");
  EXPECT_EQ(value->dump(), R"({"z":null,"b":true,"i":-5,"d":2.5,"s":"ä\n","a":[1,[],{}],"o":{"y":1,"x":2}})");
  EXPECT_EQ(value->dump(JsonValue::Order::sorted),
            R"({"a":[1,[],{}],"b":true,"d":2.5,"i":-5,"o":{"x":2,"y":1},"s":"ä\n","z":null})");
}

TEST(JsonValue, LookingForWhatIsNotThereFindsNull) {
  const JsonValue text = "abc";
  EXPECT_TRUE(text["a"]["b"].isNull());
  EXPECT_FALSE(text.contains("a"));
  EXPECT_TRUE(text.elements().empty());
  EXPECT_TRUE(text.members().empty());
  EXPECT_EQ(text.integer(), std::nullopt);
  EXPECT_EQ(text.number(), std::nullopt);
  EXPECT_EQ(text.boolean(), std::nullopt);
  EXPECT_EQ(JsonValue(1)["a"].text(), "");
  EXPECT_EQ(JsonValue(1).string(), nullptr);
  EXPECT_EQ(JsonValue(1).boolean(), std::nullopt);
  EXPECT_EQ(JsonValue(true).integer(), std::nullopt);
}

TEST(JsonValue, OfARepeatedKeyTheLastValueCounts) {
  const auto value = JsonValue::parse(R"({"a":1,"b":2,"a":{"c":3,"c":4},"b":5})");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->dump(), R"({"a":{"c":4},"b":5})");
}

TEST(JsonValue, WholeNumbersMayBeWrittenInAnyWay) {
  const auto integer = [](const std::string& text) {
    const auto value = JsonValue::parse(text);
    return value ? value->integer() : std::nullopt;
  };
  for (const char* nine : {"9", "9.0", "9.000", "0.9e1", "900e-2"}) EXPECT_EQ(integer(nine), 9) << nine;
  EXPECT_EQ(integer("-0"), 0);
  EXPECT_EQ(integer("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(integer("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(integer("9007199254740992.0"), std::int64_t{1} << 53);
  for (const char* other : {"9.5", "9223372036854775808", "-9223372036854775809", "18446744073709551616", "1e19",
                            "9007199254740994.0", "\"9\"", "true"})
    EXPECT_EQ(integer(other), std::nullopt) << other;
  EXPECT_EQ(JsonValue::parse("9223372036854775808")->number(), 9223372036854775808.0);
  EXPECT_FALSE(JsonValue::parse("1e400"));
}

TEST(JsonValue, NothingNestsDeeperThanTheLimit) {
  for (const auto& [open, close] : {std::pair("[", "]"), std::pair("{\"a\":", "}")}) {
    EXPECT_TRUE(JsonValue::parse(nested(64, open, close)));
    EXPECT_FALSE(JsonValue::parse(nested(65, open, close)));
    EXPECT_TRUE(JsonValue::parse(nested(3, open, close), {.depth = 3}));
    EXPECT_FALSE(JsonValue::parse(nested(4, open, close), {.depth = 3}));
    EXPECT_FALSE(JsonValue::parse(nested(1'000'000, open, close)));
  }
}

TEST(JsonValue, LongerTextsThanTheLimitAreAbsent) {
  EXPECT_TRUE(JsonValue::parse("[1,2]", {.size = 5}));
  EXPECT_FALSE(JsonValue::parse("[1,2]", {.size = 4}));
}

TEST(JsonValue, ReadsObjectsWithManyRepeatedMembers) {
  std::string text = "{";
  for (int index = 0; index < 20'000; ++index) text += "\"" + std::to_string(index % 10'000) + "\":1,";
  text += "\"end\":2}";
  const auto value = JsonValue::parse(text);
  ASSERT_TRUE(value);
  EXPECT_EQ(value->members().size(), 10'001u);
}

TEST(JsonValue, WritesWhatItReadsBack) {
  JsonValue value;
  value.set("text", "a\"\\\n\x7F\u0085").set("key \"\n", 1).set("number", 0.1).set("whole", 5.0);
  value.set("list", JsonValue::array(std::vector<std::string>{"x", "y"})).set("none", std::optional<int>());
  value.set("more", JsonValue::object({{"truth", false}, {"large", std::numeric_limits<std::int64_t>::min()}}));
  value.set("number", 0.2);
  JsonValue list;
  list.append(std::move(value)).append(nullptr);
  const std::string text = list.dump();
  EXPECT_EQ(JsonValue::parse(text)->dump(), text);
  EXPECT_EQ(nlohmann::ordered_json::parse(text).dump(), text);
  EXPECT_EQ(list.elements()[0]["number"].number(), 0.2);
}

TEST(JsonValue, InvalidTextAndNumbersAreRepairedWhenWritten) {
  EXPECT_EQ(JsonValue("a\xFF").dump(), "\"a\uFFFD\"");
  EXPECT_EQ(JsonValue::object({{"a\xFF", 1}}).dump(), "{\"a\uFFFD\":1}");
  EXPECT_EQ(JsonValue(std::numeric_limits<double>::infinity()).dump(), "null");
  EXPECT_EQ(JsonValue(std::nan("")).dump(), "null");
}

TEST(JsonValue, DamagedTextIsReadAsTheLibraryReadsIt) {
  std::mt19937 random(4);
  const std::string whole = R"({"a":[1,-2.5e3,true,null,"x\u00e4\ud83c\udf82ä"],"b":{"c":false,"d":[[],{}]}})";
  constexpr std::string_view kBytes = "{}[]\",:\\u0eE+-.19ntf \xC3\xA4\xFF";
  for (int round = 0; round < 20'000; ++round) {
    std::string text = whole;
    for (unsigned change = 1 + random() % 3; change > 0; --change)
      text[random() % text.size()] = kBytes[random() % kBytes.size()];
    const auto value = JsonValue::parse(text);
    ASSERT_EQ(value.has_value(), nlohmann::json::accept(text)) << text;
    if (value) ASSERT_EQ(nlohmann::json::parse(value->dump()), nlohmann::json::parse(text)) << text;
  }
}

}  // namespace
}  // namespace pellora
