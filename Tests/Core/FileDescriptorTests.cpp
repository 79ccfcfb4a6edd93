#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/ChildProcess.h"

namespace pellora {

namespace {

// Whether it is the null device and fails when used as the standard descriptor that it is.
bool isFilled(int number) {
  struct stat status{};
  struct stat null{};
  if (::fstat(number, &status) != 0 || ::stat("/dev/null", &null) != 0 || status.st_rdev != null.st_rdev) return false;
  char byte = 'x';
  const ssize_t count = number == STDIN_FILENO ? ::read(number, &byte, 1) : ::write(number, &byte, 1);
  return count < 0 && errno == EBADF;
}

// 0 when, started with these closed, exactly these are filled and a new file gets none of their numbers.
int failureWithClosed(const std::set<int>& closed) {
  return support::ForkedProcess([&closed] {
           for (const int number : closed) ::close(number);
           StandardDescriptors::fillClosed();
           for (int number = 0; number <= 2; ++number) {
             if (::fcntl(number, F_GETFD) < 0) return 1;
             if (closed.contains(number) && !isFilled(number)) return 2;
             if (!closed.contains(number) && isFilled(number)) return 3;
           }
           return ::open("/", O_RDONLY) > 2 ? 0 : 4;
         })
      .wait();
}

TEST(StandardDescriptors, NoFileGetsTheNumberOfAClosedOne) {
  const std::set<int> kClosed[] = {{}, {0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}};
  for (const auto& closed : kClosed) EXPECT_EQ(failureWithClosed(closed), 0) << testing::PrintToString(closed);
}

}  // namespace

}  // namespace pellora
