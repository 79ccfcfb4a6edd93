// Ports of events that come from outside the process: changes of a file, and notifications of other processes. Handlers
// are called on the main thread.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace pellora {

// An armed watch; destroying it ends the watching.
class FileWatch {
 public:
  virtual ~FileWatch() = default;
};

// Notice of changes to one file, named by its path. A port because every platform has its own way to hear of them. One
// commit to a database may give several events; nothing is promised about their number.
class FileEvents {
 public:
  virtual ~FileEvents() = default;

  // Calls `handler` after the file at this path was written, truncated, created, deleted, replaced or given other
  // permissions. The file need not exist yet, nor its folder. Symbolic links on the way are followed, and followed
  // again when one of them or a folder changes. The log that a database keeps next to the file ("-wal" after its name)
  // counts as part of the file as soon as something is written to it; an empty log, which readers may create, does not.
  // Main thread; does not block. Null when the platform can't watch at the moment.
  virtual std::unique_ptr<FileWatch> watch(const std::filesystem::path& file, std::function<void()> handler) = 0;
};

// A registered observer; destroying it ends the observation.
class NotificationObserver {
 public:
  virtual ~NotificationObserver() = default;
};

// System-wide notifications: a name, no payload, delivered to every observer in every process of the user.
class NotificationCenter {
 public:
  virtual ~NotificationCenter() = default;

  // False when the platform gives no way to post (no session bus, say).
  virtual bool post(const std::string& name) = 0;

  // Null when the platform gives no way to observe.
  virtual std::unique_ptr<NotificationObserver> observe(const std::string& name, std::function<void()> handler) = 0;
};

}  // namespace pellora
