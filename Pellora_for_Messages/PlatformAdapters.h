// The one place that names adapters: makes this platform's capabilities and hands them to the engine as ports.
// Owned by the process's entry; everything that uses them must be gone before it. Needs a QCoreApplication.
#pragma once

#include <memory>
#include <string>

#include "PelloraMessagesCore/Ports/Session.h"
#include "Pellora_for_Messages/Engine/HelperPlatform.h"
#include "Pellora_for_Messages/HelperApp.h"

namespace pellora {

class HelperConfinement;

class PlatformAdapters {
 public:
  enum class Purpose { oneRead, window };

  // Gives up, for good, what the process does not need for this purpose. Call it first of all in main, before any
  // thread exists: parts of it hold only for threads made later.
  static std::shared_ptr<HelperConfinement> confineProcess(Purpose purpose);
  // Why the process must not go on, in one sentence; empty when it may.
  static std::string refusal(const HelperConfinement& confinement);

  // Why the process has too little to work with, in one sentence; empty when it has enough. Raises the limit of open
  // files as far as it is needed and allowed.
  static std::string shortage();

  explicit PlatformAdapters(std::shared_ptr<HelperConfinement> confinement);
  ~PlatformAdapters();
  PlatformAdapters(const PlatformAdapters&) = delete;
  PlatformAdapters& operator=(const PlatformAdapters&) = delete;

  HelperPlatform platform();
  HelperDesktop desktop();
  AppInstance& appInstance();

  // The program's short version string.
  static std::string version();

  // Takes away temporary files that a killed process left in the folders that this program writes.
  void removeLeftovers() const;

  // Writes which protections are in force, for the companion. Call it only when no other helper runs.
  void tellProtections() const;

  // Lets the login item start this program from where it is now, when it is enabled.
  void refreshLoginItem();

  // Null when windows can't be shown. Needs no QCoreApplication; ask before one for windows is made, which ends the
  // process when it finds no display, and let go of it afterwards.
  static std::shared_ptr<void> reachDisplay();

  // False when another helper works on the shared folder, answers on the session bus or reads, and still does after
  // two seconds. True holds until this object
  // is gone: a helper that starts meanwhile finds the folder locked.
  bool becomeOnlyReader();

  // The desktop's permission to come to the front that this process was launched with; empty without one. Ask before a
  // QApplication is made.
  static std::string launchToken();

  // Ends what the language model and the background are still working on, so that the process can end. False when the
  // background goes on: then nothing may be torn down, and the process must end as it is.
  bool close();

 private:
  struct Adapters;
  std::unique_ptr<Adapters> _adapters;
};

}  // namespace pellora
