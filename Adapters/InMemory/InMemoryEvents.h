// File events, notifications and sleep as a test makes them happen.
#pragma once

#include <list>

#include "PelloraMessagesCore/Ports/Events.h"
#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

// File events that a test raises itself.
class InMemoryFileEvents : public FileEvents {
 public:
  std::unique_ptr<FileWatch> watch(const std::filesystem::path& file, std::function<void()> handler) override;

  // As if the file, or the log that a database keeps, had been written once.
  void raise(const std::filesystem::path& file);
  // While not available nothing can be watched; what is watched already stays so.
  void setAvailable(bool available) { _available = available; }
  std::size_t watchCount() const { return _entries->size(); }

 private:
  struct Entry {
    std::filesystem::path file;
    std::function<void()> handler;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;

  bool _available = true;
  std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

// Notifications within one process, delivered at once while posting. A test may take the center away.
class InMemoryNotificationCenter : public NotificationCenter {
 public:
  bool post(const std::string& name) override;
  std::unique_ptr<NotificationObserver> observe(const std::string& name, std::function<void()> handler) override;

  void setAvailable(bool available) { _available = available; }
  std::size_t observerCount() const { return _entries->size(); }

 private:
  struct Entry {
    std::string name;
    std::function<void()> handler;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;

  bool _available = true;
  std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

// Sleep and resume as a test announces them. A test may take the notice away.
class InMemorySleepNotice : public SleepNotice {
 public:
  std::unique_ptr<SleepObserver> observe(std::function<void()> aboutToSleep, std::function<void()> resumed) override;

  void announceSleep();
  void announceResume();
  void setAvailable(bool available) { _available = available; }
  std::size_t observerCount() const { return _entries->size(); }

 private:
  struct Entry {
    std::function<void()> aboutToSleep;
    std::function<void()> resumed;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;

  bool _available = true;
  std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

}  // namespace pellora
