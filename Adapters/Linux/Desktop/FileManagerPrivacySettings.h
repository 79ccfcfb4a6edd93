// Shows the folder of the Messages database, or its nearest existing parent, in the user's file manager: asked over
// the session bus (org.freedesktop.FileManager1, else the desktop portal), never by starting a program.
// Tested by Tests/Adapters/DesktopBusTests.cpp.
#pragma once

#include "PelloraMessagesCore/Ports/Desktop.h"

namespace pellora {

class FileManagerPrivacySettings : public PrivacySettings {
 public:
  void show(const std::filesystem::path& database) override;

  static std::filesystem::path nearestFolder(const std::filesystem::path& database);
};

}  // namespace pellora
