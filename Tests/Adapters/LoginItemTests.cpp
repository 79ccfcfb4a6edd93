// The contract of login items; then the autostart entry, with the desktop's own validator.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "Adapters/InMemory/InMemoryDesktop.h"
#include "Adapters/Linux/Desktop/XdgAutostartLoginItem.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Contract.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using testing::HasSubstr;
using testing::Not;

class LoginItemWorld {
 public:
  virtual ~LoginItemWorld() = default;
  virtual LoginItem& item() = 0;
  virtual void refuse() = 0;
  virtual void changeElsewhere(bool enabled) = 0;
};

class MemoryLoginItemWorld : public LoginItemWorld {
 public:
  LoginItem& item() override { return _item; }
  void refuse() override { _item.setRefusing(true); }
  void changeElsewhere(bool enabled) override { _item.changeElsewhere(enabled); }

 private:
  InMemoryLoginItem _item;
};

class AutostartWorld : public LoginItemWorld {
 public:
  LoginItem& item() override { return _item; }
  void refuse() override { std::ofstream(_folder / "config") << "in the folder's place"; }
  void changeElsewhere(bool enabled) override {
    XdgAutostartLoginItem other("/usr/bin/pellora-for-messages", _folder / "config", {});
    enabled ? other.enable() : other.disable();
  }

 private:
  support::TemporaryFolder _folder;
  XdgAutostartLoginItem _item{"/usr/bin/pellora-for-messages", _folder / "config", {}};
};

class LoginItemContract : public support::Contract<LoginItemWorld> {
 protected:
  LoginItem& item() { return world->item(); }
};

}  // namespace

TEST_P(LoginItemContract, IsDisabledAtFirst) {
  EXPECT_FALSE(item().isEnabled());
}

TEST_P(LoginItemContract, FollowsEveryChange) {
  for (int round = 0; round < 3; ++round) {
    item().enable();
    EXPECT_TRUE(item().isEnabled());
    item().enable();
    EXPECT_TRUE(item().isEnabled());
    item().disable();
    EXPECT_FALSE(item().isEnabled());
    item().disable();
    EXPECT_FALSE(item().isEnabled());
  }
}

TEST_P(LoginItemContract, TellsOfChangesByOtherPrograms) {
  int changes = 0;
  item().observe([&changes] { ++changes; });
  for (const bool enabled : {true, false, true}) {
    const int before = changes;
    world->changeElsewhere(enabled);
    EXPECT_TRUE(support::waitUntil([&] { return changes > before; }));
    EXPECT_EQ(item().isEnabled(), enabled);
  }
}

TEST_P(LoginItemContract, AFailureChangesNothingWithoutAWord) {
  world->refuse();
  EXPECT_NO_THROW(item().enable());
  EXPECT_FALSE(item().isEnabled());
  EXPECT_NO_THROW(item().disable());
}

INSTANTIATE_TEST_SUITE_P(Items, LoginItemContract,
                         testing::Values(support::party<LoginItemWorld, MemoryLoginItemWorld>("InMemory"),
                                         support::party<LoginItemWorld, AutostartWorld>("XdgAutostart")),
                         support::kPartyName);

namespace {

class XdgAutostartLoginItemTest : public testing::Test {
 protected:
  XdgAutostartLoginItem item(const std::string& program = "/usr/bin/pellora-for-messages") {
    return {program, folder / "config", {folder / "system1", folder / "system2"}};
  }
  static void write(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << bytes;
  }
  static std::string read(const std::filesystem::path& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  support::TemporaryFolder folder;
  const std::filesystem::path file = folder / "config/autostart/app.pellora.Messages.desktop";
  const std::filesystem::path system1 = folder / "system1/autostart/app.pellora.Messages.desktop";
  const std::filesystem::path system2 = folder / "system2/autostart/app.pellora.Messages.desktop";
};

constexpr char kForeign[] = "[Desktop Entry]\nType=Application\nName=Mine\nExec=/old --background\n";

}  // namespace

TEST_F(XdgAutostartLoginItemTest, WritesAnEntryThatStartsTheProgramInTheBackground) {
  item().enable();
  EXPECT_EQ(read(file),
            "[Desktop Entry]\n"
            "Type=Application\n"
            "Version=1.0\n"
            "Name=Pellora for Messages\n"
            "Comment=Reads Messages for Pellora\n"
            "Icon=app.pellora.Messages\n"
            "Terminal=false\n"
            "StartupNotify=false\n"
            "Exec=\"/usr/bin/pellora-for-messages\" --background\n"
            "TryExec=/usr/bin/pellora-for-messages\n"
            "X-GNOME-Autostart-enabled=true\n");
}

TEST_F(XdgAutostartLoginItemTest, TheProgramIsQuotedByTheRulesOfCommandLines) {
  struct Case {
    const char* program;
    const char* exec;
  };
  for (const Case& each : {Case{"/a b/c", R"("/a b/c" --background)"}, Case{"/a\"b", R"("/a\\"b" --background)"},
                           Case{"/a$b`c", R"("/a\\$b\\`c" --background)"}, Case{"/a\\b", R"("/a\\\\b" --background)"},
                           Case{"/100%f", R"("/100%%f" --background)"}, Case{"/ü/💬", R"("/ü/💬" --background)"},
                           Case{"/a\nb\tc", R"("/a\nb\tc" --background)"}}) {
    std::filesystem::remove_all(folder / "config");
    item(each.program).enable();
    EXPECT_THAT(read(file), HasSubstr(std::string("\nExec=") + each.exec + "\n"));
    EXPECT_TRUE(item(each.program).isEnabled());
  }
}

TEST_F(XdgAutostartLoginItemTest, TheDesktopsValidatorAcceptsEveryEntry) {
  if (!support::isInstalled("desktop-file-validate")) GTEST_SKIP() << "desktop-file-validate is not installed";
  const auto complaints = [this] { return support::ChildProcess("desktop-file-validate", {file.string()}).finish(); };
  for (const char* program : {"/usr/bin/pellora-for-messages", "/a b/$c\\\"`/100%", "/ü/💬"}) {
    std::filesystem::remove_all(folder / "config");
    item(program).enable();
    EXPECT_EQ(complaints(), "") << program;
  }
  write(system1, kForeign);
  item().disable();
  EXPECT_EQ(complaints(), "");
  write(file, std::string(kForeign) + "Actions=x;\n# mine\n\n[Desktop Action x]\nName=X\nExec=x\n");
  item().enable();
  item().disable();
  EXPECT_EQ(complaints(), "");
}

TEST_F(XdgAutostartLoginItemTest, HiddenAndTheDesktopsOwnSwitchDisable) {
  struct Case {
    const char* lines;
    bool enabled;
  };
  for (const Case& each :
       {Case{"", true}, Case{"Hidden=true\n", false}, Case{"Hidden=false\n", true},
        Case{"X-GNOME-Autostart-enabled=false\n", false}, Case{"X-GNOME-Autostart-enabled=true\n", true},
        Case{"X-GNOME-Autostart-enabled=true\nHidden=true\n", false}, Case{" Hidden = true \n", false},
        Case{"[Other]\nHidden=true\n", true}}) {
    write(file, std::string(kForeign) + each.lines);
    EXPECT_EQ(item().isEnabled(), each.enabled) << each.lines;
    item().enable();
    EXPECT_TRUE(item().isEnabled()) << each.lines;
    item().disable();
    EXPECT_FALSE(item().isEnabled()) << each.lines;
  }
}

TEST_F(XdgAutostartLoginItemTest, DamagedEntriesStartNothingAndAreMended) {
  for (const char* bytes : {"", "nonsense", "[Desktop Entry]\n", "[Desktop Entry]\nExec=\n", "Exec=/x\n",
                            "[Other]\nExec=/x\n", "\xFF\xFE\x00"}) {
    write(file, bytes);
    EXPECT_FALSE(item().isEnabled()) << bytes;
    item().enable();
    EXPECT_TRUE(item().isEnabled()) << bytes;
  }
}

TEST_F(XdgAutostartLoginItemTest, TheUsersEntryOverridesTheSystems) {
  write(system2, kForeign);
  EXPECT_TRUE(item().isEnabled());
  write(system1, std::string(kForeign) + "Hidden=true\n");
  EXPECT_FALSE(item().isEnabled());
  write(file, kForeign);
  EXPECT_TRUE(item().isEnabled());
  std::filesystem::remove(file);
  item().enable();
  EXPECT_TRUE(item().isEnabled());
  EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(XdgAutostartLoginItemTest, DisablingASystemEntryHidesItForTheUser) {
  write(system1, kForeign);
  item().enable();
  EXPECT_FALSE(std::filesystem::exists(file));
  item().disable();
  EXPECT_FALSE(item().isEnabled());
  EXPECT_THAT(read(file), HasSubstr("\nHidden=true\n"));
  EXPECT_EQ(read(system1), kForeign);
  item().enable();
  EXPECT_TRUE(item().isEnabled());
  EXPECT_THAT(read(file), Not(HasSubstr("Hidden")));
}

TEST_F(XdgAutostartLoginItemTest, DisablingAnEntryOfOursAloneRemovesIt) {
  item().enable();
  item().disable();
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(XdgAutostartLoginItemTest, WhatOthersAddedStays) {
  const std::string extra = "X-Delay=5\nName[de]=Meins\n# a comment\n\n[Desktop Action x]\nName=X\nExec=x\n";
  write(file, kForeign + extra);
  item().disable();
  EXPECT_THAT(read(file), HasSubstr("X-Delay=5\nName[de]=Meins\n"));
  EXPECT_THAT(read(file), HasSubstr("\n# a comment\n")) << "before or after the new keys, as GLib likes it";
  EXPECT_THAT(read(file), HasSubstr("\nHidden=true\n"));
  EXPECT_THAT(read(file), HasSubstr("\n[Desktop Action x]\nName=X\nExec=x\n"));
  item().enable();
  EXPECT_THAT(read(file), HasSubstr("Name=Mine\n"));
  EXPECT_THAT(read(file), HasSubstr("X-Delay=5\n"));
}

TEST_F(XdgAutostartLoginItemTest, RefreshingFollowsTheProgramWhenItMoved) {
  item("/old/place").enable();
  item("/new/place").refresh();
  EXPECT_THAT(read(file), HasSubstr("\nExec=\"/new/place\" --background\n"));
  const auto written = std::filesystem::last_write_time(file);
  item("/new/place").refresh();
  item("/new/place").enable();
  EXPECT_EQ(std::filesystem::last_write_time(file), written);
}

// After the package is purged the entry is still in the home: the desktop passes over it.
TEST_F(XdgAutostartLoginItemTest, TheEntryNamesTheFileThatMustBeThere) {
  item("/a b/ü$\"c\\d\ne").enable();
  EXPECT_THAT(read(file), HasSubstr("\nTryExec=/a b/ü$\"c\\\\d\\ne\n"));
  item("/new/place").refresh();
  EXPECT_THAT(read(file), HasSubstr("\nTryExec=/new/place\n"));
}

TEST_F(XdgAutostartLoginItemTest, RefreshingAddsTheFileToAnOlderEntry) {
  write(file, "[Desktop Entry]\nType=Application\nName=Mine\nExec=\"/usr/bin/pellora-for-messages\" --background\n");
  item().refresh();
  EXPECT_THAT(read(file), HasSubstr("\nTryExec=/usr/bin/pellora-for-messages\n"));
  item().disable();
  EXPECT_FALSE(std::filesystem::exists(file)) << "the key is one of ours";
}

TEST_F(XdgAutostartLoginItemTest, RefreshingEnablesNothing) {
  item().refresh();
  EXPECT_FALSE(std::filesystem::exists(file));
  write(file, std::string(kForeign) + "Hidden=true\n");
  item().refresh();
  EXPECT_EQ(read(file), std::string(kForeign) + "Hidden=true\n");
}

TEST_F(XdgAutostartLoginItemTest, ALinkToNowhereMeansDisabledAndIsReplaced) {
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::create_symlink("/dev/null", file);
  EXPECT_FALSE(item().isEnabled());
  item().enable();
  EXPECT_TRUE(item().isEnabled());
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(XdgAutostartLoginItemTest, ALinkToAFileStaysALink) {
  write(folder / "dotfiles/entry", kForeign);
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::create_symlink(folder / "dotfiles/entry", file);
  item().refresh();
  EXPECT_TRUE(std::filesystem::is_symlink(file));
  EXPECT_THAT(read(folder / "dotfiles/entry"), HasSubstr("--background"));
}

TEST_F(XdgAutostartLoginItemTest, TheFoldersComeFromTheEnvironment) {
  support::ScopedEnvironment environment;
  environment.set("XDG_CONFIG_HOME", (folder / "config").string());
  environment.set("XDG_CONFIG_DIRS", "relative:" + (folder / "system1").string() + ":" + (folder / "system2").string());
  write(system2, kForeign);
  EXPECT_TRUE(XdgAutostartLoginItem("/usr/bin/pellora-for-messages").isEnabled());
  XdgAutostartLoginItem("/usr/bin/pellora-for-messages").disable();
  EXPECT_TRUE(std::filesystem::exists(file));
  EXPECT_FALSE(XdgAutostartLoginItem("/usr/bin/pellora-for-messages").isEnabled());
}

}  // namespace pellora
