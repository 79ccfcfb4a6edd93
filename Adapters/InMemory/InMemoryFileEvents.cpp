#include "Adapters/InMemory/InMemoryFileEvents.h"

namespace pellora {

class InMemoryFileEvents::Handle : public FileWatch {
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

std::unique_ptr<FileWatch> InMemoryFileEvents::watch(const std::filesystem::path& file, std::function<void()> handler) {
  auto entry = std::make_shared<Entry>(Entry{file, std::move(handler)});
  _entries->push_back(entry);
  return std::make_unique<Handle>(_entries, std::move(entry));
}

void InMemoryFileEvents::raise(const std::filesystem::path& file) {
  const Entries entries = *_entries;
  for (const std::shared_ptr<Entry>& entry : entries)
    if ((entry->file == file || entry->file.string() + "-wal" == file) && entry->handler) entry->handler();
}

}  // namespace pellora
