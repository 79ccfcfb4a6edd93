// One run of a program from a test: what it wrote, how it ended. The program gets the test's environment and what is
// put in, runs at most a minute and is killed with the object.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace pellora::support {

class ProgramRun {
 public:
  enum class Output {
    pipe,
    terminal,    // a pseudo-terminal, 100 columns wide, for output and errors
    closedPipe,  // a pipe that nobody reads any more
    fullDevice,  // every write fails for want of space
  };

  struct Setup {
    std::string program;
    std::vector<std::string> arguments;
    std::string input;
    bool keepsInputOpen = false;  // until `interrupt` or the end of the object
    Output output = Output::pipe;
    bool ignoresPipeSignal = false;  // started by a program that ignores SIGPIPE
  };

  explicit ProgramRun(const Setup& setup);
  ~ProgramRun();
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  // Waits until the program has taken all input, so that it is surely running, and sends the signal.
  void interrupt(int signal);

  // Waits for the end. The exit status; 128 plus the signal's number after a signal; -1 after the time is over.
  int wait();

  pid_t process() const { return _process; }

  // After `wait`.
  const std::string& output() const { return _output; }
  const std::string& errors() const { return _errors; }

 private:
  void start(const Setup& setup);
  void readAll();

  pid_t _process = -1;
  int _input = -1;
  int _outputEnd = -1;
  int _errorEnd = -1;
  bool _hasEnded = false;
  int _status = -1;
  std::string _output;
  std::string _errors;
};

}  // namespace pellora::support
