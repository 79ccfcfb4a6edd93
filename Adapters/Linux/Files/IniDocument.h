// A file of groups and `key=value` lines, edited in place: everything that is not asked to change stays byte by
// byte as it stands, comments, foreign groups and damaged lines included. Values are raw, as spelt in the file,
// without white space around them. Of several entries with one key the last counts. Any bytes make a document.
// Tested by Tests/Adapters/IniDocumentTests.cpp.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

class IniDocument {
 public:
  // `settings`: comments start with ';', lines may go on after a backslash or inside quotes, and what stands before
  // the first group belongs to "General", which is spelt in any case. `desktopEntry`: comments start with '#'.
  enum class Dialect { settings, desktopEntry };

  IniDocument(std::string_view bytes, Dialect dialect);

  std::optional<std::string> value(std::string_view group, std::string_view key) const;
  // Replaces the value that counts, or adds the entry (and the group) behind what is there; at the front of a file
  // so damaged that it could not be read there.
  void set(std::string_view group, std::string_view key, std::string_view rawValue);
  void erase(std::string_view group, std::string_view key);

  std::vector<std::string> groups() const;
  // In the order of the file, repeats included.
  std::vector<std::string> keys(std::string_view group) const;
  std::string bytes() const;

 private:
  struct Line {
    enum class Kind { other, group, entry };

    Kind kind = Kind::other;
    std::string raw;    // with its line break, if it has one
    std::string group;  // the group that the line opens or belongs to
    std::string key;
    std::size_t valueBegin = 0;
    std::size_t valueEnd = 0;
  };

  std::size_t endOfLine(std::string_view bytes, std::size_t begin) const;
  Line parsed(std::string_view raw, const std::string& group) const;
  Line entry(std::string_view group, std::string_view key, std::string_view rawValue) const;
  const Line* find(std::string_view group, std::string_view key) const;
  std::size_t insertionPoint(std::string_view group);
  void place(std::string_view group, std::string_view key, std::string_view rawValue);
  void placeAtFront(std::string_view group, std::string_view key, std::string_view rawValue);
  bool isReadAsItStands() const;
  // Group, key and value of each, in the order of the file.
  std::vector<std::array<std::string, 3>> entries() const;

  Dialect _dialect;
  std::vector<Line> _lines;
};

}  // namespace pellora
