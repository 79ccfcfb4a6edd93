#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "Tests/Support/SampleRecords.h"

namespace pellora {
namespace {

using ExchangeCoding::decode;
using ExchangeCoding::encode;
using nlohmann::json;

// The same object from another writer: keys sorted by their bytes, on one line.
std::string rewritten(const std::string& text) {
  return json::parse(text).dump();
}

std::string heartbeatWith(const std::string& member) {
  return R"({"at":"2025-03-01T09:30:00Z","helperVersion":"1.0","status":"failed",)" + member + "}";
}

HelperDayNotes notesOf(MessagesDayRecord day) {
  return {{std::move(day)}};
}

// The sample day with one member of its object set to another JSON text, or left out when that is empty.
std::string sampleNotesWith(const std::string& key, const std::string& value) {
  json notes = json::parse(encode(notesOf(support::sampleDay())));
  if (value.empty())
    notes["days"][0].erase(key);
  else
    notes["days"][0][key] = json::parse(value);
  return notes.dump();
}

TEST(ExchangeCoding, WritesTheHeartbeatLetterForLetter) {
  HelperHeartbeat heartbeat{instantAtSeconds(support::kSampleSecond), HelperHeartbeat::Status::reading, std::nullopt,
                            "1.0"};
  EXPECT_EQ(encode(heartbeat), R"({"at":"2025-03-01T09:30:00Z","helperVersion":"1.0","status":"reading"})");
  heartbeat.lastReadAt = instantAtSeconds(0);
  EXPECT_EQ(encode(heartbeat), R"({"at":"2025-03-01T09:30:00Z","helperVersion":"1.0",)"
                               R"("lastReadAt":"1970-01-01T00:00:00Z","status":"reading"})");
}

TEST(ExchangeCoding, WritesThePeopleFileLetterForLetter) {
  HelperPeopleFile file{instantAtSeconds(support::kSampleSecond), {}};
  EXPECT_EQ(encode(file), R"({"people":[],"writtenAt":"2025-03-01T09:30:00Z"})");
  file.people = {{*Uuid::parse("6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10"), "Anna", {"5551234567"}, {}}};
  EXPECT_EQ(encode(file), R"({"people":[{"emails":[],"firstName":"Anna","id":"6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10",)"
                          R"("phones":["5551234567"]}],"writtenAt":"2025-03-01T09:30:00Z"})");
}

TEST(ExchangeCoding, WritesAFullDayRecordLetterForLetter) {
  EXPECT_EQ(
      encode(notesOf(support::sampleDay())),
      R"({"days":[{"birthday":{"age":31,"day":1,"month":3,"name":"Maya","wishedAt":"2025-03-01T09:30:00Z"},)"
      R"("birthdayHint":true,"day":"2025-03-01","firstMessageAt":"2025-03-01T09:30:00Z","handle":"+15551234567",)"
      R"("lastMessageAt":"2025-03-01T10:30:00Z","meetups":[{"cue":"thanks for dinner","day":"2025-03-01T09:30:00Z",)"
      R"("isDayFromWords":true,"messageAt":"2025-03-01T09:30:00Z","what":"dinner"},{"day":"2025-03-01T09:30:00Z",)"
      R"("isDayFromWords":false,"messageAt":"2025-03-01T09:30:00Z","what":""}],"news":[{"kind":"work",)"
      R"("messageAt":"2025-03-01T09:30:00Z","sentence":"Sam got the job.","when":"next week"}],)"
      R"("personID":"6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10","receivedCount":7,"sentCount":12,)"
      R"("sentURLs":["https://example.com/a/b?c=d&e=%20","http://)"
      "\u00FC"
      R"(.example/"],"startedByMe":true,"summary":"Sam is \"moving\"\tto Z)"
      "\u00FCrich \U0001F389"
      R"(","waitingOnYou":true}]})");
}

TEST(ExchangeCoding, LeavesAbsentOptionalsOut) {
  MessagesDayRecord day = support::sampleDay();
  day.summary.reset();
  day.meetups.reset();
  day.birthday.reset();
  const json written = json::parse(encode(notesOf(day)))["days"][0];
  EXPECT_EQ(written.size(), 12u);
  for (const char* key : {"summary", "meetups", "birthday"}) EXPECT_FALSE(written.contains(key)) << key;
  day.birthday = {std::nullopt, 3, 1, std::nullopt, instantAtSeconds(0)};
  const json birthday = json::parse(encode(notesOf(day)))["days"][0]["birthday"];
  EXPECT_EQ(birthday.dump(), R"({"day":1,"month":3,"wishedAt":"1970-01-01T00:00:00Z"})");
}

TEST(ExchangeCoding, WritesTheLatelyRecordWithExactlyItsKeys) {
  const json written = json::parse(encode(support::sampleLately()));
  std::vector<std::string> keys;
  for (const auto& member : written.items()) keys.push_back(member.key());
  EXPECT_EQ(keys,
            (std::vector<std::string>{"birthdayWishDays", "birthdays", "dayCount", "firstMessageAt", "handle",
                                      "lastMessageAt", "lastTalkedAt", "meetups", "news", "personID", "receivedCount",
                                      "sentCount", "sentLinks", "summary", "windowDays", "writtenAt"}));
  EXPECT_EQ(written["sentLinks"].dump(), R"([{"sentAt":"2025-03-01T10:30:00Z","url":"https://example.com/"}])");
  MessagesLatelyRecord bare;
  EXPECT_EQ(json::parse(encode(bare)).size(), 12u);
}

TEST(ExchangeCoding, ALatelyRecordTellsItsWindowApartFromItsDays) {
  MessagesLatelyRecord record = support::sampleLately();
  record.windowDays = 14;
  record.dayCount = 3;
  const json written = json::parse(encode(record));
  EXPECT_EQ(written["windowDays"], 14);
  EXPECT_EQ(written["dayCount"], 3);
  EXPECT_EQ(decode<MessagesLatelyRecord>(encode(record)), record);
}

TEST(ExchangeCoding, WritesSortedKeysOnOneLine) {
  HelperPeopleFile people{instantAtSeconds(0), {{Uuid(), "A", {"1"}, {"b"}}}};
  const HelperHeartbeat heartbeat{instantAtSeconds(0), HelperHeartbeat::Status::failed, instantAtSeconds(1), "v"};
  for (const std::string& text :
       {encode(people), encode(heartbeat), encode(support::sampleState()), encode(notesOf(support::sampleDay())),
        encode(support::sampleLately()), encode(HelperDayNotes{support::sampleDays(50)})}) {
    EXPECT_EQ(text, rewritten(text));
    EXPECT_EQ(text.find('\n'), std::string::npos);
  }
}

TEST(ExchangeCoding, EveryCharacterIsWrittenAsAnotherWriterWould) {
  for (char32_t scalar = 0; scalar < 0x300; ++scalar) {
    std::string text = "a";
    if (scalar < 0x80) {
      text += static_cast<char>(scalar);
    } else {
      text += static_cast<char>(0xC0 | scalar >> 6);
      text += static_cast<char>(0x80 | (scalar & 0x3F));
    }
    HelperHeartbeat heartbeat;
    heartbeat.helperVersion = text + "b";
    const std::string written = encode(heartbeat);
    EXPECT_NE(written.find(json(text + "b").dump()), std::string::npos) << static_cast<unsigned>(scalar);
    EXPECT_EQ(decode<HelperHeartbeat>(written), heartbeat) << static_cast<unsigned>(scalar);
  }
}

TEST(ExchangeCoding, InvalidUtf8IsRepairedWhenWritten) {
  HelperHeartbeat heartbeat;
  for (const std::string& bytes : {std::string("a\xFF\"b"), std::string("\xC3"), std::string("\xED\xA0\x80"),
                                   std::string("\xF0\x9F\x8E"), std::string("\xC0\x80")}) {
    heartbeat.helperVersion = bytes;
    const auto read = decode<HelperHeartbeat>(encode(heartbeat));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->helperVersion, text::repairedUtf8(bytes));
  }
}

TEST(ExchangeCoding, ReadsBackWhatItWrote) {
  const HelperDayNotes notes{support::sampleDays(500)};
  EXPECT_EQ(decode<HelperDayNotes>(encode(notes)), notes);
  EXPECT_EQ(decode<HelperDayNotes>(encode(notesOf(support::sampleDay()))), notesOf(support::sampleDay()));
  EXPECT_EQ(decode<HelperDayNotes>(encode(HelperDayNotes())), HelperDayNotes());
  EXPECT_EQ(decode<MessagesLatelyRecord>(encode(support::sampleLately())), support::sampleLately());
  EXPECT_EQ(decode<MessagesLatelyRecord>(encode(MessagesLatelyRecord())), MessagesLatelyRecord());
  EXPECT_EQ(decode<HelperState>(encode(support::sampleState())), support::sampleState());
  EXPECT_EQ(decode<HelperState>(encode(HelperState())), HelperState());
  MessagesDayRecord extreme = support::sampleDay();
  extreme.sentCount = std::numeric_limits<std::int64_t>::max();
  extreme.receivedCount = std::numeric_limits<std::int64_t>::min();
  extreme.meetups = std::vector<MessagesMeetup>();
  EXPECT_EQ(decode<HelperDayNotes>(encode(notesOf(extreme))), notesOf(extreme));
}

TEST(ExchangeCoding, TimesComeBackAsWholeSeconds) {
  HelperHeartbeat heartbeat;
  heartbeat.at = Instant(Nanoseconds(-1));
  const auto read = decode<HelperHeartbeat>(encode(heartbeat));
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(read->at, instantAtSeconds(-1));
}

TEST(ExchangeCoding, EveryStatusAndKindHasItsName) {
  for (const std::string name : {"reading", "needsFullDiskAccess", "waitingForPellora", "failed"}) {
    const std::string text = R"({"at":"2025-03-01T09:30:00Z","helperVersion":"","status":")" + name + "\"}";
    const auto heartbeat = decode<HelperHeartbeat>(text);
    ASSERT_TRUE(heartbeat.has_value()) << name;
    EXPECT_EQ(encode(*heartbeat), text);
  }
  for (const std::string_view name : kNewsKindNames) {
    const std::string text = sampleNotesWith("news", R"([{"kind":")" + std::string(name) +
                                                         R"(","messageAt":"1970-01-01T00:00:00Z","sentence":"",)"
                                                         R"("when":""}])");
    const auto notes = decode<HelperDayNotes>(text);
    ASSERT_TRUE(notes.has_value()) << name;
    EXPECT_EQ(encode(*notes), text);
  }
}

TEST(ExchangeCoding, UnknownWordsMakeTheWholeAbsent) {
  for (const std::string status : {"Reading", "idle", "", "reading ", "starting"})
    EXPECT_EQ(decode<HelperHeartbeat>(R"({"at":"2025-03-01T09:30:00Z","helperVersion":"","status":")" + status + "\"}"),
              std::nullopt)
        << status;
  EXPECT_EQ(decode<HelperDayNotes>(sampleNotesWith(
                "news", R"([{"kind":"sport","messageAt":"1970-01-01T00:00:00Z","sentence":"","when":""}])")),
            std::nullopt);
}

TEST(ExchangeCoding, MissingRequiredKeyMakesTheWholeAbsent) {
  const json day = json::parse(encode(notesOf(support::sampleDay())))["days"][0];
  for (const auto& member : day.items()) {
    const std::string& key = member.key();
    const bool isOptional = key == "summary" || key == "meetups" || key == "birthday";
    EXPECT_EQ(decode<HelperDayNotes>(sampleNotesWith(key, "")).has_value(), isOptional) << key;
    EXPECT_EQ(decode<HelperDayNotes>(sampleNotesWith(key, "null")).has_value(), isOptional) << key;
  }
  const json lately = json::parse(encode(support::sampleLately()));
  for (const auto& member : lately.items()) {
    const std::string& key = member.key();
    json changed = lately;
    changed.erase(key);
    const bool isOptional = key == "summary" || key == "meetups" || key == "birthdays" || key == "lastTalkedAt";
    EXPECT_EQ(decode<MessagesLatelyRecord>(changed.dump()).has_value(), isOptional) << key;
  }
}

TEST(ExchangeCoding, NullOptionalsReadAsAbsent) {
  const auto heartbeat = decode<HelperHeartbeat>(heartbeatWith(R"("lastReadAt":null)"));
  ASSERT_TRUE(heartbeat.has_value());
  EXPECT_EQ(heartbeat->lastReadAt, std::nullopt);
}

TEST(ExchangeCoding, WrongTypesMakeTheWholeAbsent) {
  const json day = json::parse(encode(notesOf(support::sampleDay())))["days"][0];
  for (const auto& member : day.items())
    for (const std::string value : {"1", "\"x\"", "true", "[]", "{}", "[1]", "1.5", "[null]", "[[]]", "{\"a\":1}"}) {
      const std::string text = sampleNotesWith(member.key(), value);
      const bool mayBeRead = (value == "1" && member.key().ends_with("Count")) ||
                             (value == "\"x\"" && member.value().is_string() && !member.key().ends_with("At") &&
                              member.key() != "personID") ||
                             (value == "true" && member.value().is_boolean()) ||
                             (value == "[]" && member.value().is_array());
      EXPECT_EQ(decode<HelperDayNotes>(text).has_value(), mayBeRead) << member.key() << " " << value;
    }
}

TEST(ExchangeCoding, WholeNumbersMayBeWrittenWithAFractionOfZero) {
  const auto count = [](const std::string& value) -> std::optional<std::int64_t> {
    json state = json::parse(encode(HelperState()));
    state.erase("notesVersion");
    const std::string text = R"({"notesVersion":)" + value + "," + state.dump().substr(1);
    const auto read = decode<HelperState>(text);
    if (!read) return std::nullopt;
    return read->notesVersion;
  };
  EXPECT_EQ(count("9"), 9);
  EXPECT_EQ(count("-9"), -9);
  EXPECT_EQ(count("-0"), 0);
  EXPECT_EQ(count("9.0"), 9);
  EXPECT_EQ(count("9.000"), 9);
  EXPECT_EQ(count("0.9e1"), 9);
  EXPECT_EQ(count("9E+3"), 9000);
  EXPECT_EQ(count("900e-2"), 9);
  EXPECT_EQ(count("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(count("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
  for (const std::string value : {"9.5",
                                  "9223372036854775808",
                                  "-9223372036854775809",
                                  "1e19",
                                  "1e400",
                                  "1e-400",
                                  "99999999999999999999999999",
                                  "+9",
                                  "09",
                                  "9.",
                                  ".9",
                                  "9e",
                                  "0x9",
                                  "NaN",
                                  "Infinity",
                                  "-",
                                  "--9",
                                  "9 9",
                                  "\"9\"",
                                  "true",
                                  "1e999999999999999999999"})
    EXPECT_EQ(count(value), std::nullopt) << value;
}

TEST(ExchangeCoding, MonthAndAgeMustFitTheirFields) {
  const auto read = [](const std::string& age) {
    return decode<HelperDayNotes>(
        sampleNotesWith("birthday", R"({"age":)" + age + R"(,"day":1,"month":3,"wishedAt":"1970-01-01T00:00:00Z"})"));
  };
  EXPECT_TRUE(read("31").has_value());
  EXPECT_TRUE(read("null").has_value());
  EXPECT_FALSE(read("4294967327").has_value());
  EXPECT_FALSE(read("-2147483649").has_value());
}

TEST(ExchangeCoding, UnknownKeysAreIgnoredWhateverTheyHold) {
  for (const std::string value : {"null", "1", "-1.5e300", "1e999", "\"\\u0000\\ud83c\\udf82\"", "[]", "{}",
                                  "[[[1,{\"a\":[true,false,null]}],2]]", "{\"at\":1,\"status\":{\"deep\":[]}}"})
    EXPECT_TRUE(decode<HelperHeartbeat>(heartbeatWith("\"future\":" + value)).has_value()) << value;
}

TEST(ExchangeCoding, UuidsAreReadInEitherCase) {
  const auto notes = decode<HelperDayNotes>(sampleNotesWith("personID", "\"6f1c3a52-0d1b-4e7A-9a55-1f6c2b7d9e10\""));
  ASSERT_TRUE(notes.has_value());
  EXPECT_EQ(notes->days[0].personID.toString(), support::kSamplePerson);
  for (const std::string bad :
       {"\"\"", "\"6f1c3a520d1b4e7a9a551f6c2b7d9e10\"", "\"{6f1c3a52-0d1b-4e7A-9a55-1f6c2b7d9e10}\"",
        "\"6f1c3a52-0d1b-4e7A-9a55-1f6c2b7d9e1g\""})
    EXPECT_EQ(decode<HelperDayNotes>(sampleNotesWith("personID", bad)), std::nullopt) << bad;
}

TEST(ExchangeCoding, OfAKeyThatStandsTwiceTheLastValueCounts) {
  const auto heartbeat = decode<HelperHeartbeat>(
      R"({"at":"2025-03-01T09:30:00Z","helperVersion":"1","lastReadAt":"2025-03-01T09:30:00Z","status":"failed",)"
      R"("helperVersion":"2","lastReadAt":null})");
  ASSERT_TRUE(heartbeat.has_value());
  EXPECT_EQ(heartbeat->helperVersion, "2");
  EXPECT_EQ(heartbeat->lastReadAt, std::nullopt);
  const auto people = decode<HelperPeopleFile>(
      R"({"people":[{"emails":[],"firstName":"a","id":"6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10","phones":["1"],)"
      R"("phones":["2"]}],"writtenAt":"2025-03-01T09:30:00Z"})");
  ASSERT_TRUE(people.has_value());
  EXPECT_EQ(people->people[0].phones, std::vector<std::string>{"2"});
}

TEST(ExchangeCoding, KeysAndValuesMayBeEscaped) {
  const auto heartbeat = decode<HelperHeartbeat>(
      "\xEF\xBB\xBF \t\r\n{ \"\\u0061t\" : \"2025-03-01T09:30:00\\u005a\" , \"helperVersion\" : "
      "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00e4\\u20AC\\uD83C\\uDF82\\u0000x\" , \"status\":\"f\\u0061iled\"}\n");
  ASSERT_TRUE(heartbeat.has_value());
  EXPECT_EQ(heartbeat->helperVersion, std::string("\"\\/\b\f\n\r\t\u00E4\u20AC\U0001F382\0x", 19));
  EXPECT_EQ(heartbeat->status, HelperHeartbeat::Status::failed);
}

TEST(ExchangeCoding, EveryPrefixOfAFileReadsAsAbsent) {
  const std::string text = encode(notesOf(support::sampleDay()));
  for (std::size_t size = 0; size < text.size(); ++size)
    EXPECT_EQ(decode<HelperDayNotes>(std::string_view(text).substr(0, size)), std::nullopt) << size;
}

TEST(ExchangeCoding, WhatFollowsTheObjectMakesItAbsent) {
  const std::string text = encode(HelperDayNotes());
  EXPECT_TRUE(decode<HelperDayNotes>(text + " \n").has_value());
  for (const std::string& tail :
       {std::string("x"), std::string("{}"), std::string(","), std::string("\0", 1), std::string("}")})
    EXPECT_EQ(decode<HelperDayNotes>(text + tail), std::nullopt) << tail;
}

TEST(ExchangeCoding, DeepNestingEndsInAnAnswer) {
  constexpr std::size_t kDepth = 100'000;
  const std::string open(kDepth, '[');
  const std::string close(kDepth, ']');
  EXPECT_TRUE(decode<HelperHeartbeat>(heartbeatWith("\"deep\":" + open + close)).has_value());
  EXPECT_FALSE(decode<HelperHeartbeat>(heartbeatWith("\"deep\":" + open)).has_value());
  EXPECT_FALSE(decode<HelperHeartbeat>(open + close).has_value());
  std::string objects;
  for (std::size_t count = 0; count < kDepth; ++count) objects += "{\"a\":";
  EXPECT_FALSE(decode<HelperHeartbeat>(heartbeatWith("\"deep\":" + objects)).has_value());
  EXPECT_TRUE(
      decode<HelperHeartbeat>(heartbeatWith("\"deep\":" + objects + "1" + std::string(kDepth, '}'))).has_value());
  EXPECT_FALSE(decode<HelperDayNotes>("{\"days\":" + open + close + "}").has_value());
}

}  // namespace
}  // namespace pellora
