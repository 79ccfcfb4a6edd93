// The program itself, in a home of its own with the key in a file: exit codes, sentences, pipes, signals.
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Adapters/Linux/Desktop/DBusSignals.h"
#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "Adapters/Linux/Files/FileLock.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "SampleStore/PhoneBackupWriter.h"
#include "Tests/Support/EventLoopWait.h"
#include "Tests/Support/ModelServerProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/Sanitizers.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

using support::ProgramRun;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Arguments = std::vector<std::string>;
using Json = nlohmann::json;

constexpr char kPeople[] =
    R"([{"firstName":"Anna","phones":["5551234567"]},{"firstName":"Bob","phones":["5559876543"]}])";

class Program : public testing::Test {
 protected:
  Program() {
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "DBUS_SESSION_BUS_ADDRESS", "DISPLAY",
                             "WAYLAND_DISPLAY", "PELLORA_MODEL_URL", "PELLORA_MODEL", "NO_COLOR", "COLUMNS"})
      _environment.unset(name);
    const auto runtime = _folder / "run";
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    _environment.set("HOME", _folder.path().string());
    _environment.set("XDG_RUNTIME_DIR", runtime.string());
    _environment.set("PELLORA_SECRET_STORE", "file");
    _environment.set("TERM", "xterm");
  }

  static ProgramRun::Setup setup(Arguments arguments, std::string input = {}) {
    return {PELLORA_COMPANION_PROGRAM, std::move(arguments), std::move(input)};
  }

  // The exit code; what was written is in `output` and `errors`.
  int run(const Arguments& arguments, const std::string& input = {}) { return runProgram(setup(arguments, input)); }

  int runProgram(const ProgramRun::Setup& setup) {
    ProgramRun program(setup);
    const int status = program.wait();
    output = program.output();
    errors = program.errors();
    return status;
  }

  std::filesystem::path shared() const { return _folder / ".local/share/app.pellora.messages"; }

  support::TemporaryFolder _folder;
  support::ScopedEnvironment _environment;
  std::string output;
  std::string errors;
};

TEST_F(Program, WrongUsageIsOneSentenceAndTwo) {
  const Arguments kWrong[] = {{},
                              {"bogus"},
                              {"people"},
                              {"people", "bogus"},
                              {"people", "import"},
                              {"people", "list", "--bogus"},
                              {"status", "extra"},
                              {"lately", "Anna", "Bob"},
                              {"lately", ""},
                              {"lately", " "},
                              {"lately", "--html", ""},
                              {"lately", "--html"},
                              {"lately", "--html", "x.html", "--json"},
                              {"delete"},
                              {"delete", ""},
                              {"delete", " "},
                              {"key", "\x1B[31m"},
                              {"--bogus"}};
  for (const Arguments& arguments : kWrong) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(run(arguments), 2);
    EXPECT_THAT(output, IsEmpty());
    EXPECT_THAT(errors,
                AllOf(StartsWith("pellora-companion: "),
                      ContainsRegex("\nTry \"pellora-companion[a-z -]* --help\"\\.\n"), Not(HasSubstr("\x1B"))));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 2);
  }
}

TEST_F(Program, WrongUsageNamesWhatIsWrongAndWhereToLook) {
  struct {
    Arguments arguments;
    const char* errors;
  } const kCases[] = {
      {{"people", "import", "--bogus", "x"},
       "pellora-companion: There is no option \"--bogus\".\nTry \"pellora-companion people import --help\".\n"},
      {{"--bogus"}, "pellora-companion: There is no option \"--bogus\".\nTry \"pellora-companion --help\".\n"},
      {{"people", "bogus"},
       "pellora-companion: There is no command \"bogus\".\nTry \"pellora-companion people --help\".\n"},
      {{}, "pellora-companion: A command is missing.\nTry \"pellora-companion --help\".\n"},
      {{"status", "extra"},
       "pellora-companion: There is one argument too many: \"extra\".\nTry \"pellora-companion status --help\".\n"},
      {{"delete"}, "pellora-companion: PERSON is required.\nTry \"pellora-companion delete --help\".\n"},
      {{"delete", ""}, "pellora-companion: PERSON must not be empty.\nTry \"pellora-companion delete --help\".\n"},
      {{"people", "import", "--bogus"},
       "pellora-companion: There is no option \"--bogus\".\nTry \"pellora-companion people import --help\".\n"},
      {{"people", "import", "--country"},
       "pellora-companion: --country needs a value.\nTry \"pellora-companion people import --help\".\n"},
      {{"people", "suggest", "--count", "-1"},
       "pellora-companion: --count must be a number from 1 to 10000.\n"
       "Try \"pellora-companion people suggest --help\".\n"},
      {{"people", "suggest", "--count", "ten"},
       "pellora-companion: --count must be a number from 1 to 10000.\n"
       "Try \"pellora-companion people suggest --help\".\n"},
      {{"lately", "--json", "--html", "x"},
       "pellora-companion: --json and --html cannot be used together.\nTry \"pellora-companion lately --help\".\n"},
      {{"status", "--json=no"},
       "pellora-companion: --json takes no value.\nTry \"pellora-companion status --help\".\n"},
      {{"key", "bogus"}, "pellora-companion: There is no command \"bogus\".\nTry \"pellora-companion key --help\".\n"},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(run(each.arguments), 2);
    EXPECT_EQ(errors, each.errors);
  }
}

TEST_F(Program, HelpOfEveryCommandHasExamplesAndExitCodes) {
  const Arguments kCommands[] = {{},
                                 {"people"},
                                 {"people", "import"},
                                 {"people", "list"},
                                 {"status"},
                                 {"history"},
                                 {"history", "add"},
                                 {"history", "refresh"},
                                 {"history", "status"},
                                 {"people", "suggest"},
                                 {"people", "remove"},
                                 {"read-now"},
                                 {"lately"},
                                 {"delete"},
                                 {"view"},
                                 {"sweep"},
                                 {"key"},
                                 {"model"},
                                 {"model", "use"},
                                 {"model", "evaluate"}};
  for (Arguments arguments : kCommands) {
    arguments.push_back("--help");
    EXPECT_EQ(run(arguments), 0);
    EXPECT_THAT(output,
                AllOf(HasSubstr("Example"), HasSubstr("  pellora-companion "), HasSubstr("Exit codes: 0 done")));
    EXPECT_THAT(output, Not(ContainsRegex("TEXT|REQUIRED|Excludes|INT")));
    EXPECT_THAT(errors, IsEmpty());
  }
}

TEST_F(Program, TellsItsVersion) {
  EXPECT_EQ(run({"--version"}), 0);
  EXPECT_THAT(output, testing::MatchesRegex("pellora-companion [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Program, WithNothingSetUpEveryCommandSaysWhatIsMissing) {
  for (const Arguments& arguments : {Arguments{"key"},
                                     {"people", "list"},
                                     {"lately"},
                                     {"lately", "Anna"},
                                     {"sweep"},
                                     {"delete", "Anna"},
                                     {"read-now"},
                                     {"model"},
                                     {"people", "import", "/nowhere"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(run(arguments), 1);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  }
  EXPECT_EQ(run({"status"}), 0);
  EXPECT_THAT(output, HasSubstr("Next step"));
  EXPECT_EQ(run({"status", "--json"}), 0);
  EXPECT_FALSE(Json::parse(output)["store"]["readable"]);
  EXPECT_FALSE(std::filesystem::exists(shared())) << "looking creates nothing";
}

TEST_F(Program, FromImportToStatus) {
  const support::SmallStore store(_folder / "Library/Messages/chat.db");
  EXPECT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_THAT(output, HasSubstr("2 added"));
  EXPECT_EQ(run({"key"}), 0);
  EXPECT_EQ(run({"people", "list"}), 0);
  EXPECT_THAT(output, AllOf(HasSubstr("Anna"), HasSubstr("5559876543")));
  EXPECT_EQ(run({"status", "--json"}), 0);
  const Json status = Json::parse(output);
  EXPECT_TRUE(status["store"]["readable"]);
  EXPECT_EQ(status["store"]["messages"], 0);
  EXPECT_EQ(status["people"]["count"], 2);
  EXPECT_EQ(status["key"]["state"], "found");
  EXPECT_EQ(run({"lately", "--json"}), 0);
  EXPECT_EQ(output, "[]\n");
  EXPECT_EQ(run({"lately", "Anna"}), 1);
  EXPECT_EQ(run({"lately", "Zoe"}), 1);
  EXPECT_THAT(errors, HasSubstr("Anna and Bob"));
}

TEST_F(Program, ADamagedPeopleFileStaysAsItIs) {
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  const auto file = shared() / "people.json";
  std::ofstream(file, std::ios::app) << "x";
  const auto size = std::filesystem::file_size(file);
  EXPECT_EQ(run({"people", "import", "-"}, kPeople), 1);
  EXPECT_THAT(errors, HasSubstr("--replace"));
  EXPECT_EQ(run({"people", "list"}), 1);
  EXPECT_EQ(run({"status"}), 0);
  EXPECT_EQ(std::filesystem::file_size(file), size);
  EXPECT_EQ(run({"people", "import", "--replace", "-"}, kPeople), 0);
  EXPECT_EQ(run({"people", "list"}), 0);
}

TEST_F(Program, TwoImportsAtOnceBothCount) {
  std::vector<std::unique_ptr<ProgramRun>> imports;
  constexpr int kImports = 8;
  for (int number = 0; number < kImports; ++number)
    imports.push_back(std::make_unique<ProgramRun>(
        setup({"people", "import", "-"}, R"([{"firstName":"P)" + std::to_string(number) + R"(","phones":["555000000)" +
                                             std::to_string(number) + "\"]}]")));
  for (const auto& import : imports) EXPECT_EQ(import->wait(), 0) << import->errors();
  ASSERT_EQ(run({"people", "list", "--json"}), 0) << errors;
  EXPECT_EQ(Json::parse(output).size(), static_cast<std::size_t>(kImports));
}

TEST_F(Program, AClosedPipeEndsItQuietlyAfterTheWorkIsDone) {
  ProgramRun::Setup closed = setup({"people", "import", "-"}, kPeople);
  closed.output = ProgramRun::Output::closedPipe;
  EXPECT_EQ(runProgram(closed), 128 + SIGPIPE);
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_EQ(run({"people", "list"}), 0);
  closed = setup({"status"});
  closed.output = ProgramRun::Output::closedPipe;
  closed.ignoresPipeSignal = true;
  EXPECT_EQ(runProgram(closed), 128 + SIGPIPE);
  EXPECT_THAT(errors, IsEmpty());
}

TEST_F(Program, AFullDeviceIsAnError) {
  ProgramRun::Setup full = setup({"--help"});
  full.output = ProgramRun::Output::fullDevice;
  EXPECT_EQ(runProgram(full), 1);
  EXPECT_THAT(errors, HasSubstr("No space left on device"));
}

// A file that the program opens must not get the number of the output and take what is printed.
TEST_F(Program, AClosedOutputIsAnErrorAndNoFileTakesItsPlace) {
  const std::string program = PELLORA_COMPANION_PROGRAM;
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_EQ(runProgram({"/bin/sh", {"-c", "exec \"$0\" status 1>&-", program}, {}}), 1);
  EXPECT_EQ(errors, "pellora-companion: Cannot write the output: Bad file descriptor.\n");
  EXPECT_EQ(runProgram({"/bin/sh", {"-c", "exec \"$0\" people import - 0<&-", program}, {}}), 1);
  EXPECT_THAT(errors, HasSubstr("Cannot read standard input: Bad file descriptor"));
  EXPECT_EQ(runProgram({"/bin/sh", {"-c", "exec \"$0\" bogus 0<&- 1>&- 2>&-", program}, {}}), 2);
  EXPECT_EQ(run({"people", "list"}), 0);
}

TEST_F(Program, APipeInPlaceOfTheStoreDoesNotStopStatus) {
  std::filesystem::create_directories(_folder / "Library/Messages");
  ASSERT_EQ(::mkfifo((_folder / "Library/Messages/chat.db").c_str(), 0600), 0);
  EXPECT_EQ(run({"status"}), 0);
  EXPECT_THAT(output, HasSubstr("not readable: not a regular file"));
}

TEST_F(Program, CtrlCLeavesNothingBehind) {
  for (const int signal : {SIGINT, SIGTERM}) {
    ProgramRun::Setup open = setup({"people", "import", "-"}, kPeople);
    open.keepsInputOpen = true;
    ProgramRun program(open);
    program.interrupt(signal);
    EXPECT_EQ(program.wait(), 128 + signal);
    EXPECT_THAT(program.errors(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(shared()));
  }
}

TEST_F(Program, ColorsAreForTerminalsThatWantThem) {
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_THAT(output, Not(HasSubstr("\x1B")));
  ProgramRun::Setup terminal = setup({"status"});
  terminal.output = ProgramRun::Output::terminal;
  EXPECT_EQ(runProgram(terminal), 0);
  EXPECT_THAT(output, HasSubstr("\x1B[1m"));
  _environment.set("NO_COLOR", "1");
  EXPECT_EQ(runProgram(terminal), 0);
  EXPECT_THAT(output, Not(HasSubstr("\x1B[1m")));
  _environment.unset("NO_COLOR");
  _environment.set("TERM", "dumb");
  EXPECT_EQ(runProgram(terminal), 0);
  EXPECT_THAT(output, Not(HasSubstr("\x1B[1m")));
}

TEST_F(Program, LinesKeepToTheWidth) {
  const std::string summary(180, 'x');
  ASSERT_EQ(run({"people", "import", "-"}, R"([{"firstName":")" + summary + R"(","phones":["5551234567"]}])"), 0);
  EXPECT_THAT(output, HasSubstr(summary)) << "a pipe has no width";
  _environment.set("COLUMNS", "60");
  EXPECT_EQ(run({"people", "list"}), 0);
  EXPECT_LE(output.find('\n', output.find('\n') + 1) - output.find('\n'), 66U);
  EXPECT_THAT(output, HasSubstr("…"));
  EXPECT_THAT(output, ContainsRegex("  [0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\n")) << "identifiers stay whole";
}

TEST_F(Program, AsksARunningHelperToReadAndSaysWhenNoneIsThere) {
  if (!support::PrivateBus::isPossible()) GTEST_SKIP() << "dbus-daemon is not installed";
  const support::PrivateBus bus;
  ASSERT_TRUE(bus.isRunning());
  EXPECT_EQ(run({"read-now"}), 1);
  EXPECT_THAT(errors, HasSubstr("The helper is not running"));
  PrivateBusConnection helper(bus.address());
  ASSERT_TRUE(helper.bus().registerService(QStringLiteral("app.pellora.Messages")));
  DBusNotificationCenter center;
  int asked = 0;
  const auto observer = HelperReadRequest::observe(center, [&asked] { ++asked; });
  ASSERT_NE(observer, nullptr);
  EXPECT_EQ(run({"read-now"}), 0) << errors;
  EXPECT_TRUE(support::waitUntil([&asked] { return asked == 1; }));
}

// The program with a terminal of its own on which this is typed: its exit code, and what the terminal showed.
int runOnTerminal(const Arguments& arguments, const std::string& typed, std::string& shown) {
  int terminal = -1;
  const pid_t process = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (process == 0) {
    std::vector<std::string> copies = arguments;
    std::string program = PELLORA_COMPANION_PROGRAM;
    std::vector<char*> pointers{program.data()};
    for (std::string& argument : copies) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
    ::_exit(127);
  }
  bool isTyped = false;
  char buffer[4096];
  for (ssize_t count = 0; (count = retried([&] { return ::read(terminal, buffer, sizeof buffer); })) > 0;) {
    shown.append(buffer, static_cast<std::size_t>(count));
    // A question is asked once the terminal is as the program wants it; what is typed before is lost.
    if (isTyped || !(shown.ends_with(": ") || shown.ends_with("? "))) continue;
    isTyped = ::write(terminal, typed.data(), typed.size()) == static_cast<ssize_t>(typed.size());
  }
  ::close(terminal);
  int status = 0;
  retried([&] { return ::waitpid(process, &status, 0); });
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST_F(Program, AsksForTheBackupsPasswordWithoutShowingIt) {
  {
    support::SmallStore store(_folder / "made-up.db");
    store.addMessage(store.addChat({"+15551234567"}), instantAtSeconds(1'767'225'600), true, "hello");
    store.execute("PRAGMA journal_mode = DELETE");
  }
  PhoneBackupWriter::Options options;
  options.password = "geheim 123";
  PhoneBackupWriter::wrap(_folder / "backup", _folder / "made-up.db", options);
  const Arguments add{"history", "add", (_folder / "backup").string()};
  std::string shown;
  EXPECT_EQ(runOnTerminal(add, "wrong\n", shown), 1);
  EXPECT_THAT(shown, AllOf(HasSubstr("Password of the backup:"), HasSubstr("not the password")));
  EXPECT_EQ(runOnTerminal(add,
                          "falsch\x15geheim 12é\x7f"
                          "3\n",
                          shown),
            0);
  EXPECT_THAT(shown, AllOf(HasSubstr("1 message"), Not(HasSubstr("geheim"))));
  EXPECT_EQ(runOnTerminal(add, std::string(1100, 'x') + "\x15geheim 123\n", shown), 0)
      << "a long one is read to its end, so that nothing of it gets to the shell";
  EXPECT_EQ(runOnTerminal(add, "\x03", shown), 128 + SIGINT);
  EXPECT_EQ(run(add), 1) << "without a terminal";
  EXPECT_THAT(errors, HasSubstr("--password-file"));
}

TEST_F(Program, AsksWhomToTake) {
  std::ofstream(_folder / "book.csv") << "Name,Phone\nAda,+493012345678\nBob,+447700900123\n";
  std::string shown;
  EXPECT_EQ(runOnTerminal({"people", "import", "--choose", (_folder / "book.csv").string()}, "2\n", shown), 0);
  EXPECT_THAT(shown, HasSubstr("1  Ada (3012345678)"));
  EXPECT_EQ(run({"people", "list", "--json"}), 0);
  EXPECT_THAT(output, AllOf(HasSubstr("Bob"), Not(HasSubstr("Ada"))));
}

TEST_F(Program, AsksTheModelWithFewOpenFilesOrSaysThatItCannot) {
  if (support::kUnderSanitizers) GTEST_SKIP() << "The sanitizers open files of their own.";
  const support::ModelServerProcess server(support::ModelServerProcess::Transport::port);
  _environment.set("PELLORA_MODEL_URL", server.url());
  int answered = 0;
  for (int files = 6; files <= 64; files += files < 16 ? 1 : 16) {
    const std::string command = "ulimit -n " + std::to_string(files) + " && exec \"$0\" model --try";
    const int status = runProgram({"/bin/sh", {"-c", command, PELLORA_COMPANION_PROGRAM}, {}});
    if (status == 0)
      ++answered;
    else
      EXPECT_THAT(errors, HasSubstr("could not be asked: this program can open no more files")) << files;
  }
  EXPECT_GE(answered, 4);
}

TEST_F(Program, AnUnknownSecretStoreIsSaid) {
  _environment.set("PELLORA_SECRET_STORE", "paper");
  EXPECT_EQ(run({"people", "import", "-"}, kPeople), 1);
  EXPECT_THAT(errors, HasSubstr("PELLORA_SECRET_STORE"));
}

TEST_F(Program, ViewOpensAPageThatIsFreshEachTimeAndSaysWhatIsMissing) {
  // An xdg-open that does nothing: what it was given is the page's well-known place.
  std::filesystem::create_directory(_folder / "bin");
  std::ofstream(_folder / "bin/xdg-open") << "#!/bin/sh\n";
  std::filesystem::permissions(_folder / "bin/xdg-open", std::filesystem::perms::owner_all);
  _environment.set("PATH", (_folder / "bin").string() + ":/usr/bin:/bin");
  _environment.set("DISPLAY", ":77");
  const std::filesystem::path page = _folder / "run/app.pellora.messages/lately.html";
  EXPECT_EQ(run({"view"}), 1);
  EXPECT_THAT(errors, HasSubstr("no exchange key"));
  EXPECT_THAT(support::contentOf(page), HasSubstr("There is no exchange key yet"));
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_EQ(run({"view"}), 0) << errors;
  EXPECT_THAT(output, HasSubstr("Opened the page (" + page.string() + ")."));
  EXPECT_THAT(support::contentOf(page), HasSubstr("There are no lately records yet"));
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(page).permissions(), perms::owner_read | perms::owner_write);
  EXPECT_EQ(run({"view", "--json"}), 0);
  EXPECT_EQ(Json::parse(output)["page"], page.string());
  EXPECT_EQ(run({"view", "Zoe"}), 1);
  EXPECT_THAT(support::contentOf(page), HasSubstr("nobody called &quot;Zoe&quot;"));
  _environment.unset("DISPLAY");
  EXPECT_EQ(run({"view"}), 1);
  EXPECT_THAT(errors, HasSubstr("The page cannot be opened (there is no desktop); it is " + page.string() + "."));
}

TEST_F(Program, TheBrowserInheritsNothingThatTheProgramGaveUp) {
  // An xdg-open that tells how it was started; of the signals the usual ones, which the last seven digits are.
  const std::filesystem::path told = _folder / "told";
  std::filesystem::create_directory(_folder / "bin");
  std::ofstream(_folder / "bin/xdg-open")
      << "#!/bin/sh\n{ sed -nE '/^(NoNewPrivs|Seccomp):/p; s/^(Sig(Ign|Blk)):.*(.{7})$/\\1 \\3/p' /proc/self/status\n"
      << "ulimit -c; } > " << told.string() << ".part\nmv " << told.string() << ".part " << told.string() << "\n";
  std::filesystem::permissions(_folder / "bin/xdg-open", std::filesystem::perms::owner_all);
  _environment.set("PATH", (_folder / "bin").string() + ":/usr/bin:/bin");
  const auto started = [&] {
    EXPECT_TRUE(support::waitUntil([&] { return std::filesystem::exists(told); }));
    const std::string text = support::contentOf(told);
    std::filesystem::remove(told);
    return text;
  };
  ProgramRun shell({(_folder / "bin/xdg-open").string(), {}, {}});
  EXPECT_EQ(shell.wait(), 0);
  const std::string asFromAShell = started();
  _environment.set("DISPLAY", ":77");
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_EQ(run({"view"}), 0) << errors;
  EXPECT_EQ(started(), asFromAShell);
}

TEST_F(Program, AKeptKeyFileNeedsNoEnvironment) {
  _environment.unset("PELLORA_SECRET_STORE");
  EXPECT_EQ(run({"people", "import", "-"}, kPeople), 1);
  EXPECT_THAT(errors, HasSubstr("There is no session bus; start a keyring, or keep the key in a file: "
                                "pellora-companion key use-file."));
  EXPECT_EQ(run({"key", "use-file"}), 0) << errors;
  EXPECT_EQ(run({"people", "import", "-"}, kPeople), 0) << errors;
  EXPECT_EQ(run({"key"}), 0);
  _environment.set("PELLORA_SECRET_STORE", "secret-service");
  EXPECT_EQ(run({"key"}), 1) << "the environment wins";
  _environment.unset("PELLORA_SECRET_STORE");
  EXPECT_EQ(run({"key", "use-keyring"}), 0);
  EXPECT_EQ(run({"key"}), 1);
}

TEST_F(Program, SetupTellsWithoutATerminalWhatIsMissingAndHowToGetIt) {
  EXPECT_EQ(run({"setup"}), 1);
  EXPECT_THAT(output, ContainsRegex("History +missing: There is no Messages database"));
  EXPECT_THAT(output, ContainsRegex("People +missing: none yet\n +pellora-companion people import FILE\n"));
  EXPECT_THAT(output, ContainsRegex("Language model +missing: "));
  EXPECT_THAT(output, ContainsRegex("Start at login +missing: off\n"));
  EXPECT_THAT(errors, HasSubstr("Still missing: History, People, Language model and Start at login."));
  EXPECT_EQ(run({"setup", "--json"}), 1);
  EXPECT_EQ(Json::parse(output).size(), 4U);
}

TEST_F(Program, SetupAsksOnATerminalForWhatIsMissing) {
  const support::SmallStore store(_folder / "Library/Messages/chat.db");
  const std::filesystem::path people = _folder / "people.json";
  std::ofstream(people) << kPeople;
  std::string shown;
  EXPECT_EQ(runOnTerminal({"setup"}, people.string() + "\n\ny\n", shown), 1) << "the model was skipped";
  EXPECT_THAT(shown, AllOf(HasSubstr("2 added"), ContainsRegex("Next step +Start the helper: pellora-for-messages"),
                           HasSubstr("Still missing: Language model.")));
  EXPECT_EQ(run({"people", "list"}), 0);
  EXPECT_TRUE(std::filesystem::exists(_folder / ".config/autostart/app.pellora.Messages.desktop"));
}

TEST_F(Program, SetupAsksAgainAfterAMistakeAndKnowsPathsAsAShellDoes) {
  const support::SmallStore store(_folder / "Library/Messages/chat.db");
  std::filesystem::create_directory(_folder / "my books");
  const std::string path = (_folder / "my books/people.json").string();
  std::ofstream(path) << kPeople;
  const std::string forms[] = {"~/my books/people.json", "'" + path + "'", '"' + path + '"',
                               _folder.path().string() + "/my\\ books/people.json"};
  for (const std::string& typed : forms) {
    std::string shown;
    EXPECT_EQ(runOnTerminal({"setup"}, "/nowhere\n" + typed + "\n\n\n", shown), 1);
    EXPECT_THAT(shown, AllOf(HasSubstr("Cannot read /nowhere"), HasSubstr("now holds 2 people"))) << typed;
    std::filesystem::remove_all(shared());
  }
}

TEST_F(Program, SetupOffersTheKeyFileWhereThereIsNoKeyring) {
  _environment.unset("PELLORA_SECRET_STORE");
  const support::SmallStore store(_folder / "Library/Messages/chat.db");
  const std::filesystem::path people = _folder / "people.json";
  std::ofstream(people) << kPeople;
  std::string shown;
  EXPECT_EQ(runOnTerminal({"setup"}, "y\n" + people.string() + "\n\n\n", shown), 1);
  EXPECT_THAT(shown, AllOf(HasSubstr("Keep the key in a file (y)?"), HasSubstr("now holds 2 people"),
                           HasSubstr("Still missing: Language model and Start at login.")));
}

TEST_F(Program, RereadIsKeptForTheNextRead) {
  EXPECT_EQ(run({"reread"}), 1);
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_EQ(run({"reread", "--language"}), 0) << errors;
  EXPECT_EQ(output, "Everything is read again at the next read, and the model is asked again about 0 days.\n");
  EXPECT_TRUE(std::filesystem::exists(shared() / "Helper/reread.json"));
}

TEST_F(Program, StatusTellsAHelperThatHoldsItsLockFromOneThatEnded) {
  EXPECT_EQ(run({"status", "--json"}), 0);
  EXPECT_EQ(Json::parse(output)["helper"]["running"], false);
  const auto lock = InstanceLock::take(shared(), InstanceLock::Kind::helper);
  ASSERT_TRUE(lock);
  EXPECT_EQ(run({"status", "--json"}), 0);
  EXPECT_EQ(Json::parse(output)["helper"]["running"], true);
}

TEST_F(Program, APageGoesToStandardOutput) {
  ASSERT_EQ(run({"people", "import", "-"}, kPeople), 0);
  EXPECT_EQ(run({"lately", "--html", "-"}), 0);
  EXPECT_THAT(output, AllOf(StartsWith("<!DOCTYPE html>"), EndsWith("</html>\n")));
}

TEST_F(Program, AFolderIsNoAddressBook) {
  EXPECT_EQ(run({"people", "import", _folder.path().string()}), 1);
  EXPECT_THAT(errors, HasSubstr("Is a directory"));
}

}  // namespace
}  // namespace pellora
