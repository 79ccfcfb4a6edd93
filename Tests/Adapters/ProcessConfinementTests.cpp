// Tries each forbidden thing from inside a confined process, and what must go on working. The report of the process
// lists every attempt that ended otherwise than it should, so an empty one is good.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "Adapters/Linux/Process/Landlock.h"
#include "Adapters/Linux/Process/ProcessConfinement.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using State = ConfinementReport::Protection::State;

// A listening TCP socket on the loopback interface, before the process is confined.
class Listener {
 public:
  Listener() : _socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = onLoopback(0);
    socklen_t size = sizeof address;
    if (bind(_socket.number(), reinterpret_cast<sockaddr*>(&address), size) == 0 && listen(_socket.number(), 4) == 0 &&
        getsockname(_socket.number(), reinterpret_cast<sockaddr*>(&address), &size) == 0)
      _port = ntohs(address.sin_port);
  }

  std::uint16_t port() const { return _port; }

  static sockaddr_in onLoopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }

 private:
  FileDescriptor _socket;
  std::uint16_t _port = 0;
};

// Attempts that came out otherwise.
class Attempts {
 public:
  // `result` as system calls give it, with errno.
  void refused(const std::string& what, long result, std::initializer_list<int> codes = {EACCES}) {
    const int code = errno;
    if (result >= 0) return tell(what + " went through");
    for (const int each : codes)
      if (code == each) return;
    tell(what + " failed with " + std::to_string(code));
  }
  void works(const std::string& what, long result) {
    if (result < 0) tell(what + " failed with " + std::to_string(errno));
  }
  void holds(const std::string& what, bool isTrue) {
    if (!isTrue) tell(what + " does not hold");
  }

  std::string report() const { return _report; }

 private:
  void tell(const std::string& text) { _report += text + "\n"; }

  std::string _report;
};

class ProcessConfinementTest : public testing::Test {
 protected:
  void SetUp() override {
    support::SmallStore store(_store);
    store.addMessage(store.addChat({"+15550100123"}), instantAtSeconds(1'773'000'000), false, "hello");
    std::ofstream(_outside) << "a file of somebody else's";
    std::ofstream(_readable) << "a file that may be read";
    fs::create_directory(_folder / "elsewhere");
  }

  ConfinementPlan plan() const {
    ConfinementPlan plan;
    plan.writableFolders = {_own, _folder / "config/deep/own"};
    plan.socketFolder = _folder / "run/sockets";
    plan.readable = {_readable};
    plan.store = _store;
    return plan;
  }

  // The attempts of a process that is confined as planned.
  static std::string confined(const ConfinementPlan& plan, const std::function<void(Attempts&)>& attempt) {
    return support::reportOfProcess([&] {
      ProcessConfinement::apply(plan);
      Attempts attempts;
      attempt(attempts);
      return attempts.report();
    });
  }

  // The same, with somebody outside who acts once when told to, and keeps what that gave until the attempts are over.
  static std::string confinedBeside(
      const ConfinementPlan& plan, const std::function<std::shared_ptr<void>()>& act,
      const std::function<void(Attempts&, const std::function<void()>& letOutsideAct)>& attempt) {
    int toOutside[2];
    int toInside[2];
    if (pipe(toOutside) != 0 || pipe(toInside) != 0) return "no pipes";
    std::thread outside([&] {
      char byte = 0;
      if (::read(toOutside[0], &byte, 1) != 1) return;
      const std::shared_ptr<void> kept = act();
      if (::write(toInside[1], "x", 1) != 1) return;
      if (::read(toOutside[0], &byte, 1) != 1) return;
    });
    std::string report = confined(plan, [&](Attempts& attempts) {
      attempt(attempts, [&] {
        char byte = 0;
        attempts.works("telling", ::write(toOutside[1], "x", 1));
        attempts.works("waiting", ::read(toInside[0], &byte, 1));
      });
    });
    if (::write(toOutside[1], "xx", 2) != 2) report += "telling of the end failed\n";
    outside.join();
    for (const int end : {toOutside[0], toOutside[1], toInside[0], toInside[1]}) close(end);
    return report;
  }

  static std::size_t messageCount(const fs::path& store) {
    return ChatDatabase(store).messages(std::int64_t{0}, 100).size();
  }

  static int connectTo(std::uint16_t port) {
    const FileDescriptor stream(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!stream.isOpen()) return -1;
    const sockaddr_in address = Listener::onLoopback(port);
    return connect(stream.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }

  support::TemporaryFolder _folder;
  fs::path _store = _folder / "Library/Messages/chat.db";
  fs::path _own = _folder / "own";
  fs::path _readable = _folder / "readable.txt";
  fs::path _outside = _folder / "outside.txt";
};

void tryOtherSockets(Attempts& attempts) {
  attempts.refused("netlink", socket(AF_NETLINK, SOCK_RAW, 0));
  attempts.refused("packets", socket(AF_PACKET, SOCK_RAW, 0));
  for (const int domain : {AF_INET, AF_INET6}) {
    attempts.refused("UDP", socket(domain, SOCK_DGRAM, 0));
    attempts.refused("UDP, not blocking", socket(domain, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    attempts.refused("raw", socket(domain, SOCK_RAW, IPPROTO_ICMP));
    attempts.refused("SCTP stream", socket(domain, SOCK_STREAM, IPPROTO_SCTP));
    attempts.refused("SCTP packets", socket(domain, SOCK_SEQPACKET, 0));
    attempts.refused("multi-path TCP", socket(domain, SOCK_STREAM, 262));
  }
}

void tryLocalSocket(Attempts& attempts) {
  attempts.works("local stream", socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  int pair[2];
  attempts.works("local pair", socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
}

TEST_F(ProcessConfinementTest, NoInternetSocketIsMadeWithoutModelPort) {
  EXPECT_EQ(confined(plan(),
                     [](Attempts& attempts) {
                       attempts.refused("TCP", socket(AF_INET, SOCK_STREAM, 0));
                       attempts.refused("TCP 6", socket(AF_INET6, SOCK_STREAM, 0));
                       tryOtherSockets(attempts);
                       tryLocalSocket(attempts);
                     }),
            "");
}

TEST_F(ProcessConfinementTest, OnlyStreamsAreMadeWithModelPort) {
  ConfinementPlan withPort = plan();
  withPort.modelPort = 8080;
  EXPECT_EQ(confined(withPort,
                     [](Attempts& attempts) {
                       attempts.works("TCP", socket(AF_INET, SOCK_STREAM, 0));
                       attempts.works("TCP, named", socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
                       tryOtherSockets(attempts);
                       tryLocalSocket(attempts);
                     }),
            "");
}

TEST_F(ProcessConfinementTest, OnlyTheModelPortIsConnectedTo) {
  if (Landlock::version() < 4) GTEST_SKIP() << "this kernel has no rules on ports";
  const Listener model;
  const Listener other;
  ASSERT_NE(model.port(), 0);
  ConfinementPlan withPort = plan();
  withPort.modelPort = model.port();
  EXPECT_EQ(confined(withPort,
                     [&](Attempts& attempts) {
                       attempts.works("the model", connectTo(model.port()));
                       attempts.refused("another port", connectTo(other.port()));
                       const int stream = socket(AF_INET, SOCK_STREAM, 0);
                       const sockaddr_in any = Listener::onLoopback(0);
                       attempts.refused("listening", bind(stream, reinterpret_cast<const sockaddr*>(&any), sizeof any));
                       const sockaddr_in there = Listener::onLoopback(other.port());
                       attempts.refused("connecting by sending",
                                        sendto(stream, "x", 1, MSG_FASTOPEN | MSG_NOSIGNAL,
                                               reinterpret_cast<const sockaddr*>(&there), sizeof there));
                     }),
            "");
}

// Without a port of its own asked for, which the rules on ports would see.
TEST_F(ProcessConfinementTest, NothingListens) {
  ConfinementPlan withPort = plan();
  withPort.modelPort = 8080;
  EXPECT_EQ(confined(withPort,
                     [](Attempts& attempts) {
                       attempts.refused("TCP", listen(socket(AF_INET, SOCK_STREAM, 0), 1));
                       const int local = socket(AF_UNIX, SOCK_STREAM, 0);
                       sockaddr_un nameless{};
                       nameless.sun_family = AF_UNIX;
                       attempts.works("a name by the kernel", bind(local, reinterpret_cast<const sockaddr*>(&nameless),
                                                                   sizeof nameless.sun_family));
                       attempts.refused("local", listen(local, 1));
                     }),
            "");
}

TEST_F(ProcessConfinementTest, SocketsStayWhenTheDisplayNeedsThem) {
  const Listener display;
  ConfinementPlan withNetwork = plan();
  withNetwork.needsInternetSockets = true;
  withNetwork.modelPort = 1;
  EXPECT_EQ(confined(withNetwork,
                     [&](Attempts& attempts) {
                       attempts.works("the display", connectTo(display.port()));
                       attempts.refused("a program", execl("/bin/true", "true", nullptr), {EPERM});
                     }),
            "");
}

TEST_F(ProcessConfinementTest, NothingIsWrittenOutsideTheNamedFolders) {
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  EXPECT_EQ(confined(plan(),
                     [this](Attempts& attempts) {
                       const fs::path made = _folder / "elsewhere/new";
                       const char* there = _outside.c_str();
                       attempts.refused("writing", open(there, O_WRONLY));
                       attempts.refused("appending", open(there, O_WRONLY | O_APPEND));
                       attempts.refused("creating", open(made.c_str(), O_WRONLY | O_CREAT, 0600));
                       attempts.refused("a nameless file", open(_folder.path().c_str(), O_TMPFILE | O_WRONLY, 0600));
                       attempts.refused("unlinking", unlink(there));
                       attempts.refused("renaming", rename(there, made.c_str()));
                       attempts.refused("taking over", rename(there, (_own / "x").c_str()), {EACCES, EXDEV});
                       attempts.refused("linking", link(there, (_own / "x").c_str()), {EACCES, EXDEV, EPERM});
                       attempts.refused("symlink", symlink("/etc/passwd", made.c_str()));
                       attempts.refused("folder", mkdir(made.c_str(), 0700));
                       attempts.refused("removing a folder", rmdir((_folder / "elsewhere").c_str()));
                       attempts.refused("pipe", mkfifo(made.c_str(), 0600));
                       attempts.refused("truncating", truncate(there, 0));
                       attempts.refused("truncating by opening", open(there, O_RDONLY | O_TRUNC));
                     }),
            "");
}

// Without a session bus, a second launch activates the first instance through a socket.
TEST_F(ProcessConfinementTest, SocketsAreMadeInTheirFolderOnly) {
  const auto isBound = [](const fs::path& path) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    return bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  };
  EXPECT_EQ(confined(plan(),
                     [&](Attempts& attempts) {
                       const fs::path sockets = _folder / "run/sockets";
                       attempts.works("socket", isBound(sockets / "socket"));
                       attempts.works("unlinking", unlink((sockets / "socket").c_str()));
                       AtomicFile::write(sockets / "file", "text");
                       if (Landlock::version() == 0) return;
                       const fs::path made = sockets / "made";
                       attempts.refused("symlink", symlink("/etc/passwd", made.c_str()));
                       attempts.refused("pipe", mkfifo(made.c_str(), 0600));
                       attempts.refused("socket elsewhere", isBound(_own / "socket"));
                     }),
            "");
}

TEST_F(ProcessConfinementTest, NothingIsReadOutsideTheNamedFilesAndTheSystem) {
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  const std::string parent = "/proc/" + std::to_string(getpid()) + "/environ";
  EXPECT_EQ(confined(plan(),
                     [&](Attempts& attempts) {
                       attempts.refused("another file", open(_outside.c_str(), O_RDONLY));
                       attempts.refused("another folder", open(_folder.path().c_str(), O_RDONLY | O_DIRECTORY));
                       attempts.refused("the root", open("/", O_RDONLY | O_DIRECTORY));
                       attempts.refused("another process", open(parent.c_str(), O_RDONLY));
                       attempts.works("the named file", open(_readable.c_str(), O_RDONLY));
                       attempts.works("the system's programs", open("/usr/bin", O_RDONLY | O_DIRECTORY));
                       attempts.works("the system's settings", open("/etc/passwd", O_RDONLY));
                       attempts.works("random numbers", open("/dev/urandom", O_RDONLY));
                       attempts.works("its own memory map", open("/proc/self/maps", O_RDONLY));
                       attempts.works("who listens", open("/proc/net/tcp", O_RDONLY));
                     }),
            "");
}

TEST_F(ProcessConfinementTest, ModesOwnersAndTimesStayAsTheyAre) {
  EXPECT_EQ(confined(plan(),
                     [this](Attempts& attempts) {
                       const char* there = _outside.c_str();
                       attempts.refused("chmod", chmod(there, 0666), {EPERM});
                       attempts.refused("fchmodat", fchmodat(AT_FDCWD, there, 0666, 0), {EPERM});
                       attempts.refused("fchmodat2", syscall(452, AT_FDCWD, there, 0666, 0), {EPERM});
                       attempts.refused("chown", chown(there, 1, 1), {EPERM});
                       attempts.refused("times", utimensat(AT_FDCWD, there, nullptr, 0), {EPERM});
                       attempts.refused("attributes", setxattr(there, "user.x", "y", 1, 0), {EPERM});
                       const int open = ::open(_readable.c_str(), O_RDONLY);
                       attempts.refused("fchmod", fchmod(open, 0666), {EPERM});
                       int flags = FS_NODUMP_FL;
                       attempts.refused("flags", ioctl(open, FS_IOC_SETFLAGS, &flags), {EPERM});
                       fsxattr extended{};
                       attempts.refused("more flags", ioctl(open, FS_IOC_FSSETXATTR, &extended), {EPERM});
                       attempts.refused("setxattrat", syscall(463, AT_FDCWD, there, 0, "user.x", nullptr, 0), {ENOSYS});
                       attempts.refused("file_setattr", syscall(469, AT_FDCWD, there, nullptr, 0, 0), {ENOSYS});
                     }),
            "");
}

TEST_F(ProcessConfinementTest, TheTerminalIsNotTypedInto) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  if (terminal < 0) GTEST_SKIP() << "there are no terminals here";
  EXPECT_EQ(confined(plan(),
                     [terminal](Attempts& attempts) {
                       char letter = 'x';
                       attempts.refused("typing", ioctl(terminal, TIOCSTI, &letter), {EPERM});
                       attempts.refused("typing, upper half of the request set",
                                        syscall(SYS_ioctl, terminal, 0x100000000UL | TIOCSTI, &letter), {EPERM});
                       attempts.refused("pasting", ioctl(terminal, 0x541C, &letter), {EPERM});
                       winsize size{};
                       attempts.works("asking for the size", ioctl(terminal, TIOCGWINSZ, &size));
                     }),
            "");
  close(terminal);
}

TEST_F(ProcessConfinementTest, SignalsGoToItselfOnly) {
  const pid_t parent = getpid();
  EXPECT_EQ(confined(plan(),
                     [parent](Attempts& attempts) {
                       siginfo_t info{};
                       info.si_code = SI_QUEUE;
                       attempts.refused("kill", kill(parent, 0), {EPERM});
                       attempts.refused("everybody", kill(-1, 0), {EPERM});
                       attempts.refused("its group", kill(0, 0), {EPERM});
                       attempts.refused("tgkill", syscall(SYS_tgkill, parent, parent, 0), {EPERM});
                       attempts.refused("tkill", syscall(SYS_tkill, parent, 0), {EPERM});
                       attempts.refused("sigqueue", syscall(SYS_rt_sigqueueinfo, parent, SIGCONT, &info), {EPERM});
                       const long other = syscall(SYS_pidfd_open, parent, 0);
                       attempts.refused("pidfd", syscall(SYS_pidfd_send_signal, other, 0, nullptr, 0), {EPERM});
                       int ends[2];
                       attempts.works("a pipe", pipe(ends));
                       attempts.refused("a file's signals", fcntl(ends[0], F_SETOWN, parent), {EPERM});
                       signal(SIGUSR1, SIG_IGN);
                       attempts.works("itself", kill(getpid(), SIGUSR1));
                       attempts.works("itself by raise", -raise(SIGUSR1));
                     }),
            "");
}

TEST_F(ProcessConfinementTest, NothingIsSharedByNumberWithOtherPrograms) {
  const int memory = shmget(IPC_PRIVATE, 4096, IPC_CREAT | 0600);
  ASSERT_GE(memory, 0);
  const int queue = msgget(IPC_PRIVATE, IPC_CREAT | 0600);
  EXPECT_EQ(confined(plan(),
                     [memory, queue](Attempts& attempts) {
                       attempts.refused("memory", reinterpret_cast<long>(shmat(memory, nullptr, 0)), {EPERM});
                       attempts.refused("memory of its own", shmget(IPC_PRIVATE, 4096, IPC_CREAT | 0600), {EPERM});
                       attempts.refused("removing memory", shmctl(memory, IPC_RMID, nullptr), {EPERM});
                       const long message = 1;
                       attempts.refused("a queue", msgsnd(queue, &message, 0, IPC_NOWAIT), {EPERM});
                     }),
            "");
  shmctl(memory, IPC_RMID, nullptr);
  msgctl(queue, IPC_RMID, nullptr);
}

TEST_F(ProcessConfinementTest, NoOtherWaysIntoTheKernelAreOpen) {
  EXPECT_EQ(
      confined(plan(),
               [](Attempts& attempts) {
                 attempts.refused("ring of calls", syscall(SYS_io_uring_setup, 1, nullptr), {EPERM});
                 attempts.refused("tracing", ptrace(PTRACE_SEIZE, getppid(), nullptr, nullptr), {EPERM});
                 const iovec piece{&attempts, 1};
                 attempts.refused("reading memory", process_vm_readv(getppid(), &piece, 1, &piece, 1, 0), {EPERM});
                 attempts.refused("writing memory", process_vm_writev(getppid(), &piece, 1, &piece, 1, 0), {EPERM});
                 const int program = memfd_create("program", MFD_CLOEXEC);
                 char* const none[] = {nullptr};
                 attempts.works("nameless memory", program);
                 attempts.refused("running it", syscall(SYS_execveat, program, "", none, none, AT_EMPTY_PATH), {EPERM});
                 attempts.refused("new users", unshare(CLONE_NEWUSER), {EPERM});
                 attempts.refused("new users by clone", syscall(SYS_clone, CLONE_NEWUSER | SIGCHLD, 0, 0, 0, 0),
                                  {EPERM});
                 attempts.refused("clone3", syscall(SYS_clone3, nullptr, 0), {ENOSYS});
                 std::thread([] {}).join();
               }),
      "");
}

#ifdef __x86_64__
// The calls of 32-bit programs, which a kernel may leave out.
TEST_F(ProcessConfinementTest, CallsOf32BitProgramsDoNotExist) {
  const auto processNumber = [] {
    constexpr long kGetProcess = 20;
    long result = kGetProcess;
    asm volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
    return result;
  };
  if (support::reportOfProcess([&] { return std::to_string(processNumber() == getpid()); }) != "1")
    GTEST_SKIP() << "this kernel has none";
  EXPECT_EQ(confined(plan(),
                     [&](Attempts& attempts) {
                       attempts.holds("refused", processNumber() == -ENOSYS);
                       attempts.refused("of 32-bit addresses", syscall(0x40000000 + SYS_getpid), {ENOSYS});
                     }),
            "");
}
#endif

TEST_F(ProcessConfinementTest, OwnFoldersAreMadeAndWrittenIn) {
  EXPECT_EQ(confined(plan(),
                     [this](Attempts& attempts) {
                       AtomicFile::write(_own / "file", "first");
                       AtomicFile::write(_own / "file", "second");
                       AtomicFile::write(_own / "below/it/file", "deep");
                       AtomicFile::write(_folder / "config/deep/own/file", "other");
                       AtomicFile::removeLeftovers(_own);
                       // A link would lead the companion elsewhere, a pipe or a socket let it wait.
                       if (Landlock::version() > 0) {
                         const fs::path made = _own / "made";
                         attempts.refused("symlink", symlink("/etc/passwd", made.c_str()));
                         attempts.refused("pipe", mkfifo(made.c_str(), 0600));
                         attempts.refused("device", mknod(made.c_str(), S_IFCHR | 0600, 259), {EACCES, EPERM});
                         attempts.refused("socket", mknod(made.c_str(), S_IFSOCK | 0600, 0));
                       }
                       attempts.works("unlinking", unlink((_own / "file").c_str()));
                     }),
            "");
  EXPECT_EQ(AtomicFile::read(_own / "below/it/file"), "deep");
  EXPECT_FALSE(fs::exists(_own / "file"));
  for (const fs::path& folder : {_own, _own / "below/it", _folder / "config", _folder / "config/deep/own"}) {
    struct stat status{};
    ASSERT_EQ(stat(folder.c_str(), &status), 0) << folder;
    EXPECT_EQ(status.st_mode & 07777U, 0700U) << folder;
  }
}

void tryToHarmStore(Attempts& attempts, const fs::path& store) {
  const fs::path log = store.string() + "-wal";
  attempts.refused("unlinking", unlink(store.c_str()));
  attempts.refused("writing", open(store.c_str(), O_RDWR));
  attempts.refused("renaming", rename(store.c_str(), (store.string() + "2").c_str()));
  attempts.refused("removing the log", unlink(log.c_str()));
  attempts.refused("writing the log", open(log.c_str(), O_RDWR));
  attempts.refused("a folder beside it", mkdir((store.parent_path() / "new").c_str(), 0700));
  attempts.refused("truncating", truncate(store.c_str(), 0));
  attempts.refused("truncating the log", truncate(log.c_str(), 0));
}

TEST_F(ProcessConfinementTest, StoreInUseIsReadAndCannotBeHarmed) {
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  support::SmallStore owner(_folder / "Library/Messages/used.db");
  const auto chat = owner.addChat({"+15550100123"});
  owner.addMessage(chat, instantAtSeconds(1'773'000'000), false, "in the log only");
  ConfinementPlan inUse = plan();
  inUse.store = owner.path();
  EXPECT_EQ(confined(inUse,
                     [&](Attempts& attempts) {
                       tryToHarmStore(attempts, owner.path());
                       attempts.holds("reading", messageCount(owner.path()) == 1);
                       tryToHarmStore(attempts, owner.path());
                       attempts.holds("reading again", messageCount(owner.path()) == 1);
                     }),
            "");
  owner.addMessage(chat, instantAtSeconds(1'773'000'001), false, "written afterwards");
  EXPECT_EQ(owner.connection().queryInteger("SELECT count(*) FROM message"), 2);
}

TEST_F(ProcessConfinementTest, StoreWithoutLogIsRead) {
  ASSERT_FALSE(fs::exists(_store.string() + "-shm"));
  EXPECT_EQ(confined(plan(),
                     [this](Attempts& attempts) {
                       attempts.holds("reading", messageCount(_store) == 1);
                       attempts.holds("reading again", messageCount(_store) == 1);
                     }),
            "");
  EXPECT_EQ(messageCount(_store), 1u);
}

TEST_F(ProcessConfinementTest, LogThatAppearsAfterTheStartIsRead) {
  const auto writeLater = [this] {
    auto connection = std::make_shared<StoreConnection>(_store, StoreConnection::Mode::existing);
    connection->execute("INSERT INTO message (guid, date, text) VALUES ('new', 5, 'later')");
    connection->execute("INSERT INTO chat_message_join (chat_id, message_id) VALUES (1, last_insert_rowid())");
    return connection;
  };
  EXPECT_EQ(confinedBeside(plan(), writeLater,
                           [this](Attempts& attempts, const std::function<void()>& letOutsideAct) {
                             letOutsideAct();
                             attempts.holds("reading what is in the new log", messageCount(_store) == 2);
                             attempts.holds("reading again", messageCount(_store) == 2);
                           }),
            "");
}

TEST_F(ProcessConfinementTest, StoreInAFolderThatReplacedTheOldOneIsRead) {
  const auto replaceFolder = [this] {
    const fs::path messages = _store.parent_path();
    fs::rename(messages, _folder / "old");
    fs::create_directory(messages);
    fs::copy_file(_folder / "old/chat.db", _store);
    return nullptr;
  };
  EXPECT_EQ(confinedBeside(plan(), replaceFolder,
                           [this](Attempts& attempts, const std::function<void()>& letOutsideAct) {
                             attempts.holds("reading", messageCount(_store) == 1);
                             letOutsideAct();
                             attempts.holds("reading the new store", messageCount(_store) == 1);
                             attempts.refused("writing beside it",
                                              open((_store.parent_path() / "new").c_str(), O_WRONLY | O_CREAT, 0600));
                           }),
            "");
}

TEST_F(ProcessConfinementTest, StoreWithADamagedLogIsReadAsSqliteReadsIt) {
  fs::remove(_store.string() + "-shm");
  std::ofstream(_store.string() + "-wal") << std::string(8192, 'x');
  EXPECT_EQ(confined(plan(), [this](Attempts& attempts) { attempts.holds("reading", messageCount(_store) == 1); }), "");
}

TEST_F(ProcessConfinementTest, LogThatIsDamagedLaterIsSaidToBe) {
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  fs::remove(_store.string() + "-shm");
  std::ofstream log(_store.string() + "-wal");
  const auto damageAndRead = [&](Attempts&) {
    log << std::string(8192, 'x') << std::flush;
    messageCount(_store);
  };
  EXPECT_EQ(confined(plan(), damageAndRead), "threw: query(\"the log chat.db-wal is damaged\")");
}

TEST_F(ProcessConfinementTest, StoreBehindLinkIsRead) {
  fs::create_directories(_folder / "linked");
  fs::create_symlink(_store, _folder / "linked/chat.db");
  ConfinementPlan linked = plan();
  linked.store = _folder / "linked/chat.db";
  EXPECT_EQ(confined(linked, [&](Attempts& attempts) { attempts.holds("reading", messageCount(linked.store) == 1); }),
            "");
}

TEST_F(ProcessConfinementTest, NoProgramIsStartedAndNoProcessLookedInto) {
  const pid_t parent = getpid();
  EXPECT_EQ(confined(plan(),
                     [parent](Attempts& attempts) {
                       attempts.refused("a program", execl("/bin/true", "true", nullptr), {EPERM});
                       attempts.refused("tracing", ptrace(PTRACE_ATTACH, parent, nullptr, nullptr), {EPERM});
                       attempts.refused("being traced", ptrace(PTRACE_TRACEME, 0, nullptr, nullptr), {EPERM});
                     }),
            "");
}

TEST_F(ProcessConfinementTest, NoCoreIsDumpedAndNoPrivilegeGained) {
  EXPECT_EQ(confined(plan(),
                     [](Attempts& attempts) {
                       rlimit limit{1, 1};
                       getrlimit(RLIMIT_CORE, &limit);
                       attempts.holds("no core", limit.rlim_cur == 0 && limit.rlim_max == 0);
                       attempts.holds("not dumpable", prctl(PR_GET_DUMPABLE) == 0);
                       attempts.holds("no new privileges", prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1);
                     }),
            "");
}

TEST_F(ProcessConfinementTest, ThreadsMadeLaterAreConfined) {
  EXPECT_EQ(confined(plan(),
                     [this](Attempts& attempts) {
                       std::thread([&] {
                         attempts.refused("TCP", socket(AF_INET, SOCK_STREAM, 0));
                         attempts.refused("a program", execl("/bin/true", "true", nullptr), {EPERM});
                         if (Landlock::version() > 0) attempts.refused("writing", open(_outside.c_str(), O_WRONLY));
                       }).join();
                     }),
            "");
}

ConfinementReport::Protection protection(const ConfinementReport& report, const std::string& name) {
  for (const ConfinementReport::Protection& each : report.protections)
    if (each.name == name) return each;
  return {"missing", State::missing, ""};
}

TEST_F(ProcessConfinementTest, ReportTellsWhatIsOn) {
  const fs::path runtime = _folder / "own";
  support::reportOfProcess([&] {
    ConfinementPlan withPort = plan();
    withPort.modelPort = 8080;
    ProcessConfinement::apply(withPort).write(runtime);
    return std::string();
  });
  const auto bytes = AtomicFile::read(runtime / "protections.json");
  ASSERT_TRUE(bytes);
  for (const char* name : {"core dumps", "tracing", "programs", "signals", "modes", "terminal", "sockets", "model port",
                           "writing", "reading"})
    EXPECT_NE(bytes->find(std::string("\"") + name + "\""), std::string::npos) << name;
}

TEST_F(ProcessConfinementTest, ReadingIsNotRuledUntilThereIsAMessagesFolderButWritingIs) {
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  const std::string report = support::reportOfProcess([&] {
    ConfinementPlan early = plan();
    early.store = _folder / "not/there/chat.db";
    const ConfinementReport result = ProcessConfinement::apply(early);
    const auto reading = protection(result, "reading");
    return std::string(reading.isOn() ? "on" : "off") + ", " + reading.detail + "; " +
           (protection(result, "writing").isOn() ? "on" : "off") + result.refusal();
  });
  EXPECT_EQ(report, "off, from the next start on: there is no Messages folder yet; on");
}

TEST_F(ProcessConfinementTest, WhatTheKernelHasAndRefusesIsARefusal) {
  // Only so many rules can lie on top of each other, and of filters only so much: both are used up here.
  if (Landlock::version() == 0) GTEST_SKIP() << "this kernel has no Landlock";
  const std::string report = support::reportOfProcess([&] {
    ConfinementReport result;
    for (int layer = 0; layer < 20; ++layer) result = ProcessConfinement::apply(plan());
    return protection(result, "writing").detail + "; " + result.refusal();
  });
  EXPECT_EQ(report,
            "the kernel refused: Argument list too long; The helper could not protect itself (writing: the kernel "
            "refused: Argument list too long), so it reads nothing.");
}

TEST_F(ProcessConfinementTest, ReportOfARefusalIsReadWhenItsProcessIsGone) {
  ConfinementReport report;
  report.processID = 0x7FFFFFFF;
  report.protections = {{"writing", State::refused, "the kernel refused: Argument list too long"}};
  report.write(_folder.path());
  EXPECT_EQ(ConfinementReport::read(_folder.path()), report);
}

TEST_F(ProcessConfinementTest, CompanionKeepsFilesAndProgramsAndLocalSockets) {
  EXPECT_EQ(support::reportOfProcess([&] {
              ProcessConfinement::applyToCompanion(false);
              Attempts attempts;
              attempts.refused("TCP", socket(AF_INET, SOCK_STREAM, 0));
              attempts.refused("UDP", socket(AF_INET6, SOCK_DGRAM, 0));
              attempts.refused("tracing", ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr), {EPERM});
              attempts.holds("not dumpable", prctl(PR_GET_DUMPABLE) == 0);
              tryLocalSocket(attempts);
              attempts.works("reading", open(_outside.c_str(), O_RDWR));
              attempts.works("modes", chmod(_outside.c_str(), 0600));
              return attempts.report();
            }),
            "");
  EXPECT_EQ(support::reportOfProcess([&] {
              ProcessConfinement::applyToCompanion(true);
              Attempts attempts;
              attempts.works("TCP", socket(AF_INET, SOCK_STREAM, 0));
              attempts.refused("UDP", socket(AF_INET6, SOCK_DGRAM, 0));
              return attempts.report();
            }),
            "");
}

TEST_F(ProcessConfinementTest, ReportIsReadWhileItsProcessLives) {
  ConfinementReport report;
  report.processID = getpid();
  report.protections = {{"sockets", State::inForce, "local ones only"},
                        {"writing", State::missing, "the kernel has no Landlock"}};
  report.write(_folder.path());
  EXPECT_EQ(ConfinementReport::read(_folder.path()), report);
}

TEST_F(ProcessConfinementTest, ReportOfProcessThatIsGoneReadsAsAbsent) {
  support::reportOfProcess([&] {
    ProcessConfinement::apply(plan()).write(_own);
    return std::string();
  });
  ASSERT_TRUE(fs::exists(_own / "protections.json"));
  EXPECT_EQ(ConfinementReport::read(_own), std::nullopt);
}

TEST_F(ProcessConfinementTest, DamagedReportReadsAsAbsent) {
  EXPECT_EQ(ConfinementReport::read(_folder.path()), std::nullopt);
  EXPECT_EQ(ConfinementReport::read(std::nullopt), std::nullopt);
  const std::string self = std::to_string(getpid());
  for (const std::string& bytes :
       {std::string(), std::string("{"), std::string("[]"), std::string("null"), std::string("\xff\xfe"),
        "{\"processID\":" + self + "}", "{\"processID\":" + self + ",\"protections\":[{}]}",
        "{\"processID\":\"" + self + "\",\"protections\":[]}", std::string("{\"processID\":-1,\"protections\":[]}"),
        std::string("{\"processID\":4294967297,\"protections\":[]}"), std::string(60'000, '['),
        "{\"processID\":" + self + ",\"protections\":[{\"name\":1,\"isOn\":true,\"detail\":\"\"}]}"}) {
    std::ofstream(_folder / "protections.json", std::ios::trunc) << bytes;
    EXPECT_EQ(ConfinementReport::read(_folder.path()), std::nullopt) << bytes.substr(0, 80);
  }
}

TEST_F(ProcessConfinementTest, ReportIntoFolderThatIsMissingIsIgnored) {
  const ConfinementReport report;
  report.write(std::nullopt);
  report.write(_outside / "no folder");
  EXPECT_TRUE(fs::is_regular_file(_outside));
}

}  // namespace
}  // namespace pellora
