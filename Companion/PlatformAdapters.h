// The companion's one place that names adapters: what its commands need of this platform. Only Commands/ and
// main.cpp may include it. Needs a QCoreApplication where a bus or a model server is asked.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "Adapters/Linux/Model/ModelSettings.h"
#include "Adapters/Linux/Process/ConfinementReport.h"
#include "PelloraMessagesCore/Ports/SecretStore.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora::platform_adapters {

// Gives up, for good, what no command needs: core dumps, being traced, looking into other processes, and all sockets
// but local ones; of these TCP stays when the command `mayAskModel`. Call it first of all, before any thread exists.
void confineProcess(bool mayAskModel);

// For a command that will show this file: keeps a process that starts the program for it as a shell would. Call it
// before the process is confined; without it openFile needs the desktop's portal.
void prepareToOpen(const std::filesystem::path& file);

// The keyring, or the key file where PELLORA_SECRET_STORE asks for it.
std::unique_ptr<SecretStore> secretStore();

// The folder shared with the helper; absent without a home folder.
std::optional<std::filesystem::path> sharedFolder();

// For locks, private to this user; absent when there is none.
std::optional<std::filesystem::path> runtimeFolder();

// Where the companion keeps its own settings; absent without a home folder.
std::optional<std::filesystem::path> settingsFolder();

// Takes away temporary files that a killed process left in the folders that the companion writes.
void removeLeftovers();

// When the helper last read, as its settings say.
std::optional<Instant> lastReadAt();

// The file locked against other processes until the result is let go of. Null when it cannot be opened, or when others
// hold it all the time, which is the error std::errc::operation_would_block.
std::shared_ptr<void> lock(const std::filesystem::path& file, std::chrono::milliseconds patience,
                           std::error_code& error);

enum class HelperPresence {
  running,    // on the session bus, or without one by its lock
  onlyReads,  // a read from the command line, without the helper
  notRunning,
};

// Found out at once, whatever the heartbeat says.
HelperPresence helperPresence();

// The reason why a desktop cannot show the helper's tray item, as a sentence; empty when it can or nobody can say.
std::string trayObstacle();

// Keeps the choice of the key file, which then gets the keyring's key if that has one; or the choice of the keyring.
// Throws FileError, and std::runtime_error with a sentence when the key cannot be taken along.
void useKeyFile();
void useKeyring();

// Whether the helper starts at login, and to switch it on; false when that fails.
bool opensAtLogin();
bool openAtLogin();

enum class HelperRequest { asked, noBus, busSilent, notRunning, notTaken };

// Asks the running helper to read at once. Waits for the bus at most.
HelperRequest askHelperToRead();

// Shows the file, which was prepared for, in the program that the desktop has for its kind. Absent when it was handed
// over; otherwise the reason why not, a short phrase.
std::optional<std::string> openFile(const std::filesystem::path& file);

// As environment and settings say.
std::unique_ptr<ChatCompletionsLanguageModel> languageModel();

struct FoundModelServer {
  std::string url;
  std::string owner;  // the account whose program listens there
  ModelReport report;
};

// Those that listen on the ports which model servers take by themselves. Sends them nothing but requests for lists,
// and nothing at all to other users' programs.
std::vector<FoundModelServer> modelServersAtUsualPlaces();

}  // namespace pellora::platform_adapters
