// A program that has been loaded and waits before its main function. Each run is a fork of it, because loading takes
// longer than most runs.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/PreloadedLibrary.h"

namespace pellora::support {

class ForkServer {
 public:
  // The one that this process keeps for a program with these arguments. Throws when the program cannot be started.
  static ForkServer& of(const std::string& program, const std::vector<std::string>& arguments);

  ForkServer(const std::string& program, const std::vector<std::string>& arguments);
  ~ForkServer();
  ForkServer(const ForkServer&) = delete;
  ForkServer& operator=(const ForkServer&) = delete;

  // Starts a run with these variables added to the environment. Its process may be killed until wait() has returned.
  pid_t start(const std::map<std::string, std::string>& environment);

  // How it ended, as waitpid() tells.
  int wait();

 private:
  int receive();

  std::string _program;
  PreloadedLibrary _injector;
  FileDescriptor _channel;
  pid_t _process = -1;
};

}  // namespace pellora::support
