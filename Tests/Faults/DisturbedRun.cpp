#include "Tests/Faults/DisturbedRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

namespace {

constexpr unsigned kPatience = 120;  // seconds

[[noreturn]] void become(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
  alarm(kPatience);  // a program that hangs dies of it
  for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
  const int nowhere = open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const std::string& each : arguments) words.push_back(const_cast<char*>(each.c_str()));
  words.push_back(nullptr);
  execv(program.c_str(), words.data());
  _exit(127);
}

}  // namespace

DisturbedRun DisturbedRun::of(const std::string& program, const std::vector<std::string>& arguments, const Fault& fault,
                              const std::filesystem::path& below,
                              const std::map<std::string, std::string>& environment) {
  const TemporaryFolder folder;
  std::map<std::string, std::string> whole = environment;
  whole["LD_PRELOAD"] = PELLORA_FAULT_INJECTOR;
  whole["PELLORA_FAULT_BELOW"] = below.string();
  whole["PELLORA_FAULT_AT"] = std::to_string(fault.at);
  whole["PELLORA_FAULT_KIND"] = fault.kind;
  whole["PELLORA_FAULT_MARK"] = (folder / "mark").string();
  DisturbedRun run = undisturbed(program, arguments, whole);
  std::ifstream mark(folder / "mark");
  if (!mark) throw std::runtime_error("the fault injector is not in force");
  run.call = std::string(std::istreambuf_iterator<char>(mark), {});
  return run;
}

DisturbedRun DisturbedRun::undisturbed(const std::string& program, const std::vector<std::string>& arguments,
                                       const std::map<std::string, std::string>& environment) {
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("fork failed");
  if (process == 0) become(program, arguments, environment);
  int status = 0;
  retried([&] { return waitpid(process, &status, 0); });
  DisturbedRun run;
  if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
  if (run.exitCode == 127) throw std::runtime_error("cannot run " + program);
  return run;
}

}  // namespace pellora::support
