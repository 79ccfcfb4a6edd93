#include "Adapters/Linux/Process/ProcessConfinement.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Adapters/Linux/Process/Landlock.h"
#include "Adapters/Linux/Process/SystemCallFilter.h"

namespace pellora::ProcessConfinement {

namespace {

using Protection = ConfinementReport::Protection;

constexpr int kFirstWithNetwork = 4;  // version of Landlock
constexpr char kLogIndexSuffix[] = "-shm";
constexpr char kLibraryFolder[] = "Library";
constexpr mode_t kPrivate = 0700;

// Where links lead to; SQLite keeps its files beside the store itself.
std::filesystem::path resolved(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::path result = std::filesystem::weakly_canonical(path, error);
  return error ? path : result;
}

// Whatever the mask of the process lets through by itself. Errors are ignored: what is not there is not allowed.
void makePrivateFolders(const std::filesystem::path& folder) {
  std::filesystem::path each;
  for (const std::filesystem::path& name : folder) {
    each /= name;
    if (mkdir(each.c_str(), kPrivate) == 0) chmod(each.c_str(), kPrivate);
  }
}

Protection giveUpCoreDumps() {
  const rlimit none{0, 0};
  const bool isOff = setrlimit(RLIMIT_CORE, &none) == 0;
  return {"core dumps", isOff, isOff ? "none are written" : "could not be turned off"};
}

Protection giveUpTracing() {
  const bool isOff = prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0;
  return {"tracing", isOff, isOff ? "other programs can't look into the process" : "could not be turned off"};
}

void appendCalls(const ConfinementPlan& plan, std::vector<Protection>& protections) {
  using Sockets = SystemCallFilter::Sockets;
  const Sockets sockets = plan.needsInternetSockets ? Sockets::all
                          : plan.modelPort          ? Sockets::localAndTcp
                                                    : Sockets::localOnly;
  const bool isOn = SystemCallFilter::enforce(sockets);
  protections.push_back({"programs", isOn, isOn ? "it can't start any" : "the kernel has no system call filter"});
  if (plan.needsInternetSockets)
    protections.push_back({"sockets", false, "the display or the bus is reached over the network"});
  else if (!isOn)
    protections.push_back({"sockets", false, "the kernel has no system call filter"});
  else
    protections.push_back({"sockets", true, plan.modelPort ? "TCP only" : "no internet sockets"});
}

Protection confineWriting(const ConfinementPlan& plan, bool restrictsTcp, bool& isEnforced) {
  if (Landlock::version() == 0) return {"writing", false, "the kernel has no Landlock"};
  const std::filesystem::path store = resolved(plan.store);
  std::error_code error;
  if (!std::filesystem::is_directory(store.parent_path(), error))
    return {"writing", false, "from the next start on: there is no Messages folder yet"};
  Landlock rules(restrictsTcp);
  for (const std::filesystem::path& folder : plan.writableFolders) {
    makePrivateFolders(folder);
    rules.allow(folder, Landlock::Writing::everything);
  }
  rules.allow(store.parent_path(), Landlock::Writing::makeEmptyFiles);
  // The Messages folder may be replaced by another while the process runs.
  if (const std::filesystem::path library = store.parent_path().parent_path(); library.filename() == kLibraryFolder)
    rules.allow(library, Landlock::Writing::makeEmptyFiles);
  rules.allow(store.string() + kLogIndexSuffix, Landlock::Writing::everything);
  for (const char* device : {"/dev/null", "/dev/dri", "/dev/shm"}) rules.allow(device, Landlock::Writing::everything);
  if (plan.modelPort) rules.allowConnecting(*plan.modelPort);
  isEnforced = rules.enforce();
  return {"writing", isEnforced, isEnforced ? "only its own folders" : "the kernel refused"};
}

}  // namespace

ConfinementReport apply(const ConfinementPlan& plan) {
  ConfinementReport report;
  report.processID = getpid();
  report.protections.push_back(giveUpCoreDumps());
  report.protections.push_back(giveUpTracing());
  const bool restrictsTcp = plan.modelPort && !plan.needsInternetSockets;
  bool isEnforced = false;
  report.protections.push_back(confineWriting(plan, restrictsTcp, isEnforced));
  if (restrictsTcp) {
    const bool isOn = isEnforced && Landlock::version() >= kFirstWithNetwork;
    report.protections.push_back({"model port", isOn, isOn ? "TCP to the model's port only" : "not on this kernel"});
  }
  appendCalls(plan, report.protections);
  return report;
}

}  // namespace pellora::ProcessConfinement
