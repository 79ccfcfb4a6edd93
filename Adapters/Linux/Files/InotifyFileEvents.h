// Watches files through the kernel's inotify and the event loop of the main thread, without ever polling. The folder
// in which the file really lies is watched, links resolved; every folder and link on the way tells when it goes, and
// the path is then resolved again. Of a path that does not exist yet, the last folder that exists is watched for the
// next name. A burst of changes is taken from the kernel in one go and calls the handler once. A handler may end its
// own watch. A file system mounted over a part of the path goes unnoticed.
// Tested by Tests/Adapters/FileEventsTests.cpp.
#pragma once

#include "PelloraMessagesCore/Ports/Events.h"

namespace pellora {

class InotifyFileEvents : public FileEvents {
 public:
  std::unique_ptr<FileWatch> watch(const std::filesystem::path& file, std::function<void()> handler) override;
};

}  // namespace pellora
