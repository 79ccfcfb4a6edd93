#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Adapters/Linux/Files/IniDocument.h"

namespace pellora {

namespace {

using Dialect = IniDocument::Dialect;
using testing::ElementsAre;

}  // namespace

TEST(IniDocument, GivesBackEveryByteThatNobodyChanges) {
  for (const char* bytes : {"", "\n", "a", "a=1", "[g]", "; c\r\n[g]\r\n a = 1 \r\n\r\n", "a=\\\nb\n", "a=\"\n\"\n",
                            "\"\n\"\n\"", "x\ry\rz", "[g", "=", "\xEF\xBB\xBF[g]\na=1\n"}) {
    EXPECT_EQ(IniDocument(bytes, Dialect::settings).bytes(), bytes);
    EXPECT_EQ(IniDocument(bytes, Dialect::desktopEntry).bytes(), bytes);
  }
}

TEST(IniDocument, ADesktopEntryHasNoImplicitGroupAndNoQuotes) {
  IniDocument entry("Exec=0\n[Desktop Entry]\n# Exec=1\nExec=\"a\n;Name=2\nName=x\n[Desktop Action a]\nExec=3\n",
                    Dialect::desktopEntry);
  EXPECT_EQ(entry.value("Desktop Entry", "Exec"), "\"a");
  EXPECT_EQ(entry.value("Desktop Entry", "Name"), "x");
  EXPECT_EQ(entry.value("Desktop Action a", "Exec"), "3");
  EXPECT_FALSE(entry.value("General", "Exec"));
  EXPECT_FALSE(entry.value("desktop entry", "Exec"));
  EXPECT_THAT(entry.groups(), ElementsAre("Desktop Entry", "Desktop Action a"));
  EXPECT_THAT(entry.keys("Desktop Entry"), ElementsAre("Exec", ";Name", "Name"));
}

TEST(IniDocument, SettingReplacesTheValueThatCountsAndKeepsTheLineAroundIt) {
  IniDocument document("[g]\n  a =\r\na =  1  \r\n", Dialect::settings);
  document.set("g", "a", "22");
  EXPECT_EQ(document.bytes(), "[g]\n  a =\r\na =  22  \r\n");
  EXPECT_EQ(document.value("g", "a"), "22");
  IniDocument empty("[g]\na=\nb=1\n", Dialect::settings);
  empty.set("g", "a", "22");
  EXPECT_EQ(empty.bytes(), "[g]\na=22\nb=1\n");
}

TEST(IniDocument, ErasingTakesEveryEntryOfTheKeyInTheGroup) {
  IniDocument document("[g]\na=1\nb=2\na=3\n[h]\na=4\n", Dialect::desktopEntry);
  document.erase("g", "a");
  EXPECT_EQ(document.bytes(), "[g]\nb=2\n[h]\na=4\n");
}

TEST(IniDocument, NewEntriesGoBehindTheLastOnesOfTheirGroup) {
  IniDocument document("[g]\na=1\n# about a\n\n[h]\nb=2", Dialect::desktopEntry);
  document.set("g", "c", "3");
  document.set("h", "d", "4");
  document.set("i", "e", "5");
  EXPECT_EQ(document.bytes(), "[g]\na=1\n# about a\nc=3\n\n[h]\nb=2\nd=4\n\n[i]\ne=5\n");
}

TEST(IniDocument, WhatIsSetInADamagedFileIsReadAgainAndTheRestStays) {
  const char* const damaged[] = {"[General]\na=1\nb=\"open\n",     "[General]\nb=1\\",
                                 "x=\"open\n[General]\na=\"1\"\n", "\xEF\xBB\xBF[General]\nb=\"",
                                 "b=\"\na=0\n[g]\nc=\"d\"\n",      "\""};
  for (const char* bytes : damaged) {
    for (const char* group : {"General", "g"}) {
      IniDocument document(bytes, Dialect::settings);
      document.set(group, "a", "\"2, 3\"");
      document.set(group, "e", "4");
      const IniDocument again(document.bytes(), Dialect::settings);
      EXPECT_EQ(again.value(group, "a"), "\"2, 3\"") << bytes << group;
      EXPECT_EQ(again.value(group, "e"), "4") << bytes << group;
      EXPECT_EQ(again.value("General", "b"), IniDocument(bytes, Dialect::settings).value("General", "b")) << bytes;
    }
  }
}

TEST(IniDocument, WhatWasSetStaysWhenADamagedValueIsReplaced) {
  IniDocument document("e=1\\\na=\"\\", Dialect::settings);
  document.set("General", "n", "42");
  document.set("General", "a", "\"1, 2\"");
  document.set("General", "a", "\"3, 4\"");
  const IniDocument again(document.bytes(), Dialect::settings);
  EXPECT_EQ(again.value("General", "n"), "42");
  EXPECT_EQ(again.value("General", "a"), "\"3, 4\"");
}

}  // namespace pellora
