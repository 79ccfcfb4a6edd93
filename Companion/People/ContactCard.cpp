#include "Companion/People/ContactCard.h"

#include <unicode/uscript.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "Companion/Output/ForeignText.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::size_t kShortestPhoneNumber = 7;  // digits; a part with fewer is not a number by itself
constexpr std::size_t kLongestName = 200;        // bytes, of a first name
constexpr std::size_t kLongestEntry = 200;       // bytes
constexpr std::size_t kLongestAddress = 320;     // bytes

// In front of a name, compared without full stops and case.
constexpr std::string_view kTitles[] = {
    "dr",       "prof",   "professor", "mr",     "mrs",     "ms",         "miss", "mx",   "sir",  "dame", "lady",
    "lord",     "rev",    "fr",        "hon",    "herr",    "frau",       "dipl", "ing",  "mag",  "med",  "phil",
    "jur",      "nat",    "rer",       "h",      "c",       "mult",       "pd",   "m",    "mme",  "mlle", "madame",
    "monsieur", "maître", "me",        "sr",     "sra",     "srta",       "don",  "doña", "dra",  "lic",  "sig",
    "sigra",    "signor", "signora",   "dott",   "dottssa", "dottoressa", "avv",  "dhr",  "mevr", "mw",   "drs",
    "ir",       "hr",     "fru",       "pan",    "pani",    "mgr",        "inż",  "bc",   "judr", "mudr", "г-н",
    "г-жа",     "др",     "dipl-ing",  "dr-ing", "prof-dr", "univ-prof",  "capt", "col",  "lt",   "sgt",  "maj"};
// One letter or short enough to be somebody's name: only with a full stop.
constexpr std::string_view kOnlyWithStop[] = {"h",   "c",   "m",   "me",  "fr", "don", "ing", "ir",
                                              "pan", "mag", "nat", "med", "hr", "bc",  "maj", "hon"};
// After a comma or a name.
constexpr std::string_view kDegrees[] = {"phd", "md",  "dds", "esq", "jr",  "sr", "ii", "iii", "iv", "mba",
                                         "msc", "bsc", "ma",  "ba",  "cpa", "rn", "jd", "dvm", "pe", "mph"};

std::string_view withoutScheme(std::string_view text, std::string_view scheme) {
  const auto length = text::prefixLengthIgnoringCase(text, scheme);
  return length ? text.substr(*length) : text;
}

std::size_t digitsIn(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }));
}

// "1.20156E+10": the rest of the digits is lost.
bool isRounded(std::string_view text) {
  const std::size_t mark = text.find_first_of("eE");
  if (mark == std::string_view::npos || mark == 0) return false;
  const std::string_view power = text.substr(mark + 1);
  return text.substr(0, mark).find_first_not_of("0123456789.,") == std::string_view::npos && power.size() >= 2 &&
         (power.front() == '+' || (power.front() >= '0' && power.front() <= '9')) &&
         power.substr(1).find_first_not_of("0123456789") == std::string_view::npos;
}

// "15551234567.0" is a number that a spreadsheet counted with.
std::string_view withoutDecimals(std::string_view text) {
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || point < kShortestPhoneNumber) return text;
  const bool isCounted = text.substr(0, point).find_first_not_of("0123456789") == std::string_view::npos &&
                         text.substr(point + 1).find_first_not_of('0') == std::string_view::npos;
  return isCounted ? text.substr(0, point) : text;
}

// At these marks when every part could be a number of its own; "030/1234567" stays one.
std::vector<std::string_view> splitWhereWhole(std::string_view text) {
  std::vector<std::string_view> parts;
  std::size_t begin = 0;
  for (std::size_t at = 0; at <= text.size(); ++at) {
    if (at < text.size() && text[at] != ',' && text[at] != '/' && text[at] != '|' && text[at] != '&') continue;
    parts.push_back(text.substr(begin, at - begin));
    begin = at + 1;
  }
  const bool areWhole = std::all_of(parts.begin(), parts.end(), [](std::string_view part) {
    return digitsIn(part) >= kShortestPhoneNumber || part.find('@') != std::string_view::npos;
  });
  return areWhole ? parts : std::vector<std::string_view>{text};
}

void keepFirsts(std::vector<std::string>& texts) {
  std::unordered_set<std::string> seen;
  std::erase_if(texts, [&seen](const std::string& text) { return !seen.insert(text).second; });
}

std::string bare(std::string_view word) {
  std::string result = text::lowercased(word);
  std::erase(result, '.');
  return result;
}

bool isTitle(std::string_view word) {
  const std::string name = bare(word);
  if (text::isOneOf(name, kOnlyWithStop)) return word.ends_with('.');
  return text::isOneOf(name, kTitles);
}

bool isDegree(std::string_view text) {
  return text::isOneOf(bare(text::trimmed(text)), kDegrees);
}

// Of "Lovelace, Dr., Ada, PhD" the part with the first name: the first one after the family's that is not a title
// alone. Degrees end the name. Some address books write semicolons.
std::string unturned(std::string_view name) {
  std::string first;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find_first_of(",;"), name.size());
    const std::string part = foreign_text::onOneLine(name.substr(0, end));
    name.remove_prefix(std::min(end + 1, name.size()));
    if (part.empty()) continue;
    if (first.empty()) {
      first = part;
    } else if (isDegree(part)) {
      break;
    } else if (!isTitle(part)) {
      return part;
    }
  }
  return first;
}

// Whether all letters are of the writings in which the family's name comes first.
bool hasFamilyFirst(std::string_view text) {
  std::int32_t at = 0;
  const auto length = static_cast<std::int32_t>(text.size());
  bool isFound = false;
  while (at < length) {
    UChar32 scalar = 0;
    U8_NEXT(text.data(), at, length, scalar);
    UErrorCode error = U_ZERO_ERROR;
    const UScriptCode script = scalar < 0 ? USCRIPT_COMMON : uscript_getScript(scalar, &error);
    const bool isEast =
        script == USCRIPT_HAN || script == USCRIPT_HIRAGANA || script == USCRIPT_KATAKANA || script == USCRIPT_HANGUL;
    if (!isEast && script != USCRIPT_COMMON && script != USCRIPT_INHERITED) return false;
    isFound = isFound || isEast;
  }
  return isFound;
}

}  // namespace

std::string firstNameIn(std::string_view fullName) {
  const std::string name = unturned(foreign_text::onOneLine(fullName));
  std::string_view rest = name;
  while (true) {
    const std::size_t space = rest.find(' ');
    if (space == std::string_view::npos || !isTitle(rest.substr(0, space))) break;
    rest = rest.substr(space + 1);
  }
  if (const std::size_t space = rest.rfind(' '); space != std::string_view::npos && hasFamilyFirst(rest))
    return std::string(rest.substr(space + 1));
  return std::string(rest.substr(0, rest.find(' ')));
}

void ContactCard::addPhone(std::string_view text) {
  std::string_view number = withoutDecimals(text::trimmed(withoutScheme(text::trimmed(text), "tel:")));
  if (number.find('@') != std::string_view::npos) return addEmail(number);
  if (number.size() > kLongestEntry) return;
  if (isRounded(number)) {
    _person.remarks.push_back(std::string(number) + " is not a number any more: a spreadsheet rounded it");
    return;
  }
  if (ContactNormalization::phone(number).empty()) return;
  _person.phones.emplace_back(number);
}

void ContactCard::addPhones(std::string_view text) {
  const std::string valid = text::replacingAll(text::repairedUtf8(text), ":::", "\n");
  std::size_t begin = 0;
  // A semicolon in a link or before a pause does not separate numbers.
  const bool isLink = text::prefixLengthIgnoringCase(valid, "tel:").has_value();
  while (begin <= valid.size()) {
    const std::size_t end = std::min(valid.find_first_of(isLink ? "\n" : ";\n", begin), valid.size());
    for (const std::string_view part : splitWhereWhole(std::string_view(valid).substr(begin, end - begin)))
      addPhone(part);
    begin = end + 1;
  }
}

void ContactCard::addCompanyPhone(std::string_view text) {
  const std::string line = foreign_text::onOneLine(text);
  if (!line.empty() && line.size() <= kLongestEntry)
    _person.remarks.push_back(line + " is a company's main number, which belongs to nobody");
}

void ContactCard::addEmail(std::string_view text) {
  const std::string valid = text::repairedUtf8(text);
  std::string_view address = withoutScheme(text::trimmed(valid), "mailto:");
  const std::size_t open = address.rfind('<');
  const std::size_t close = address.rfind('>');
  if (open != std::string_view::npos && close != std::string_view::npos && open < close)
    address = address.substr(open + 1, close - open - 1);
  if (address.find('@') == std::string_view::npos || address.size() > kLongestAddress) return;
  std::string email = ContactNormalization::email(foreign_text::onOneLine(address));
  if (!email.empty()) _person.emails.push_back(std::move(email));
}

std::string ContactCard::firstName() const {
  if (!_givenName.empty()) return _givenName;
  if (_kind == Kind::organization) return {};
  const bool isCompany = !_organization.empty() && text::equalIgnoringCase(_fullName, _organization);
  if (!_fullName.empty() && !isCompany) return firstNameIn(_fullName);
  return !_nickname.empty() ? _nickname : _familyName;
}

std::string ContactCard::entryName(const std::string& place) const {
  for (const std::string& name : {_fullName, _givenName, _familyName, _nickname, _organization})
    if (!name.empty()) return name.size() <= kLongestName ? name : place;
  return place;
}

void ContactCard::skip(const std::string& place, std::string reason, ImportedPeople& result) {
  result.skipped.push_back({entryName(place), std::move(reason)});
}

void ContactCard::finish(const std::string& place, ImportedPeople& result, Name name) {
  if (_kind == Kind::group) return skip(place, "a group, not a person", result);
  _person.firstName = firstName();
  _person.organization = _organization;
  keepFirsts(_person.phones);
  keepFirsts(_person.emails);
  if (_person.firstName.empty() && name == Name::needed) {
    const bool isCompany = !_organization.empty() || _kind == Kind::organization;
    if (isCompany)
      result.companyPhones.insert(result.companyPhones.end(), _person.phones.begin(), _person.phones.end());
    return skip(place, isCompany ? "an organization, not a person" : "no name", result);
  }
  if (_person.firstName.size() > kLongestName) return skip(place, "a first name of more than 200 bytes", result);
  if (_person.phones.empty() && _person.emails.empty())
    return skip(place, _person.remarks.empty() ? "no phone number or e-mail address" : _person.remarks.front(), result);
  _person.entry = entryName(place);
  result.people.push_back(std::move(_person));
}

}  // namespace pellora
