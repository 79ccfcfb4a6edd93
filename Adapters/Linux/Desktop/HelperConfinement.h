// The helper's process, confined: what it may read and write is worked out from the environment, and a keeper process
// writes the one entry of the autostart folder that is the helper's, and puts the helper's own folders back when they
// were removed or replaced. One per process, made first of all in main and kept to its end.
// Tested by Tests/App/HelperProgramTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Adapters/Linux/Files/StandInFolders.h"
#include "Adapters/Linux/Process/ConfinementReport.h"
#include "Adapters/Linux/Process/Keeper.h"
#include "PelloraMessagesCore/Ports/Session.h"
#include "PelloraMessagesCore/Ports/Storage.h"

namespace pellora {

class HelperConfinement {
 public:
  enum class Purpose { oneRead, window };

  struct Needs {
    Purpose purpose = Purpose::oneRead;
    std::filesystem::path store;
    std::vector<std::filesystem::path> readable;  // beyond what every helper reads
    std::optional<std::uint16_t> modelPort;
  };

  // Without a confinement, for builds whose tools can't work inside one.
  HelperConfinement();
  explicit HelperConfinement(const Needs& needs);
  ~HelperConfinement();
  HelperConfinement(const HelperConfinement&) = delete;
  HelperConfinement& operator=(const HelperConfinement&) = delete;

  // The kernel's refusal in one sentence; the program must not continue then. Empty when all is well.
  std::string refusal() const { return _report.refusal(); }

  // Writes the report for the companion. To be called by the process that becomes the helper or the reader: one that
  // ends because another runs must not overwrite that one's report. A refusal is written in any case.
  void tellProtections() const;

  LoginItem& loginItem();
  // Lets an enabled entry of the user's start this program when it starts another path.
  void refreshLoginItem();
  const GroupContainer& container() const;

  // The folders below which the helper writes.
  static std::vector<std::filesystem::path> ownFolders();

 private:
  class KeptLoginItem;
  class KeptContainer;

  std::unique_ptr<Keeper> makeKeeper();

  std::vector<StandInFolders> _standIns;
  std::unique_ptr<Keeper> _keeper;
  std::unique_ptr<KeptLoginItem> _loginItem;
  std::unique_ptr<KeptContainer> _container;
  ConfinementReport _report;
};

}  // namespace pellora
