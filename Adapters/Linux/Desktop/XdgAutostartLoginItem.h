// The helper as an autostart entry of the desktop: `autostart/app.pellora.Messages.desktop` in the user's
// configuration folder, which overrides one of the same name in the system's folders. An entry is disabled by
// `Hidden=true` or `X-GNOME-Autostart-enabled=false`. `TryExec` lets the desktop pass over an entry whose program is
// gone. Keys that others added stay.
// Tested by Tests/Adapters/LoginItemTests.cpp.
#pragma once

#include <QFileSystemWatcher>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

class XdgAutostartLoginItem : public LoginItem {
 public:
  // How the entry names the program: as a command line, and as a file.
  struct Program {
    std::string command;
    std::string file;
  };

  // `program` is started at login with the argument --background. The folders come from the environment.
  explicit XdgAutostartLoginItem(const std::filesystem::path& program);
  // Absent: nothing can be enabled. The system's folders come in the order in which they count.
  XdgAutostartLoginItem(const std::filesystem::path& program,
                        const std::optional<std::filesystem::path>& userConfiguration,
                        const std::vector<std::filesystem::path>& systemConfigurations);

  bool isEnabled() const override;
  void enable() override;
  void disable() override;
  void observe(std::function<void()> changed) override;

  // Lets an enabled entry of the user's start this program when it starts another path. Fails without a word.
  void refresh();

 private:
  bool startsThis(const std::string& bytes) const;
  std::optional<std::string> systemEntry() const;
  void write(const std::string& bytes) const;
  void watchFolders();

  Program _program;
  std::optional<std::filesystem::path> _userFile;
  std::vector<std::filesystem::path> _systemFiles;
  std::unique_ptr<QFileSystemWatcher> _watcher;
};

}  // namespace pellora
