#include "Companion/People/PhoneNumbers.h"

#include <phonenumbers/phonenumberutil.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>

#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;

constexpr std::size_t kShortestNumber = 7;           // digits; Messages matches none that is shorter
constexpr std::size_t kMostCountries = 12;           // that are tried
constexpr std::size_t kLongestNumber = 100;          // bytes
constexpr std::string_view kExtensionMarks = ",;#";  // pauses and tones after a number

const PhoneNumberUtil& library() {
  return *PhoneNumberUtil::GetInstance();
}

// Digits of every script as ASCII, the wide plus sign as "+".
std::string withPlainDigits(std::string_view text) {
  const std::string valid = text::repairedUtf8(text);
  std::string result;
  std::int32_t at = 0;
  const auto length = static_cast<std::int32_t>(valid.size());
  while (at < length) {
    const std::int32_t begin = at;
    UChar32 scalar = 0;
    U8_NEXT(valid.data(), at, length, scalar);
    const std::int32_t digit = u_charDigitValue(scalar);
    if (digit >= 0)
      result += static_cast<char>('0' + digit);
    else if (scalar == 0xFF0B)
      result += '+';
    else
      result.append(valid, static_cast<std::size_t>(begin), static_cast<std::size_t>(at - begin));
  }
  return result;
}

bool isAsciiLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

std::string_view withoutExtension(std::string_view number) {
  std::size_t digits = 0;
  for (std::size_t at = 0; at < number.size(); ++at) {
    const char byte = number[at];
    if (byte >= '0' && byte <= '9') ++digits;
    const bool isMark = isAsciiLetter(byte) || kExtensionMarks.find(byte) != std::string_view::npos;
    if (isMark && digits >= kShortestNumber) return number.substr(0, at);
  }
  return number;
}

struct Reading {
  std::string international;  // normalized
  std::string country;
  bool isValid = false;
};

std::optional<Reading> readingOf(const std::string& text, const std::string& country) {
  PhoneNumber number;
  if (library().Parse(text, country, &number) != PhoneNumberUtil::NO_PARSING_ERROR) return std::nullopt;
  if (!library().IsPossibleNumber(number)) return std::nullopt;
  Reading reading;
  std::string e164;
  library().Format(number, PhoneNumberUtil::E164, &e164);
  library().GetRegionCodeForNumber(number, &reading.country);
  reading.international = ContactNormalization::phone(e164);
  reading.isValid = library().IsValidNumber(number);
  return reading;
}

bool isInternational(std::string_view text) {
  return text::trimmed(text).starts_with('+');
}

// The countries of the international numbers among these, the most frequent first.
void addCountries(const std::vector<std::string>& numbers, std::vector<std::string>& countries) {
  std::map<std::string, std::size_t> counts;
  for (const std::string& text : numbers) {
    const std::string plain = withPlainDigits(text.substr(0, kLongestNumber));
    if (!isInternational(plain)) continue;
    const auto reading = readingOf(plain, "ZZ");
    if (reading && PhoneNumbers::isCountry(reading->country)) ++counts[reading->country];
  }
  std::vector<std::pair<std::string, std::size_t>> sorted(counts.begin(), counts.end());
  std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  for (const auto& [country, count] : sorted)
    if (countries.size() < kMostCountries && std::find(countries.begin(), countries.end(), country) == countries.end())
      countries.push_back(country);
}

void remark(ImportedPerson& person, const std::string& number, const char* reason) {
  person.remarks.push_back(number + " " + reason);
}

}  // namespace

bool PhoneNumbers::isCountry(const std::string& country) {
  return country.size() == 2 && library().GetCountryCodeForRegion(country) != 0;
}

std::string PhoneNumbers::localeCountry() {
  for (const char* name : {"LC_ALL", "LC_TELEPHONE", "LANG"}) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    const std::string_view locale = value;
    const std::size_t mark = locale.find('_');
    const std::string country(mark == std::string_view::npos ? "" : locale.substr(mark + 1, 2));
    return isCountry(country) ? country : "";
  }
  return {};
}

PhoneNumbers::PhoneNumbers(const Hints& hints, const ImportedPeople& imported) {
  for (const std::string& handle : hints.storeHandles)
    if (handle.find('@') == std::string::npos) _known.insert(ContactNormalization::phone(handle));
  std::vector<std::string> numbers;
  for (const ImportedPerson& person : imported.people)
    numbers.insert(numbers.end(), person.phones.begin(), person.phones.end());
  _needsCountry = std::any_of(numbers.begin(), numbers.end(),
                              [](const std::string& number) { return !isInternational(withPlainDigits(number)); });
  if (hints.country) {
    _countries.push_back(*hints.country);
    return;
  }
  if (!hints.localeCountry.empty()) _countries.push_back(hints.localeCountry);
  addCountries(numbers, _countries);
  addCountries(hints.storeHandles, _countries);
}

std::string PhoneNumbers::normalized(std::string_view number) const {
  const std::string plain = withPlainDigits(text::trimmed(number.substr(0, kLongestNumber)));
  const std::string digits = ContactNormalization::phone(withoutExtension(plain));
  if (isInternational(plain)) {
    const auto reading = readingOf(plain, "ZZ");
    return reading ? reading->international : digits;
  }
  // A short code is not a local number that an area code and a country code could precede.
  const auto signs = std::count_if(plain.begin(), plain.end(),
                                   [](char byte) { return (byte >= '0' && byte <= '9') || isAsciiLetter(byte); });
  if (signs < static_cast<std::ptrdiff_t>(kShortestNumber)) return digits;
  std::vector<Reading> readings;
  for (const std::string& country : _countries) {
    // "00" goes before a country code in most countries, whatever the one that is tried.
    const std::string outward = plain.starts_with("00") ? "+" + plain.substr(2) : "";
    for (const std::string& text : {plain, outward})
      if (const auto reading = text.empty() ? std::nullopt : readingOf(text, country)) readings.push_back(*reading);
  }
  if (_known.contains(digits)) return digits;
  const auto isKnown = [this](const Reading& reading) { return _known.contains(reading.international); };
  const auto isValid = [](const Reading& reading) { return reading.isValid; };
  auto chosen = std::find_if(readings.begin(), readings.end(), isKnown);
  if (chosen == readings.end()) chosen = std::find_if(readings.begin(), readings.end(), isValid);
  if (chosen == readings.end()) chosen = readings.begin();
  return chosen == readings.end() ? digits : chosen->international;
}

void PhoneNumbers::normalize(ImportedPeople& imported) const {
  std::set<std::string> ofCompanies;
  for (const std::string& number : imported.companyPhones) ofCompanies.insert(normalized(number));
  std::map<std::pair<std::string, std::string>, std::set<std::string>> claims;  // organization and number to entries
  for (ImportedPerson& person : imported.people) {
    const std::string organization = text::lowercased(person.organization);
    std::vector<std::string> phones;
    for (const std::string& written : person.phones) {
      const std::string phone = normalized(written);
      if (phone.size() < kShortestNumber)
        remark(person, written, "is too short to be a person's number");
      else if (ofCompanies.contains(phone))
        remark(person, written, "is a company's number, which belongs to nobody");
      else if (std::find(phones.begin(), phones.end(), phone) == phones.end())
        phones.push_back(phone);
    }
    person.phones = std::move(phones);
    if (organization.empty()) continue;
    for (const std::string& phone : person.phones) claims[{organization, phone}].insert(person.entry);
  }
  std::vector<ImportedPerson> people;
  for (ImportedPerson& person : imported.people) {
    const std::string organization = text::lowercased(person.organization);
    std::erase_if(person.phones, [&](const std::string& phone) {
      const auto claim = claims.find({organization, phone});
      const bool isShared = claim != claims.end() && claim->second.size() > 1;
      if (isShared) remark(person, phone, "is a company's number: several of its people have it");
      return isShared;
    });
    if (person.phones.empty() && person.emails.empty())
      imported.skipped.push_back(
          {person.entry, person.remarks.empty() ? "no phone number or e-mail address" : person.remarks.front()});
    else
      people.push_back(std::move(person));
  }
  imported.people = std::move(people);
}

}  // namespace pellora
