// Settings in an INI file, group "General", with the key texts verbatim:
//
//     [General]
//     messages.lastRowID=123
//     messages.lastReadAt=2026-11-21T04:29:00.123456789Z
//
// The file is read again on every call, so other processes may write it; it is replaced as a whole, so no reader ever
// meets half of it. Groups and comments of others stay. The file holds no types: a value reads as every type that its
// text spells. A damaged line reads as absent; the next store keeps it as a comment and goes on.
// Tested by Tests/Adapters/UserDefaultsTests.cpp.
#pragma once

#include <filesystem>

#include "PelloraMessagesCore/Ports/Storage.h"

namespace pellora {

class IniUserDefaults : public UserDefaults {
 public:
  explicit IniUserDefaults(std::filesystem::path file) : _file(std::move(file)) {}

  // $XDG_CONFIG_HOME/app.pellora.messages/defaults.ini; absent when there is no home folder.
  static std::optional<std::filesystem::path> standardFile();

  std::optional<std::int64_t> integer(const std::string& key) const override;
  std::optional<std::string> text(const std::string& key) const override;
  std::optional<Instant> date(const std::string& key) const override;
  bool boolean(const std::string& key) const override;
  void store(const std::vector<Change>& changes) override;

 private:
  std::filesystem::path _file;
};

}  // namespace pellora
