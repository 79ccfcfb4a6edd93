// The desktop around the app, as far as the app needs more of it than the engine. The references must outlive the app.
#pragma once

#include <functional>

#include "PelloraMessagesCore/Ports/Desktop.h"
#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

struct HelperDesktop {
  TrayHost& trayHost;
  PrivacySettings& privacySettings;
  Appearance& appearance;
  QuitRequests& quitRequests;
  SleepNotice& sleepNotice;
  WindowActivation& windowActivation;

  // Gives back memory that is not needed at the moment; called after bursts of work.
  std::function<void()> releaseMemory;
};

}  // namespace pellora
