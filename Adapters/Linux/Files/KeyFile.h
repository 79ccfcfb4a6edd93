// A file of groups and `key=value` lines, read and written by GLib, so that every program that knows such files reads
// ours and ours reads theirs; comments and groups of others stay. GLib gives up a file at its first damaged line: here
// such lines become comments, and the rest is read. Of several entries with one key the last counts.
// Tested by Tests/Adapters/KeyFileTests.cpp; any bytes by Fuzzers/KeyFileFuzzer.cpp.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct _GKeyFile;  // GLib's name

namespace pellora {

class KeyFile {
 public:
  // Entries before the first group belong to `firstGroup`; where that is empty they are damage.
  explicit KeyFile(std::string_view bytes, const std::string& firstGroup = {});

  // As spelled in the file, escapes included, without white space around it.
  std::optional<std::string> value(const std::string& group, const std::string& key) const;
  // Without escapes; absent also when it is damaged.
  std::optional<std::string> text(const std::string& group, const std::string& key) const;

  // Names of groups and keys must be plain.
  void setValue(const std::string& group, const std::string& key, const std::string& value);
  void setText(const std::string& group, const std::string& key, const std::string& text);
  void erase(const std::string& group, const std::string& key);

  std::vector<std::string> groups() const;
  std::vector<std::string> keys(const std::string& group) const;
  std::string bytes() const;

 private:
  struct Release {
    void operator()(_GKeyFile* file) const;
  };

  std::unique_ptr<_GKeyFile, Release> _file;
};

}  // namespace pellora
