// Key files as GLib takes them, and what is read of damaged ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Adapters/Linux/Files/KeyFile.h"

namespace pellora {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(KeyFile, GivesGroupsKeysAndValues) {
  const KeyFile file("# comment\n[A]\nx = 1 \nName[de]=Name\n\n[B]\ny=a;b\\s\n");
  EXPECT_THAT(file.groups(), ElementsAre("A", "B"));
  EXPECT_THAT(file.keys("A"), ElementsAre("x", "Name[de]"));
  EXPECT_EQ(file.value("A", "x"), "1");
  EXPECT_EQ(file.value("B", "y"), "a;b\\s");
  EXPECT_EQ(file.text("B", "y"), "a;b ");
  EXPECT_EQ(file.value("B", "x"), std::nullopt);
  EXPECT_EQ(file.text("C", "x"), std::nullopt);
}

TEST(KeyFile, CommentsTranslationsAndForeignGroupsStay) {
  KeyFile file("# mine\n\n[A]\nx=1\n# about y\ny[de]=2\n\n[B]\nz=3\n");
  file.setValue("A", "x", "9");
  EXPECT_EQ(file.bytes(), "# mine\n\n[A]\nx=9\n# about y\ny[de]=2\n\n[B]\nz=3\n");
}

TEST(KeyFile, SetsAndErases) {
  KeyFile file("");
  file.setValue("A", "x", "1");
  file.setValue("A", "y", "2");
  file.setValue("A", "x", "3");
  EXPECT_EQ(file.bytes(), "[A]\nx=3\ny=2\n");
  file.erase("A", "x");
  file.erase("A", "missing");
  file.erase("B", "missing");
  EXPECT_EQ(file.bytes(), "[A]\ny=2\n");
}

TEST(KeyFile, EveryTextComesBack) {
  for (const std::string text :
       {"", " ", "  a  ", "a;b,c=d", "\"quoted\"", "back\\slash\\", "line\nbreak\r\n", "\ttab", "[A]", "# no comment",
        "ключ", "👩‍👩‍👧", "\x01\x7F", "%41", "\\n", "\xC2\xA0"}) {
    KeyFile file("[A]\nother=1\n");
    file.setText("A", "x", text);
    const KeyFile again(file.bytes());
    EXPECT_EQ(again.text("A", "x"), text);
    EXPECT_EQ(again.value("A", "other"), "1") << text;
  }
}

TEST(KeyFile, EntriesBeforeTheFirstGroupBelongToTheOneNamed) {
  EXPECT_EQ(KeyFile("x=1\n[A]\ny=2\n", "General").value("General", "x"), "1");
  EXPECT_EQ(KeyFile("\xEF\xBB\xBF[General]\r\nx=1\r\n").value("General", "x"), "1");
  EXPECT_THAT(KeyFile("x=1\n[A]\ny=2\n").groups(), ElementsAre("A"));
}

TEST(KeyFile, DamagedLinesBecomeCommentsAndTheRestIsRead) {
  const std::string bytes =
      std::string("; old comment\n[A]\nx=1\nnonsense\n[broken\n=2\ny=\xFF\n\0\0z=3\n", 52) + "[B]\nz=4";
  const KeyFile file(bytes);
  EXPECT_EQ(file.value("A", "x"), "1");
  EXPECT_EQ(file.value("B", "z"), "4");
  for (const char* kept : {"#; old comment\n", "#nonsense\n", "#[broken\n", "#=2\n"})
    EXPECT_THAT(file.bytes(), HasSubstr(kept));
}

TEST(KeyFile, AFileThatIsCutAnywhereIsReadAsFarAsItGoes) {
  const std::string whole = "[General]\nfirst=1\nsecond=two\n[Other]\nthird=3\n";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    KeyFile file(whole.substr(0, length), "General");
    if (length >= 17) EXPECT_EQ(file.value("General", "first"), "1") << length;
    file.setValue("General", "added", "9");
    const KeyFile again(file.bytes(), "General");
    EXPECT_EQ(again.value("General", "added"), "9") << length;
    if (length >= 17) EXPECT_EQ(again.value("General", "first"), "1") << length;
  }
}

}  // namespace
}  // namespace pellora
