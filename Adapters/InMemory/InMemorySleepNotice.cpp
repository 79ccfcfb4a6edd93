#include "Adapters/InMemory/InMemorySleepNotice.h"

namespace pellora {

class InMemorySleepNotice::Handle : public SleepObserver {
 public:
  Handle(std::weak_ptr<Entries> entries, std::shared_ptr<Entry> entry)
      : _entries(std::move(entries)), _entry(std::move(entry)) {}

  ~Handle() override {
    *_entry = {};
    if (const std::shared_ptr<Entries> entries = _entries.lock()) entries->remove(_entry);
  }

 private:
  std::weak_ptr<Entries> _entries;
  std::shared_ptr<Entry> _entry;
};

std::unique_ptr<SleepObserver> InMemorySleepNotice::observe(std::function<void()> aboutToSleep,
                                                            std::function<void()> resumed) {
  if (!_available) return nullptr;
  auto entry = std::make_shared<Entry>(Entry{std::move(aboutToSleep), std::move(resumed)});
  _entries->push_back(entry);
  return std::make_unique<Handle>(_entries, std::move(entry));
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
