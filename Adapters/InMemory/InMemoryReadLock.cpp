#include "Adapters/InMemory/InMemoryReadLock.h"

#include <utility>

namespace pellora {

namespace {

class Held : public HeldReadLock {
 public:
  explicit Held(std::shared_ptr<void> holder) : _holder(std::move(holder)) {}

 private:
  std::shared_ptr<void> _holder;
};

}  // namespace

std::unique_ptr<HeldReadLock> InMemoryReadLock::tryTake() {
  if (!_holder.expired()) return nullptr;
  const auto holder = std::make_shared<int>();
  _holder = holder;
  return std::make_unique<Held>(holder);
}

}  // namespace pellora
