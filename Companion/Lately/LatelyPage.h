// Lately records as one self-contained page for a browser: style and charts are in it, nothing is fetched, no
// scripts, everything from the records escaped, links only to the web. Tested by Tests/Companion/LatelyPageTests.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/Lately/DayStrip.h"
#include "Companion/Lately/NamedLately.h"

namespace pellora {

class LatelyPage {
 public:
  // Both must outlive the page.
  LatelyPage(const HelperDayNotes& notes, const CompanionContext& context) : _notes(notes), _context(context) {}

  std::string html(const std::vector<NamedLately>& records) const;

  // Without anything that means something in HTML, in text or in attributes.
  static std::string escaped(std::string_view text);

 private:
  std::string person(const NamedLately& lately) const;
  std::string facts(const MessagesLatelyRecord& record) const;
  std::string findings(const NamedLately& lately) const;
  std::string ago(Instant instant) const;
  std::string date(Instant instant) const;

  const HelperDayNotes& _notes;
  const CompanionContext& _context;
};

}  // namespace pellora
