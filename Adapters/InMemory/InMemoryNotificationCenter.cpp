#include "Adapters/InMemory/InMemoryNotificationCenter.h"

namespace pellora {

class InMemoryNotificationCenter::Handle : public NotificationObserver {
 public:
  Handle(std::weak_ptr<Entries> entries, std::shared_ptr<Entry> entry)
      : _entries(std::move(entries)), _entry(std::move(entry)) {}

  ~Handle() override {
    _entry->handler = nullptr;
    if (const std::shared_ptr<Entries> entries = _entries.lock()) entries->remove(_entry);
  }

 private:
  std::weak_ptr<Entries> _entries;
  std::shared_ptr<Entry> _entry;
};

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
  return std::make_unique<Handle>(_entries, std::move(entry));
}

}  // namespace pellora
