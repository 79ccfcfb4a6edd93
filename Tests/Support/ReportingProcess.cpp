#include "Tests/Support/ReportingProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace pellora::support {

namespace {

std::string runSafely(const std::function<std::string()>& run) {
  try {
    return run();
  } catch (const std::exception& error) {
    return std::string("threw: ") + error.what();
  }
}

void sendAll(int descriptor, const std::string& text) {
  std::size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t count = ::write(descriptor, text.data() + sent, text.size() - sent);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

}  // namespace

std::string reportOfProcess(const std::function<std::string()>& run) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("fork failed");
  if (process == 0) {
    close(ends[0]);
    sendAll(ends[1], runSafely(run));
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  char block[4096];
  for (ssize_t count = 0; (count = ::read(ends[0], block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  close(ends[0]);
  int status = 0;
  waitpid(process, &status, 0);
  if (!WIFEXITED(status)) text += " ended with a signal";
  return text;
}

}  // namespace pellora::support
