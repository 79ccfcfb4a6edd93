// Lately records as one self-contained page for a browser: an overview of everybody, then each person. No scripts,
// nothing is fetched, everything from the records is escaped, links lead to the web only. It may be read days later,
// so times are dates. Tested by Tests/Companion/LatelyPageTests.cpp.
#pragma once

#include <string>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/Lately/DayStrip.h"
#include "Companion/Lately/LatelyStore.h"

namespace pellora {

class LatelyPage {
 public:
  // The context must outlive the page.
  LatelyPage(HelperDayNotes notes, const CompanionContext& context) : _notes(std::move(notes)), _context(context) {}

  // In the order given; the overview comes with the second person.
  std::string html(const std::vector<NamedLately>& records) const;

  // In place of the records, what keeps them from being shown.
  std::string html(const std::string& obstacle) const;

 private:
  using Records = std::vector<NamedLately>;

  std::string overview(const Records& records) const;
  std::string rowOfPerson(const NamedLately& lately) const;
  std::string newest(const Records& records) const;
  std::string comingBirthdays(const Records& records) const;
  std::string person(const NamedLately& lately) const;
  std::string facts(const NamedLately& lately) const;
  std::string chart(const NamedLately& lately, const DayStrip& strip) const;
  std::string findings(const NamedLately& lately) const;
  std::string waiting(const NamedLately& lately) const;
  std::string time(Instant instant) const;
  std::string item(Instant instant, const std::string& markup) const;
  std::string whole(const std::string& body) const;
  DayStrip stripOf(const NamedLately& lately) const;

  HelperDayNotes _notes;
  const CompanionContext& _context;
};

}  // namespace pellora
