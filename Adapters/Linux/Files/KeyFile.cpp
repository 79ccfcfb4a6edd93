#include "Adapters/Linux/Files/KeyFile.h"

#include <glib.h>

#include <algorithm>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlank = " \t\r";

bool load(GKeyFile* file, const std::string& bytes) {
  const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  return g_key_file_load_from_data(file, bytes.data(), bytes.size(), flags, nullptr) != 0;
}

bool isReadable(const std::string& bytes) {
  GKeyFile* file = g_key_file_new();
  const bool isGood = bytes.find('\0') == std::string::npos && load(file, bytes);
  g_key_file_unref(file);
  return isGood;
}

// The text without white space around it.
std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlank);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlank) + 1 - begin);
}

// Every line on its own: what GLib does not take becomes a comment.
std::string mended(std::string_view bytes, const std::string& firstGroup) {
  std::string result;
  bool isInGroup = false;
  for (std::size_t begin = 0; begin < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', begin), bytes.size());
    std::string line(trimmed(bytes.substr(begin, end - begin)));
    begin = end + 1;
    if (line.empty() || line.front() == '#') {
      result += line + "\n";
      continue;
    }
    if (line.front() == '[' && isReadable(line + "\n")) {
      isInGroup = true;
    } else if (line.front() == '[' || !isReadable("[group]\n" + line + "\n") || (!isInGroup && firstGroup.empty())) {
      std::replace(line.begin(), line.end(), '\0', ' ');
      line.insert(0, "#");
    } else if (!isInGroup) {
      result += "[" + firstGroup + "]\n";
      isInGroup = true;
    }
    result += line + "\n";
  }
  return result;
}

std::optional<std::string> taken(char* text) {
  if (text == nullptr) return std::nullopt;
  std::string result = text;
  g_free(text);
  return result;
}

std::vector<std::string> taken(char** list) {
  std::vector<std::string> result;
  for (char** each = list; each != nullptr && *each != nullptr; ++each) result.emplace_back(*each);
  g_strfreev(list);
  return result;
}

}  // namespace

void KeyFile::Release::operator()(_GKeyFile* file) const {
  g_key_file_unref(file);
}

KeyFile::KeyFile(std::string_view bytes, const std::string& firstGroup) : _file(g_key_file_new()) {
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  const std::string whole(bytes);
  if (isReadable(whole) && load(_file.get(), whole)) return;
  _file.reset(g_key_file_new());
  load(_file.get(), mended(bytes, firstGroup));
}

std::optional<std::string> KeyFile::value(const std::string& group, const std::string& key) const {
  auto raw = taken(g_key_file_get_value(_file.get(), group.c_str(), key.c_str(), nullptr));
  if (raw) raw = std::string(trimmed(*raw));
  return raw;
}

std::optional<std::string> KeyFile::text(const std::string& group, const std::string& key) const {
  return taken(g_key_file_get_string(_file.get(), group.c_str(), key.c_str(), nullptr));
}

void KeyFile::setValue(const std::string& group, const std::string& key, const std::string& value) {
  g_key_file_set_value(_file.get(), group.c_str(), key.c_str(), value.c_str());
}

void KeyFile::setText(const std::string& group, const std::string& key, const std::string& text) {
  g_key_file_set_string(_file.get(), group.c_str(), key.c_str(), text::repairedUtf8(text).c_str());
  // GLib escapes blanks at the front only; editors drop those at the end.
  auto raw = taken(g_key_file_get_value(_file.get(), group.c_str(), key.c_str(), nullptr));
  if (raw && raw->ends_with(' ')) setValue(group, key, raw->substr(0, raw->size() - 1) + "\\s");
}

void KeyFile::erase(const std::string& group, const std::string& key) {
  g_key_file_remove_key(_file.get(), group.c_str(), key.c_str(), nullptr);
}

std::vector<std::string> KeyFile::groups() const {
  return taken(g_key_file_get_groups(_file.get(), nullptr));
}

std::vector<std::string> KeyFile::keys(const std::string& group) const {
  return taken(g_key_file_get_keys(_file.get(), group.c_str(), nullptr, nullptr));
}

std::string KeyFile::bytes() const {
  return taken(g_key_file_to_data(_file.get(), nullptr, nullptr)).value_or("");
}

}  // namespace pellora
