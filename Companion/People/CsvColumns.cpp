#include "Companion/People/CsvColumns.h"

#include <algorithm>
#include <string_view>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

// Compared with headings in lower case without spaces, digits and punctuation.
constexpr std::string_view kFirstNames[] = {"firstname", "givenname", "first",  "given",        "forename", "vorname",
                                            "rufname",   "prénom",    "prenom", "nombredepila", "voornaam", "imię"};
constexpr std::string_view kFullNames[] = {
    "name",       "fullname", "displayname",    "contactname", "contact", "person",      "fileas",           "nom",
    "nomcomplet", "nombre",   "nombrecompleto", "nome",        "naam",    "anzeigename", "vollständigername"};
constexpr std::string_view kNicknames[] = {"nickname", "spitzname", "surnom", "apodo", "alias"};
constexpr std::string_view kOrganizations[] = {
    "organization", "organizationname", "organisation", "company", "companyname", "firma", "entreprise", "empresa"};
constexpr std::string_view kUids[] = {"uid", "id", "uuid", "contactid"};

constexpr std::string_view kPhoneNames[] = {"number", "numbers", "phones", "nummer", "número", "numéro", "numero"};

// Anywhere in such a heading.
constexpr std::string_view kPhoneParts[] = {"phone", "telefon",   "teléfono", "téléphone", "telefoon",  "mobil",
                                            "handy", "rufnummer", "móvil",    "cellul",    "cellphone", "portable"};
constexpr std::string_view kEmailParts[] = {"email", "courriel", "correo"};

// Alone between spaces, digits and punctuation.
constexpr std::string_view kPhoneWords[] = {"tel", "tél", "cell", "mobile", "gsm"};
constexpr std::string_view kEmailWords[] = {"mail", "mails"};

// Headings with these hold something about a number or address, or somebody else's.
constexpr std::string_view kNotValues[] = {"type",      "label",  "phonetic",  "yomi",    "displayname",
                                           "assistant", "spouse", "emergency", "manager", "referred"};

bool isPlainLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || static_cast<unsigned char>(byte) >= 0x80;
}

std::string squashed(std::string_view lower) {
  std::string result;
  std::copy_if(lower.begin(), lower.end(), std::back_inserter(result), isPlainLetter);
  return result;
}

template <std::size_t size>
bool isOneOf(std::string_view text, const std::string_view (&words)[size]) {
  return std::find(std::begin(words), std::end(words), text) != std::end(words);
}

template <std::size_t size>
bool hasPart(std::string_view text, const std::string_view (&parts)[size]) {
  return std::any_of(std::begin(parts), std::end(parts),
                     [text](std::string_view part) { return text.find(part) != std::string_view::npos; });
}

template <std::size_t size>
bool hasWord(std::string_view lower, const std::string_view (&words)[size]) {
  std::string word;
  for (const char byte : lower) {
    if (isPlainLetter(byte)) {
      word += byte;
      continue;
    }
    if (isOneOf(word, words)) return true;
    word.clear();
  }
  return isOneOf(word, words);
}

void setOnce(std::optional<std::size_t>& column, std::size_t index) {
  if (!column) column = index;
}

}  // namespace

CsvColumns CsvColumns::find(const std::vector<std::string>& header) {
  CsvColumns columns;
  for (std::size_t index = 0; index < header.size(); ++index) {
    const std::string lower = text::lowercased(text::canonical(text::repairedUtf8(text::trimmed(header[index]))));
    const std::string name = squashed(lower);
    if (isOneOf(name, kFirstNames)) {
      setOnce(columns.firstName, index);
    } else if (isOneOf(name, kFullNames)) {
      setOnce(columns.fullName, index);
    } else if (isOneOf(name, kNicknames)) {
      setOnce(columns.nickname, index);
    } else if (isOneOf(name, kOrganizations)) {
      setOnce(columns.organization, index);
    } else if (isOneOf(name, kUids)) {
      setOnce(columns.uid, index);
    } else if (hasPart(name, kNotValues)) {
      continue;
    } else if (hasPart(name, kEmailParts) || hasWord(lower, kEmailWords)) {
      columns.emails.push_back(index);
    } else if (isOneOf(name, kPhoneNames) || hasPart(name, kPhoneParts) || hasWord(lower, kPhoneWords)) {
      columns.phones.push_back(index);
    }
  }
  return columns;
}

std::size_t CsvColumns::count() const {
  const std::size_t names = (firstName ? 1U : 0U) + (fullName ? 1U : 0U) + (nickname ? 1U : 0U);
  return names + (organization ? 1U : 0U) + (uid ? 1U : 0U) + phones.size() + emails.size();
}

bool CsvColumns::areEnough() const {
  return (firstName || fullName || nickname) && (!phones.empty() || !emails.empty());
}

}  // namespace pellora
