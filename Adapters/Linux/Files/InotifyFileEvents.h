// Watches files through the kernel's inotify and the event loop of the main thread. A watch follows the file that it
// was made for, whatever becomes of its name, and sleeps until the file is written. A burst of writes is taken from
// the kernel in one go and calls the handler once. A handler may end its own watch.
// Tested by Tests/Adapters/FileEventsTests.cpp.
#pragma once

#include "PelloraMessagesCore/Ports/FileEvents.h"

namespace pellora {

class InotifyFileEvents : public FileEvents {
 public:
  std::unique_ptr<FileWatch> watch(const std::filesystem::path& file, std::function<void()> handler) override;
};

}  // namespace pellora
