#include "Companion/Commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <functional>
#include <iostream>
#include <sstream>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/UsageText.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::CommandLine {

namespace {

// A script's variable that is not set must not mean everybody, nor a file without a name.
std::string refuseEmpty(const std::string& argument) {
  return text::trimmed(argument).empty() ? "must not be empty." : "";
}

std::function<std::string(std::string)> numberFrom(int first, int last) {
  return [first, last](const std::string& argument) {
    int number = 0;
    const char* end = argument.data() + argument.size();
    const auto read = std::from_chars(argument.data(), end, number);
    const bool isInRange = read.ec == std::errc() && read.ptr == end && number >= first && number <= last;
    return isInRange ? "" : "must be a number from " + std::to_string(first) + " to " + std::to_string(last) + ".";
  };
}

// Runs another command line of this program; its exit code.
int runWords(const std::vector<std::string>& words) {
  std::vector<const char*> arguments{"pellora-companion"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  return run(static_cast<int>(arguments.size()), arguments.data());
}

class Commands {
 public:
  Commands() : _app("The companion side of Pellora for Messages: people in, lately records out.", "pellora-companion") {
    _app.set_version_flag("--version", "pellora-companion " PELLORA_VERSION, "print the version and exit");
    _app.set_help_flag("-h,--help", "print this help and exit");
    _app.footer(std::string(UsageText::kExamples) + UsageText::kExitCodes);
    _app.formatter(UsageText::plainHelp());
    _app.require_subcommand(1);
    addHistory();
    addPeople();
    addLooking();
    addModel();
    addChanging();
    refuseValuesOfFlags(_app);
  }

  CLI::App& app() { return _app; }

  CommandResult run() const { return _run(); }

 private:
  CLI::App* add(CLI::App& parent, const char* name, const char* summary, const char* footer) {
    CLI::App* command = parent.add_subcommand(name, summary);
    command->footer(std::string(footer) + UsageText::kExitCodes);
    return command;
  }

  template <class Command>
  CLI::App* addCommand(CLI::App& parent, Command& command, const char* name, const char* summary, const char* footer) {
    CLI::App* added = add(parent, name, summary, footer);
    added->add_flag("--json", command.json, UsageText::kJsonHelp);
    // A command's own callback comes after those of its subcommands, which count.
    added->callback([this, &command] {
      if (!_run) _run = [&command] { return runWithContext(command); };
    });
    return added;
  }

  // "--json=no" would be a flag that is not set.
  static void refuseValuesOfFlags(CLI::App& app) {
    for (CLI::Option* option : app.get_options())
      if (option->get_items_expected_max() == 0) option->disable_flag_override();
    for (CLI::App* command : app.get_subcommands([](CLI::App*) { return true; })) refuseValuesOfFlags(*command);
  }

  void addHistory() {
    CLI::App* history =
        add(_app, "history", "bring the Messages history here: add, refresh, status", UsageText::kHistoryExamples);
    history->require_subcommand(1);
    CLI::App* adding =
        addCommand(*history, _historyAdd, "add", "copy a history into place", UsageText::kHistoryExamples);
    adding->add_option("PATH", _historyAdd.source, "a database, a folder with chat.db, or a phone backup")
        ->required()
        ->check(refuseEmpty);
    CLI::App* refresh =
        addCommand(*history, _historyRefresh, "refresh", "repeat the last add", UsageText::kHistoryExamples);
    declareReplacing(*adding, _historyAdd);
    declareReplacing(*refresh, _historyRefresh);
    addCommand(*history, _historyStatus, "status", "where the history came from and what is in it",
               UsageText::kHistoryExamples);
  }

  template <class Command>
  static void declareReplacing(CLI::App& app, Command& command) {
    app.add_option("--password-file", command.passwordFile,
                   "read the password of an encrypted backup from this file, or - for a pipe")
        ->type_name("FILE")
        ->check(refuseEmpty);
    app.add_flag("--replace", command.replaces, "also replace a history that has newer messages or many more");
  }

  void addPeople() {
    CLI::App* people = add(_app, "people", "the people the helper looks for: import, list, suggest, remove",
                           UsageText::kImportExamples);
    people->require_subcommand(1);
    CLI::App* import =
        addCommand(*people, _import, "import", "take people from an address book file", UsageText::kImportExamples);
    import->add_option("FILE", _import.sources, "one or more files; - is standard input")->required();
    import->add_option("--country", _import.country, "the country of numbers without a country code, such as DE")
        ->type_name("XX")
        ->check(refuseEmpty);
    CLI::Option* only = import->add_option("--only", _import.only, "take only people with this name; may be repeated");
    only->type_name("NAME")->check(refuseEmpty)->allow_extra_args(false);
    import->add_flag("--choose", _import.chooses, "ask on the terminal whom to take")->excludes(only);
    import->add_flag("--replace", _import.replaces, "the people file becomes exactly this import");
    import->add_flag("--dry-run", _import.isTrial, "say what would be done and write nothing");
    addCommand(*people, _list, "list", "show the people", UsageText::kListExamples);
    CLI::App* suggest = addCommand(*people, _suggest, "suggest",
                                   "the people you write with who are not in the list yet", UsageText::kListExamples);
    suggest->add_option("--count", _suggest.count, "at most this many")
        ->type_name("N")
        ->check(numberFrom(1, 10'000))
        ->capture_default_str();
    CLI::App* remove =
        addCommand(*people, _remove, "remove", "take one person out, with the lately record", UsageText::kListExamples);
    remove->add_option("PERSON", _remove.person, "a first name, number, address or identifier")
        ->required()
        ->check(refuseEmpty);
  }

  void addLooking() {
    addCommand(_app, _status, "status", "whether everything is in place, and what to do next",
               UsageText::kStatusExamples);
    CLI::App* lately = addCommand(_app, _lately, "lately", "show the lately records", UsageText::kLatelyExamples);
    lately->add_option("PERSON", _lately.person, "only this person")->check(refuseEmpty);
    CLI::Option* html = lately->add_option("--html", _lately.htmlFile,
                                           "write a page for a browser into this file; - is standard output");
    html->type_name("FILE")->check(refuseEmpty)->excludes(lately->get_option("--json"));
    CLI::App* view =
        addCommand(_app, _view, ViewCommand::kName, "show the lately records in the browser", UsageText::kViewExamples);
    view->add_option("PERSON", _view.person, "only this person")->check(refuseEmpty);
    CLI::App* key =
        addCommand(_app, _key, "key", "whether there is an exchange key, and where", UsageText::kKeyExamples);
    key->require_subcommand(0, 1);
    _keyring.place = KeyPlaceCommand::Place::keyring;
    addCommand(*key, _keyFile, "use-file", "keep the key in a file from now on", UsageText::kKeyPlaceExamples);
    addCommand(*key, _keyring, "use-keyring", "keep the key in the keyring from now on", UsageText::kKeyPlaceExamples);
  }

  void addModel() {
    CLI::App* model =
        addCommand(_app, _model, "model", "whether there is a language model, and which", UsageText::kModelExamples);
    model->add_flag("--try", _model.tries, "ask it two questions about invented texts and show the answers");
    CLI::App* use =
        addCommand(*model, _modelUse, "use", "choose the server that the helper asks", UsageText::kModelExamples);
    use->add_option("URL", _modelUse.url, "http://127.0.0.1:PORT or unix:/path/to.sock")->required();
    use->add_option("--model", _modelUse.model, "which one, when the server lists several")
        ->type_name("NAME")
        ->check(refuseEmpty);
    use->add_option("--key-file", _modelUse.keyFile, "a file that holds the server's key")
        ->type_name("FILE")
        ->check(refuseEmpty);
    addCommand(*model, _modelForget, "forget", "go back to the default socket", UsageText::kModelExamples);
    CLI::App* evaluate = addCommand(*model, _modelEvaluate, "evaluate", "find out whether the model is good enough",
                                    UsageText::kEvaluateExamples);
    evaluate->add_option("CASES", _modelEvaluate.casesFile, "a file of cases instead of the built-in ones")
        ->check(refuseEmpty);
    evaluate->add_option("--repeat", _modelEvaluate.repeats, "ask everything this many times")
        ->type_name("N")
        ->check(numberFrom(1, 100));
    evaluate->add_flag("--ceiling", _modelEvaluate.withoutModel,
                       "without a model: what the guards keep of true, random and empty answers");
  }

  void addChanging() {
    addCommand(_app, _readNow, "read-now", "ask the helper to read at once", UsageText::kReadNowExamples);
    CLI::App* reread =
        addCommand(_app, _reread, "reread", "read everything again at the next read", UsageText::kRereadExamples);
    reread->add_flag("--language", _reread.language, "and ask the model again about every day");
    _setup.runCommand = runWords;
    addCommand(_app, _setup, "setup", "set everything up, step by step", UsageText::kSetupExamples);
    CLI::App* remove =
        addCommand(_app, _delete, "delete", "remove one person's lately record", UsageText::kDeleteExamples);
    remove->add_option("PERSON", _delete.person, "a first name, number, address or identifier")
        ->required()
        ->check(refuseEmpty);
    addCommand(_app, _sweep, "sweep", "remove records that do not open or whose people left",
               UsageText::kSweepExamples);
  }

  template <class Command>
  static CommandResult runWithContext(const Command& command) {
    platform_adapters::removeLeftovers();
    const auto secrets = platform_adapters::secretStore();
    const CompanionContext context{*secrets,
                                   platform_adapters::sharedFolder(),
                                   platform_adapters::runtimeFolder(),
                                   std::chrono::time_point_cast<Nanoseconds>(std::chrono::system_clock::now()),
                                   LocalCalendar::current(),
                                   OutputStyle::ofStandardOutput(),
                                   platform_adapters::settingsFolder(),
                                   ChatDatabase::defaultURL()};
    return command.run(context);
  }

  CLI::App _app;
  HistoryAddCommand _historyAdd;
  HistoryRefreshCommand _historyRefresh;
  HistoryStatusCommand _historyStatus;
  PeopleImportCommand _import;
  PeopleListCommand _list;
  PeopleSuggestCommand _suggest;
  PeopleRemoveCommand _remove;
  StatusCommand _status;
  LatelyCommand _lately;
  ViewCommand _view;
  KeyCommand _key;
  KeyPlaceCommand _keyFile;
  KeyPlaceCommand _keyring;
  RereadCommand _reread;
  SetupCommand _setup;
  ModelCommand _model;
  ModelUseCommand _modelUse;
  ModelForgetCommand _modelForget;
  ModelEvaluateCommand _modelEvaluate;
  ReadNowCommand _readNow;
  DeleteCommand _delete;
  SweepCommand _sweep;
  std::function<CommandResult()> _run;
};

void complain(const std::string& sentence) {
  std::cerr << "pellora-companion: " << sentence << std::endl;
}

// The command that was given, as far as it exists: "people import".
const CLI::App* givenCommand(const CLI::App& app) {
  const auto given = app.get_subcommands();
  return given.empty() ? &app : givenCommand(*given.front());
}

std::string commandLineOf(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return parent == nullptr ? command.get_name() : commandLineOf(*parent) + " " + command.get_name();
}

// Help and version are what was asked; anything else is wrong usage.
int endParsing(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream output;
  std::ostringstream ignored;
  if (app.exit(error, output, ignored) == 0) {
    standard_output::write(output.str());
    return kDone;
  }
  const CLI::App& command = *givenCommand(app);
  complain(UsageText::whatIsWrong(command, error));
  std::cerr << "Try \"" << commandLineOf(command) << " --help\"." << std::endl;
  return kWrongUsage;
}

int parseAndRun(Commands& commands, int argc, const char* const* argv) {
  try {
    commands.app().parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return endParsing(commands.app(), error);
  }
  const CommandResult result = commands.run();
  standard_output::write(result.output);
  if (result.complaint.empty()) return kDone;
  complain(result.complaint);
  return kCouldNot;
}

}  // namespace

int run(int argc, const char* const* argv) {
  Commands commands;
  try {
    return parseAndRun(commands, argc, argv);
  } catch (const FileError& failure) {
    complain(std::string(failure.what()) + ".");
  } catch (const std::exception& failure) {
    complain(failure.what());
  }
  return kCouldNot;
}

}  // namespace pellora::CommandLine
