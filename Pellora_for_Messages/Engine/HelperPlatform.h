// Everything that the engine needs from outside: the platform's capabilities behind their ports, where the
// Messages store lies, which calendar the user lives by, and the program's version. The references must outlive
// the engine; what a read is still waiting for when the engine goes ends when the language model goes.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "PelloraMessagesCore/Ports/Events.h"
#include "PelloraMessagesCore/Ports/LanguageModel.h"
#include "PelloraMessagesCore/Ports/Scheduler.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"
#include "PelloraMessagesCore/Ports/Session.h"
#include "PelloraMessagesCore/Ports/Storage.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {

struct HelperPlatform {
  Scheduler& scheduler;
  UserDefaults& defaults;
  SecretStore& secrets;
  const GroupContainer& container;
  NotificationCenter& notifications;
  FileEvents& fileEvents;
  LoginItem& loginItem;
  LanguageModel& languageModel;
  ReadLock& readLock;

  std::filesystem::path chatDatabase;
  std::function<LocalCalendar()> calendar;  // asked once per read, so that a change of time zone is noticed
  std::string version;
};

}  // namespace pellora
