// A change of the people file under a lock, so that two at once follow one another: what is there is read, the new
// list is written, the lately records of people who are gone go too, and a running helper is asked to read. Nothing is
// overwritten that cannot be read, unless asked for. Throws CompanionFailure.
// Tested by Tests/Companion/PeopleCommandTests.cpp.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/KeyState.h"
#include "Companion/People/PeopleStore.h"

namespace pellora {

class PeopleEdit {
 public:
  enum class Present { needed, mayBeLost };  // a people file that cannot be read

  PeopleEdit(const CompanionContext& context, Present present);

  std::vector<HelperPerson> people() const { return _store.people(); }

  struct Done {
    bool madeKey = false;
    std::vector<std::string> recordsLeft;  // names of removed people whose lately record could not be removed
  };
  Done write(std::vector<HelperPerson> people);

 private:
  const CompanionContext& _context;
  std::shared_ptr<void> _lock;
  KeyState _key;
  PeopleStore _store;
};

}  // namespace pellora
