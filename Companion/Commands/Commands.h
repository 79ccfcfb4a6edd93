// The commands of pellora-companion. Each is a struct of its options whose `run` does what was asked and returns what
// there is to print; it throws CompanionFailure when it cannot. The command line makes and runs one per process, on the
// main thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/People/ContactCard.h"

namespace pellora {

// `key`: whether there is an exchange key. Its bytes are never shown.
struct KeyCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// `key use-file` and `key use-keyring`: where the key is kept from now on, for every program of the user without an
// environment variable.
struct KeyPlaceCommand {
  enum class Place { file, keyring };

  Place place = Place::file;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// `history add`, `history refresh` and `history status`: bring a Messages history onto this device, keep it fresh, and
// say what is there. The store in place is replaced whole or not at all; a running helper is asked to read afterwards.
// Tested by Tests/Companion/HistoryTests.cpp.
struct HistoryAddCommand {
  std::string source;                       // a database, a folder with chat.db, or a phone backup
  std::optional<std::string> passwordFile;  // whose first line is the password of an encrypted backup
  bool replaces = false;                    // also a store with newer messages
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// Does the last `add` again.
struct HistoryRefreshCommand {
  std::optional<std::string> passwordFile;  // absent: the one of `add`
  bool replaces = false;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

struct HistoryStatusCommand {
  bool json = false;

  // Complains when there is no history that can be read.
  CommandResult run(const CompanionContext& context) const;
};

// `people import`: reads address books and puts their people into the people file. Numbers become international ones,
// and the output says which of the people Messages knows: only handles are read from the store. The key is created when
// there is none. Tested by Tests/Companion/CommandTests.cpp and PeopleCommandTests.cpp.
struct PeopleImportCommand {
  std::vector<std::string> sources;  // names of files; "-" is standard input
  bool replaces = false;             // the people file becomes exactly the import
  bool isTrial = false;              // says what would be done
  bool json = false;
  std::optional<std::string> country;  // of numbers without a country code
  std::vector<std::string> only;       // names; empty: everybody
  bool chooses = false;                // asks on the terminal whom to take

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
  CommandResult run(const CompanionContext& context, ImportedPeople imported) const;
};

// `people list`: the people the helper looks for, and which of them appear in Messages. `people suggest`: the other
// correspondents, most messages first. Only counts and dates of messages are read, no text.
// Tested by Tests/Companion/CommandTests.cpp and PeopleCommandTests.cpp.
struct PeopleListCommand {
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

struct PeopleSuggestCommand {
  std::size_t count = 20;  // at most this many
  bool json = false;

  // Throws CompanionFailure.
  CommandResult run(const CompanionContext& context) const;
};

// `people remove`: takes one person out of the people file, with the lately record; the days leave the notes at the
// helper's next read. Tested by Tests/Companion/PeopleCommandTests.cpp.
struct PeopleRemoveCommand {
  std::string person;  // as PersonChoice takes it
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// The commands that show the lately records, all or one person's: `lately` for people at a terminal, for scripts or as
// a page in a file, `view` as a page in the browser. Tested by Tests/Companion/LatelyCommandTests.cpp and
// ProgramTests.cpp.
struct LatelyCommand {
  std::optional<std::string> person;  // as PersonChoice takes it; absent: everybody
  bool json = false;
  std::string htmlFile;  // of a page, "-" is standard output; empty: text instead

  CommandResult run(const CompanionContext& context) const;
};

// Writes the page into the runtime folder, fresh each time, and opens it. The reason why records cannot be shown is on
// the page too: somebody who starts this from a menu sees nothing else.
struct ViewCommand {
  static constexpr char kName[] = "view";

  std::optional<std::string> person;
  bool json = false;

  // Where the page goes in this runtime folder.
  static std::filesystem::path page(const std::filesystem::path& runtime);

  CommandResult run(const CompanionContext& context) const;
};

// The commands that ask for a read: `read-now` starts one at once, `reread` makes the next one read everything again.
// Tested by Tests/Companion/ProgramTests.cpp.
struct ReadNowCommand {
  bool json = false;

  // Throws CompanionFailure when there is no session bus or no helper on it.
  CommandResult run(const CompanionContext& context) const;
};

// Everything in the window is read again at the next read; with `language` the model is asked again for every day.
struct RereadCommand {
  bool language = false;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// The commands that remove lately records: `delete` one person's, `sweep` those that are of no use.
// Tested by Tests/Companion/RemovalCommandTests.cpp.
struct DeleteCommand {
  std::string person;  // as PersonChoice takes it; an identifier works without the key
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// Removes the files among the records that do not open with the key or are not their person's, and the records of
// people who are no longer in the people file. Unreadable files stay, and so does everything without a key.
struct SweepCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// `model`: whether a language model is available, which one and where, or why not, and what the helper's last
// questions came to. Where nothing is set up and nothing found it looks at the places where model servers usually
// listen and proposes the line that sets one up. With a try it asks the program's own kinds of questions about
// invented text and shows what the guards make of the answers. Done only when a model is available and, with a try,
// gave both answers.
// `model use` keeps which server and model the helper asks; `model forget` goes back to the default.
// All run the event loop, on the main thread. Tested by Tests/Companion/ModelCommandTests.cpp.
struct ModelCommand {
  bool tries = false;  // ask questions about invented text and show the answers
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

struct ModelUseCommand {
  std::string url;
  std::string model;    // empty: the one that the server would be asked for now
  std::string keyFile;  // empty: no key
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

struct ModelForgetCommand {
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// `model evaluate`: asks the model that the helper would ask about invented days and says whether it is good enough.
// Without a model it says what the guards make of true, random and empty answers. Done only when the model is good
// enough. Runs the event loop, on the main thread. Tested by Tests/Companion/EvaluationTests.cpp.
struct ModelEvaluateCommand {
  std::string casesFile;  // JSON lines; empty: the built-in cases
  int repeats = 1;
  bool withoutModel = false;
  bool json = false;

  CommandResult run(const CompanionContext& context) const;
};

// `status`: on one screen whether everything is in place, and what to do next.
struct StatusCommand {
  bool json = false;

  // Asks the model server, so an event loop must exist. Works with anything missing.
  CommandResult run(const CompanionContext& context) const;
};

// `setup`: the four steps from nothing to results in order (history, people, language model, start at login), each
// showing what it found and skippable. On a terminal it asks for what is missing and runs the command for it; without
// one it says what is missing, and how to get it. Tested by Tests/Companion/ProgramTests.cpp.
struct SetupCommand {
  bool json = false;
  // Runs a command line of this program without its name; its exit code.
  std::function<int(const std::vector<std::string>&)> runCommand = {};

  CommandResult run(const CompanionContext& context) const;
};

}  // namespace pellora
