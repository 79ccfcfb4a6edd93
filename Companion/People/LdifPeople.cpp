#include <openssl/evp.h>

#include <algorithm>
#include <optional>
#include <string>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactCard.h"
#include "Companion/People/PeopleParser.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::size_t kLongestValue = 65536;  // bytes; pictures are longer and of no use
constexpr std::string_view kPhones[] = {
    "telephonenumber", "mobile", "mobiletelephonenumber", "homephone", "cellphone", "xmobile", "othermobile"};
constexpr std::string_view kEmails[] = {"mail", "email", "mozillasecondemail", "othermailbox", "rfc822mailbox"};

std::string decoded(std::string_view base64) {
  if (base64.empty() || base64.size() > kLongestValue) return {};
  std::string bytes(base64.size(), '\0');
  const int length =
      EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                      reinterpret_cast<const unsigned char*>(base64.data()), static_cast<int>(base64.size()));
  if (length < 0) return {};
  std::size_t size = static_cast<std::size_t>(length);
  // The library counts what fills up the last group.
  for (std::size_t at = base64.size(); at > 0 && base64[at - 1] == '=' && size > 0; --at) --size;
  bytes.resize(size);
  return bytes;
}

class Lines {
 public:
  explicit Lines(std::string_view text) : _rest(text) {}

  // Folded lines joined, comments left out; absent at the end. Empty lines part entries.
  std::optional<std::string> next() {
    if (_rest.empty()) return std::nullopt;
    std::string line(takePhysical());
    while (!line.empty() && !_rest.empty() && _rest.front() == ' ') line += takePhysical().substr(1);
    return line;
  }

 private:
  std::string_view takePhysical() {
    const std::size_t end = _rest.find_first_of("\r\n");
    const std::string_view line = _rest.substr(0, end);
    if (end == std::string_view::npos) {
      _rest = {};
      return line;
    }
    const bool isPair = _rest[end] == '\r' && end + 1 < _rest.size() && _rest[end + 1] == '\n';
    _rest.remove_prefix(end + (isPair ? 2 : 1));
    return line;
  }

  std::string_view _rest;
};

void take(const std::string& name, const std::string& value, ContactCard& card) {
  const std::string line = foreign_text::onOneLine(value);
  if (name == "cn" || name == "displayname") card.setFullName(line);
  if (name == "givenname" || name == "gn") card.setGivenName(line);
  if (name == "sn" || name == "surname") card.setFamilyName(line);
  if (name == "mozillanickname" || name == "xmozillanickname") card.setNickname(line);
  if (name == "o" || name == "company") card.setOrganization(line);
  if (name == "entryuuid" || name == "objectguid") card.setUid(line);
  if (text::isOneOf(name, kPhones)) card.addPhones(value);
  if (text::isOneOf(name, kEmails)) card.addEmail(value);
  if (name != "objectclass") return;
  const std::string kind = text::lowercased(line);
  if (kind == "groupofnames" || kind == "groupofuniquenames") card.setKind(ContactCard::Kind::group);
  if (kind == "organization" || kind == "organizationalunit") card.setKind(ContactCard::Kind::organization);
}

}  // namespace

bool containsLdif(std::string_view text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::string_view line = text.substr(begin, text.find_first_of("\r\n", begin) - begin);
    if (text::prefixLengthIgnoringCase(line.substr(0, 8), "dn:")) return true;
    // Only comments, the version and empty lines come before the first entry.
    const bool isBefore = line.empty() || line.starts_with('#') || line.starts_with("version:");
    if (!isBefore) return false;
    begin += line.size() + 1;
  }
  return false;
}

ImportedPeople parseLdifPeople(std::string_view text) {
  ImportedPeople result;
  result.format = ImportedPeople::Format::ldif;
  std::optional<ContactCard> card;
  std::size_t number = 0;
  const auto finish = [&] {
    if (card) card->finish("entry " + std::to_string(number), result);
    card.reset();
  };
  Lines lines(text);
  while (const auto line = lines.next()) {
    if (line->empty()) {
      finish();
      continue;
    }
    const std::size_t colon = line->find(':');
    if (line->front() == '#' || colon == std::string::npos) continue;
    std::string name = text::lowercased(std::string_view(*line).substr(0, std::min(colon, std::size_t{64})));
    name = name.substr(0, name.find(';'));  // options such as the language
    const bool isEncoded = line->size() > colon + 1 && (*line)[colon + 1] == ':';
    const std::string_view raw = text::trimmed(std::string_view(*line).substr(colon + (isEncoded ? 2 : 1)));
    if (name == "dn") {
      finish();
      card.emplace();
      ++number;
    } else if (card && raw.size() <= kLongestValue) {
      take(name, isEncoded ? decoded(raw) : std::string(raw), *card);
    }
  }
  finish();
  if (result.people.empty() && result.skipped.empty()) result.problem = "The file holds no entries of an address book.";
  return result;
}

}  // namespace pellora
