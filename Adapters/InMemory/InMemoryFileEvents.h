// File events that a test raises itself.
#pragma once

#include <list>

#include "PelloraMessagesCore/Ports/FileEvents.h"

namespace pellora {

class InMemoryFileEvents : public FileEvents {
 public:
  std::unique_ptr<FileWatch> watch(const std::filesystem::path& file, std::function<void()> handler) override;

  // As if the file, or the log that a database keeps, had been written once.
  void raise(const std::filesystem::path& file);
  std::size_t watchCount() const { return _entries->size(); }

 private:
  struct Entry {
    std::filesystem::path file;
    std::function<void()> handler;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;
  class Handle;

  std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

}  // namespace pellora
