#include <gtest/gtest.h>

#include <vector>

#include "PelloraMessagesCore/HandleMatcher.h"
#include "Tests/Support/SampleRecords.h"

namespace pellora {

namespace {

using support::kAnna;
using support::kSam;

const Uuid kZoe = *Uuid::parse("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E12");

using Texts = std::vector<std::string>;

HandleMatcher matcherOf(std::vector<HelperPerson> people) {
  return HandleMatcher(people);
}

TEST(HandleMatcher, FindsPeopleByNumberAndAddress) {
  const HandleMatcher matcher = matcherOf(
      {{kAnna, "Anna", {"5551234567", "5559999999"}, {"anna@example.com"}}, {kSam, "Sam", {"2079460958"}, {}}});
  for (const std::string handle : {"+15551234567", "5551234567", " (555) 123-4567\n", "+1 555 999 9999",
                                   "anna@example.com", "  ANNA@Example.com\r\n", "+99 999 5551234567"})
    EXPECT_EQ(matcher.person(handle), kAnna) << handle;
  EXPECT_EQ(matcher.person("+44 20 7946 0958"), kSam);
  for (const std::string handle : {"", " ", "+15551234568", "bob@example.com", "anna@example.co", "anna", "@",
                                   "mailto:anna@example.com", "15551234567@example.com"})
    EXPECT_EQ(matcher.person(handle), std::nullopt) << handle;
}

TEST(HandleMatcher, NumbersOfFewerThanSevenCharactersNeverMatch) {
  const HandleMatcher matcher = matcherOf({{kAnna, "Anna", {"55512", "123456", "1234567", ""}, {}}});
  EXPECT_EQ(matcher.person("55512"), std::nullopt);
  EXPECT_EQ(matcher.person("123456"), std::nullopt);
  EXPECT_EQ(matcher.person(""), std::nullopt);
  EXPECT_EQ(matcher.person("123-4567"), kAnna);
}

TEST(HandleMatcher, NumberLengthIsCountedInCharacters) {
  const std::string six = "\u0661\u0662\u0663\u0664\u0665\u0666";
  const std::string seven = six + "\u0667";
  const HandleMatcher matcher = matcherOf({{kAnna, "Anna", {six, seven}, {}}});
  EXPECT_EQ(matcher.person(six), std::nullopt);
  EXPECT_EQ(matcher.person("+" + seven), kAnna);
}

TEST(HandleMatcher, NumberOfTwoPeopleBelongsToNobody) {
  const HandleMatcher matcher = matcherOf({{kAnna, "Anna", {"5551234567", "5550000001"}, {"home@example.com"}},
                                           {kSam, "Sam", {"5551234567", "5550000002"}, {"home@example.com"}},
                                           {kZoe, "Zoe", {"5551234567"}, {"zoe@example.com"}}});
  EXPECT_EQ(matcher.person("5551234567"), std::nullopt);
  EXPECT_EQ(matcher.person("home@example.com"), std::nullopt);
  EXPECT_EQ(matcher.person("5550000001"), kAnna);
  EXPECT_EQ(matcher.person("5550000002"), kSam);
  EXPECT_EQ(matcher.person("zoe@example.com"), kZoe);
}

TEST(HandleMatcher, NobodyGetsADisputedNumberBackByListingItAgain) {
  const HandleMatcher matcher = matcherOf({{kAnna, "Anna", {"5551234567"}, {}},
                                           {kSam, "Sam", {"5551234567", "5551234567"}, {}},
                                           {kAnna, "Anna", {"5551234567"}, {}}});
  EXPECT_EQ(matcher.person("5551234567"), std::nullopt);
}

TEST(HandleMatcher, OnePersonMayListANumberTwice) {
  const HandleMatcher matcher = matcherOf(
      {{kAnna, "Anna", {"5551234567", "5551234567"}, {"a@b.c", "a@b.c"}}, {kAnna, "Ann", {"5551234567"}, {}}});
  EXPECT_EQ(matcher.person("5551234567"), kAnna);
  EXPECT_EQ(matcher.person("a@b.c"), kAnna);
}

TEST(HandleMatcher, StoredValuesAreTakenAsTheyStand) {
  const HandleMatcher matcher =
      matcherOf({{kAnna, "Anna", {"+15551234567"}, {"Anna@Example.com", " sam@example.com"}}});
  EXPECT_EQ(matcher.person("+15551234567"), std::nullopt);
  EXPECT_EQ(matcher.person("Anna@Example.com"), std::nullopt);
  EXPECT_EQ(matcher.person(" sam@example.com"), std::nullopt);
}

TEST(HandleMatcher, NumbersAndAddressesDoNotMix) {
  const HandleMatcher matcher = matcherOf({{kAnna, "Anna", {"anna@example.com", "1234567@"}, {"5551234567"}}});
  EXPECT_EQ(matcher.person("anna@example.com"), std::nullopt);
  EXPECT_EQ(matcher.person("1234567@"), std::nullopt);
  EXPECT_EQ(matcher.person("5551234567"), std::nullopt);
}

TEST(HandleMatcher, ComposedAndDecomposedSpellingsAreOneAddress) {
  const HandleMatcher matcher =
      matcherOf({{kAnna, "Anna", {}, {"zo\u00EB@example.com"}}, {kSam, "Sam", {}, {"ann\u0065\u0301@example.com"}}});
  EXPECT_EQ(matcher.person("Zoe\u0308@example.com"), kAnna);
  EXPECT_EQ(matcher.person("ANN\u00C9@example.com"), kSam);
  const HandleMatcher disputed =
      matcherOf({{kAnna, "Anna", {}, {"zo\u00EB@example.com"}}, {kSam, "Sam", {}, {"zoe\u0308@example.com"}}});
  EXPECT_EQ(disputed.person("zo\u00EB@example.com"), std::nullopt);
}

TEST(HandleMatcher, AtSignCountsOnlyAsACharacterOfItsOwn) {
  const std::string marked = "@\u0301";
  const HandleMatcher matcher = matcherOf({{kAnna, "Anna", {"5551234567"}, {"anna" + marked + "example.com"}}});
  EXPECT_EQ(matcher.person("anna" + marked + "example.com"), std::nullopt);
  EXPECT_EQ(matcher.person("555" + marked + "1234567"), kAnna);
}

TEST(HandleMatcher, FirstOfTwoNamesForOnePersonCounts) {
  const HandleMatcher matcher =
      matcherOf({{kAnna, "Anna", {}, {}}, {kAnna, "Other", {}, {}}, {kSam, "", {}, {}}, {kSam, "Sam", {}, {}}});
  EXPECT_EQ(matcher.firstNames(), (std::unordered_map<Uuid, std::string>{{kAnna, "Anna"}, {kSam, ""}}));
}

TEST(HandleMatcher, WithoutPeopleFindsNobody) {
  const HandleMatcher matcher = matcherOf({});
  EXPECT_EQ(matcher.person("5551234567"), std::nullopt);
  EXPECT_EQ(matcher.person("a@b.c"), std::nullopt);
  EXPECT_TRUE(matcher.firstNames().empty());
}

struct NumberCase {
  std::string text;
  std::string normalized;
};

TEST(ContactNormalization, PhonesKeepTheirLastTenNumberCharacters) {
  for (const NumberCase& each :
       std::vector<NumberCase>{{"", ""},
                               {"12345", "12345"},
                               {"123456789", "123456789"},
                               {"1234567890", "1234567890"},
                               {"11234567890", "1234567890"},
                               {"+1 (555) 123-4567", "5551234567"},
                               {"555-123-4567", "5551234567"},
                               {"+44 20 7946 0958", "2079460958"},
                               {"tel:+15551234567", "5551234567"},
                               {"+1 555 123 4567 ext. 89", "5123456789"},
                               {"call me", ""},
                               {" \n", ""},
                               {"1-800-FLOWERS", "1800"},
                               {"\uFF0B\uFF11\uFF15\uFF15\uFF15\uFF11\uFF12\uFF13\uFF14\uFF15\uFF16\uFF17",
                                "\uFF15\uFF15\uFF15\uFF11\uFF12\uFF13\uFF14\uFF15\uFF16\uFF17"},
                               {"\u0660\u0661\u0662-\u0663\u0664\u0665\u0666\u0667\u0668\u0669\u0660",
                                "\u0661\u0662\u0663\u0664\u0665\u0666\u0667\u0668\u0669\u0660"},
                               {"\u00BD \u2167 \u4E09", "\u00BD\u2167\u4E09"},
                               {"1\uFE0F\u20E3 2",
                                "1\uFE0F\u20E3"
                                "2"},
                               {"\U0001F4DE 555", "555"}})
    EXPECT_EQ(ContactNormalization::phone(each.text), each.normalized) << each.text;
}

TEST(ContactNormalization, PhonesAreCountedByCharactersNotByBytes) {
  const std::string keycap = "1\uFE0F\u20E3";
  std::string nine;
  for (int count = 0; count < 9; ++count) nine += keycap;
  EXPECT_EQ(ContactNormalization::phone(nine), nine);
  EXPECT_EQ(ContactNormalization::phone(nine + keycap + keycap), nine + keycap);
}

TEST(ContactNormalization, EmailsAreTrimmedAndLowerCased) {
  for (const NumberCase& each :
       std::vector<NumberCase>{{"", ""},
                               {" \t\r\n", ""},
                               {"anna@example.com", "anna@example.com"},
                               {" \n Anna.B+tag@Example.COM\u00A0\u2029", "anna.b+tag@example.com"},
                               {"mailto:Anna@example.com", "mailto:anna@example.com"},
                               {"\u00C4NNE@EXAMPLE.COM", "\u00E4nne@example.com"},
                               {"ANNA B@x", "anna b@x"}})
    EXPECT_EQ(ContactNormalization::email(each.text), each.normalized) << each.text;
}

TEST(ContactNormalization, NormalizingTwiceChangesNothing) {
  for (const std::string text : {"+1 (555) 123-4567", " Anna@Example.com ", "\u0130\u039F\u03A3", "12", "\u00BD"}) {
    EXPECT_EQ(ContactNormalization::phone(ContactNormalization::phone(text)), ContactNormalization::phone(text));
    EXPECT_EQ(ContactNormalization::email(ContactNormalization::email(text)), ContactNormalization::email(text));
  }
}

TEST(ContactNormalization, InvalidTextDoesNoHarm) {
  EXPECT_EQ(ContactNormalization::phone("\xFF"
                                        "555\xC3"),
            "555");
  ContactNormalization::email("\xFF\xC3");
}

}  // namespace

}  // namespace pellora
