#include "Companion/People/PeopleParser.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <iterator>
#include <system_error>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/ForeignText.h"
#include "Companion/People/PeopleParser.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

ImportedPeople unreadable(std::string problem) {
  ImportedPeople result;
  result.problem = std::move(problem);
  return result;
}

}  // namespace

void ImportedPeople::append(ImportedPeople other) {
  const auto add = [](auto& list, auto& more) {
    list.insert(list.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
  };
  add(people, other.people);
  add(skipped, other.skipped);
  add(companyPhones, other.companyPhones);
  add(usedColumns, other.usedColumns);
  add(unusedColumns, other.unusedColumns);
  format = Format::several;
}

ImportedPeople parsePeople(std::string_view bytes, const char* charset) {
  const std::string unicode = foreign_text::withoutByteOrder(bytes);
  const std::string_view content = text::trimmed(unicode);
  if (content.empty()) return unreadable("The file is empty.");
  if (content.find('\0') != std::string_view::npos)
    return unreadable("The file is neither a JSON list nor a table nor vCards.");
  if (content.front() == '[' || content.front() == '{') return parseJsonPeople(foreign_text::utf8(unicode));
  if (containsVCard(unicode)) return parseVCardPeople(unicode, charset);
  if (containsLdif(content)) return parseLdifPeople(content);
  return parseCsvPeople(unicode, charset);
}

}  // namespace pellora

namespace pellora::input_file {

namespace {

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
  throw CompanionFailure("Cannot read " + (name == "-" ? "standard input" : display::printable(name)) + ": " + reason +
                         ".");
}

}  // namespace

std::string read(const std::string& name) {
  FileDescriptor file;
  if (name != "-") file = FileDescriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC));
  if (name != "-" && !file.isOpen()) fail(name, std::generic_category().message(errno));
  const int descriptor = name == "-" ? STDIN_FILENO : file.number();
  std::string bytes;
  std::array<char, 65536> buffer{};
  while (true) {
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(name, std::generic_category().message(errno));
    if (count == 0) return bytes;
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
    if (bytes.size() > kMaximumSize) fail(name, "it is larger than 256 MB");
  }
}

}  // namespace pellora::input_file
