#include <gtest/gtest.h>

#include <vector>

#include "PelloraMessagesCore/ContactNormalization.h"

namespace pellora {
namespace {

struct Case {
  std::string text;
  std::string normalised;
};

TEST(ContactNormalization, PhonesKeepTheirLastTenNumberCharacters) {
  for (const Case& each : std::vector<Case>{{"", ""},
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
    EXPECT_EQ(ContactNormalization::phone(each.text), each.normalised) << each.text;
}

TEST(ContactNormalization, PhonesAreCountedByCharactersNotByBytes) {
  const std::string keycap = "1\uFE0F\u20E3";
  std::string nine;
  for (int count = 0; count < 9; ++count) nine += keycap;
  EXPECT_EQ(ContactNormalization::phone(nine), nine);
  EXPECT_EQ(ContactNormalization::phone(nine + keycap + keycap), nine + keycap);
}

TEST(ContactNormalization, EmailsAreTrimmedAndLowerCased) {
  for (const Case& each : std::vector<Case>{{"", ""},
                                            {" \t\r\n", ""},
                                            {"anna@example.com", "anna@example.com"},
                                            {" \n Anna.B+tag@Example.COM\u00A0\u2029", "anna.b+tag@example.com"},
                                            {"mailto:Anna@example.com", "mailto:anna@example.com"},
                                            {"\u00C4NNE@EXAMPLE.COM", "\u00E4nne@example.com"},
                                            {"ANNA B@x", "anna b@x"}})
    EXPECT_EQ(ContactNormalization::email(each.text), each.normalised) << each.text;
}

TEST(ContactNormalization, NormalisingTwiceChangesNothing) {
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
