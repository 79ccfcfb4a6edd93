#include "Adapters/Linux/Process/ProcessConfinement.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Adapters/Linux/Process/Landlock.h"
#include "Adapters/Linux/Process/SystemCallFilter.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/StoreHardening.h"

namespace pellora::ProcessConfinement {

namespace {

// Tries from inside what a confined process must not be able to do. Each trial does nothing that would matter if it
// went through. True: it was refused as it should be.
namespace ConfinementTrial {

constexpr int kNoDescriptor = -1;

// Whether a call failed with this error: without a filter these calls fail, too, but with another one.
bool isRefused(long result, int error) {
  return result < 0 && errno == error;
}

bool isSocketRefused(int domain, int type) {
  const FileDescriptor made(socket(domain, type | SOCK_CLOEXEC, 0));
  return !made.isOpen() && errno == EACCES;
}

bool writesNoCore() {
  rlimit limit{1, 1};
  return getrlimit(RLIMIT_CORE, &limit) == 0 && limit.rlim_cur == 0 && limit.rlim_max == 0;
}

bool isNotTraced() {
  return prctl(PR_GET_DUMPABLE) == 0;
}

bool startsNoProgram() {
  char* const none[] = {nullptr};
  return isRefused(execve("/nonexistent/program", none, none), EPERM);
}

bool signalsNobody() {
  // To the process with the highest number there can be: nobody has it, and signal 0 does nothing.
  return isRefused(kill(0x7FFFFFFF, 0), EPERM);
}

bool changesNoMode() {
  return isRefused(fchmod(kNoDescriptor, 0600), EPERM);
}

bool feedsNoTerminal() {
  char letter = 'x';
  return isRefused(ioctl(kNoDescriptor, TIOCSTI, &letter), EPERM);
}

bool makesNoSocket(bool mayUseTcp) {
  return isRefused(listen(kNoDescriptor, 1), EACCES) && isSocketRefused(AF_INET, SOCK_DGRAM) &&
         isSocketRefused(AF_NETLINK, SOCK_RAW) && (mayUseTcp || isSocketRefused(AF_INET6, SOCK_STREAM));
}

bool bindsNoPort() {
  const FileDescriptor stream(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return stream.isOpen() &&
         isRefused(bind(stream.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), EACCES);
}

// Reading and writing in a folder that is not among those named.
bool readsNot(const std::filesystem::path& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return !opened.isOpen();
}

bool writesNot(const std::filesystem::path& folder) {
  // A file without a name, which is gone at once.
  const FileDescriptor made(open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR));
  return !made.isOpen();
}

}  // namespace ConfinementTrial

using Access = Landlock::Access;
using Protection = ConfinementReport::Protection;
using State = Protection::State;

constexpr char kLogIndexSuffix[] = "-shm";
constexpr char kLibraryFolder[] = "Library";
constexpr mode_t kPrivate = 0700;

// Where links lead to; SQLite keeps its files next to the store itself.
std::filesystem::path resolved(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::path result = std::filesystem::weakly_canonical(path, error);
  return error ? path : result;
}

// As far as the mask of the process allows. Errors are ignored: a path that is not there is not allowed.
void makePrivateFolders(const std::filesystem::path& folder) {
  std::filesystem::path each;
  for (const std::filesystem::path& name : folder) {
    each /= name;
    if (mkdir(each.c_str(), kPrivate) == 0) chmod(each.c_str(), kPrivate);
  }
}

std::string reason(int error) {
  return "the kernel refused: " + std::generic_category().message(error);
}

// In force only when the trial says so; a kernel that accepts a rule and does not enforce it has refused it.
Protection protection(const std::string& name, int error, bool isKept, const std::string& promise) {
  if (error != 0) return {name, State::refused, reason(error)};
  if (!isKept) return {name, State::refused, "the kernel accepted the rule but does not enforce it"};
  return {name, State::inForce, promise};
}

Protection missing(const std::string& name, const std::string& why) {
  return {name, State::missing, why};
}

Protection giveUpCoreDumps() {
  const rlimit none{0, 0};
  const int error = setrlimit(RLIMIT_CORE, &none) == 0 ? 0 : errno;
  return protection("core dumps", error, ConfinementTrial::writesNoCore(), "none are written");
}

Protection giveUpTracing() {
  const int error = prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 ? 0 : errno;
  return protection("tracing", error, ConfinementTrial::isNotTraced(),
                    "the user's other programs can't look into the process");
}

// The nearest folder that exists, from the store's own upwards.
std::filesystem::path nearestFolder(std::filesystem::path folder) {
  std::error_code error;
  while (!std::filesystem::is_directory(folder, error) && folder != folder.parent_path()) folder = folder.parent_path();
  return folder;
}

void allowFiles(Landlock& rules, const ConfinementPlan& plan, const std::filesystem::path& store) {
  for (const std::filesystem::path& folder : plan.writableFolders) {
    makePrivateFolders(folder);
    rules.allow(folder, Access::everything);
  }
  if (!plan.socketFolder.empty()) {
    makePrivateFolders(plan.socketFolder);
    rules.allow(plan.socketFolder, Access::everythingAndSockets);
  }
  for (const std::filesystem::path& path : plan.readable) {
    if (path.filename().empty()) makePrivateFolders(path.parent_path());
    rules.allow(path, Access::reading);
  }
  for (const std::filesystem::path& path : ReadableFiles::ofSystem()) rules.allow(path, Access::reading);
  for (const std::filesystem::path& path : ReadableFiles::ofUser()) rules.allow(path, Access::reading);
  rules.allow(nearestFolder(store.parent_path()), Access::readingAndMakingEmptyFiles);
  // The Messages folder may be replaced by another while the process runs.
  if (const std::filesystem::path library = store.parent_path().parent_path(); library.filename() == kLibraryFolder)
    rules.allow(library, Access::readingAndMakingEmptyFiles);
  // The confined process may write an index that is there, and make none.
  StoreHardening::makeIndexOfVoidLog(store);
  rules.allow(store.string() + kLogIndexSuffix, Access::everything);
  for (const char* device : {"/dev/null", "/dev/dri"}) rules.allow(device, Access::everything);
}

Protection readingProtection(int error, const std::filesystem::path& store) {
  const bool isStoreThere = nearestFolder(store.parent_path()) == store.parent_path();
  if (error == 0 && !isStoreThere) return missing("reading", "from the next start on: there is no Messages folder yet");
  return protection("reading", error, ConfinementTrial::readsNot("/") && ConfinementTrial::readsNot("/proc"),
                    "only the store, its own folders, and files of the system and the desktop");
}

void confineFiles(const ConfinementPlan& plan, std::vector<Protection>& protections) {
  const bool restrictsTcp = plan.modelPort && !plan.needsInternetSockets;
  if (Landlock::version() == 0) {
    const int error = Landlock::refusal();
    const auto tell = [error](const char* name) {
      return error == 0 ? missing(name, "the kernel has no Landlock") : protection(name, error, false, "");
    };
    for (const char* name : {"writing", "reading"}) protections.push_back(tell(name));
    if (restrictsTcp) protections.push_back(tell("model port"));
    return;
  }
  // Its folder must stay in the kernel's memory: one that is looked up again later would have no rule.
  [[maybe_unused]] static const int ownProcess = open("/proc/self", O_PATH | O_DIRECTORY | O_CLOEXEC);
  const std::filesystem::path store = resolved(plan.store);
  Landlock rules(restrictsTcp);
  allowFiles(rules, plan, store);
  if (plan.modelPort) rules.allowConnecting(*plan.modelPort);
  const int error = rules.enforce();
  protections.push_back(protection("writing", error,
                                   ConfinementTrial::writesNot("/tmp") && ConfinementTrial::writesNot("/dev/shm"),
                                   "only in its own folders"));
  protections.push_back(readingProtection(error, store));
  if (!restrictsTcp) return;
  if (Landlock::version() < Landlock::kFirstWithNetwork)
    protections.push_back(
        missing("model port", "the kernel's Landlock has no rules on ports: any TCP port can be asked"));
  else
    protections.push_back(protection("model port", error, ConfinementTrial::bindsNoPort(),
                                     "TCP to the number of the model's port only, on any host"));
}

void confineCalls(const ConfinementPlan& plan, std::vector<Protection>& protections) {
  using Sockets = SystemCallFilter::Sockets;
  const std::initializer_list<const char*> names = {"programs", "signals", "modes", "terminal"};
  if (!SystemCallFilter::isPossible()) {
    for (const char* name : names) protections.push_back(missing(name, "the kernel has no system call filter"));
    protections.push_back(missing("sockets", "the kernel has no system call filter"));
    return;
  }
  const Sockets sockets = plan.needsInternetSockets ? Sockets::all
                          : plan.modelPort          ? Sockets::localAndTcp
                                                    : Sockets::localOnly;
  const int error = SystemCallFilter::enforce(sockets, SystemCallFilter::Scope::everything);
  protections.push_back(protection("programs", error, ConfinementTrial::startsNoProgram(),
                                   "it can't start any itself; the session bus stays open"));
  protections.push_back(protection("signals", error, ConfinementTrial::signalsNobody(), "only to itself"));
  protections.push_back(protection("modes", error, ConfinementTrial::changesNoMode(),
                                   "modes, owners and times of files stay as they are"));
  protections.push_back(
      protection("terminal", error, ConfinementTrial::feedsNoTerminal(), "no typing into it on the user's behalf"));
  if (plan.needsInternetSockets)
    protections.push_back(missing("sockets", "the display or the bus is reached over the network"));
  else
    protections.push_back(protection(
        "sockets", error, ConfinementTrial::makesNoSocket(plan.modelPort.has_value()),
        plan.modelPort ? "local ones and TCP only, none that listens" : "local ones only, none that listens"));
}

}  // namespace

ConfinementReport apply(const ConfinementPlan& plan) {
  ConfinementReport report;
  report.processID = getpid();
  report.protections.push_back(giveUpCoreDumps());
  report.protections.push_back(giveUpTracing());
  confineFiles(plan, report.protections);
  confineCalls(plan, report.protections);
  return report;
}

void applyToCompanion(bool mayAskModel) {
  giveUpCoreDumps();
  giveUpTracing();
  using namespace SystemCallFilter;
  enforce(mayAskModel ? Sockets::localAndTcp : Sockets::localOnly, Scope::lookingIntoOthers);
}

void applyToKeeper() {
  giveUpCoreDumps();
  giveUpTracing();
  SystemCallFilter::enforce(SystemCallFilter::Sockets::localOnly, SystemCallFilter::Scope::everything);
}

}  // namespace pellora::ProcessConfinement
