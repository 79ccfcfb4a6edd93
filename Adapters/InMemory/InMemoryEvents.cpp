#include "Adapters/InMemory/InMemoryEvents.h"

namespace pellora {

namespace {

// An entry's way out: it hears nothing more, even from an announcement that is under way.
template <class Base, class Entry>
class Registration : public Base {
 public:
  using Entries = std::list<std::shared_ptr<Entry>>;

  Registration(std::weak_ptr<Entries> entries, std::shared_ptr<Entry> entry)
      : _entries(std::move(entries)), _entry(std::move(entry)) {}

  ~Registration() override {
    *_entry = {};
    if (const std::shared_ptr<Entries> entries = _entries.lock()) entries->remove(_entry);
  }

 private:
  std::weak_ptr<Entries> _entries;
  std::shared_ptr<Entry> _entry;
};

}  // namespace

std::unique_ptr<FileWatch> InMemoryFileEvents::watch(const std::filesystem::path& file, std::function<void()> handler) {
  if (!_available) return nullptr;
  auto entry = std::make_shared<Entry>(Entry{file, std::move(handler)});
  _entries->push_back(entry);
  return std::make_unique<Registration<FileWatch, Entry>>(_entries, std::move(entry));
}

void InMemoryFileEvents::raise(const std::filesystem::path& file) {
  const Entries entries = *_entries;
  for (const std::shared_ptr<Entry>& entry : entries)
    if ((entry->file == file || entry->file.string() + "-wal" == file) && entry->handler) entry->handler();
}

bool InMemoryNotificationCenter::post(const std::string& name) {
  if (!_available) return false;
  const Entries entries = *_entries;  // handlers may come and go meanwhile
  for (const std::shared_ptr<Entry>& entry : entries)
    if (entry->name == name && entry->handler) entry->handler();
  return true;
}

std::unique_ptr<NotificationObserver> InMemoryNotificationCenter::observe(const std::string& name,
                                                                          std::function<void()> handler) {
  if (!_available) return nullptr;
  auto entry = std::make_shared<Entry>(Entry{name, std::move(handler)});
  _entries->push_back(entry);
  return std::make_unique<Registration<NotificationObserver, Entry>>(_entries, std::move(entry));
}

std::unique_ptr<SleepObserver> InMemorySleepNotice::observe(std::function<void()> aboutToSleep,
                                                            std::function<void()> resumed) {
  if (!_available) return nullptr;
  auto entry = std::make_shared<Entry>(Entry{std::move(aboutToSleep), std::move(resumed)});
  _entries->push_back(entry);
  return std::make_unique<Registration<SleepObserver, Entry>>(_entries, std::move(entry));
}

void InMemorySleepNotice::announceSleep() {
  const Entries entries = *_entries;  // observers may come and go meanwhile
  for (const std::shared_ptr<Entry>& entry : entries) {
    const std::function<void()> handler = entry->aboutToSleep;
    if (handler) handler();
  }
}

void InMemorySleepNotice::announceResume() {
  const Entries entries = *_entries;
  for (const std::shared_ptr<Entry>& entry : entries) {
    const std::function<void()> handler = entry->resumed;
    if (handler) handler();
  }
}

}  // namespace pellora
