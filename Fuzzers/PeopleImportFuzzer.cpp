// Address books' files of all kinds: whatever the bytes, the import ends with people, skipped entries or a problem.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "Companion/People/PeopleParser.h"
#include "Companion/People/PhoneNumbers.h"
#include "PelloraMessagesCore/Text/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto people = pellora::parsePeople({reinterpret_cast<const char*>(data), size});
  if (people.problem && !people.people.empty()) std::abort();
  pellora::PhoneNumbers({std::nullopt, "DE", {"+33612345678"}}, people).normalize(people);
  for (const auto& person : people.people) {
    if (!pellora::text::isValidUtf8(person.firstName) || (person.phones.empty() && person.emails.empty())) std::abort();
    for (const auto& phone : person.phones)
      if (phone.size() < 7 || !pellora::text::isValidUtf8(phone)) std::abort();
  }
  return 0;
}
