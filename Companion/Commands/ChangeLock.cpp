#include "Companion/Commands/ChangeLock.h"

#include <system_error>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/PlatformAdapters.h"

namespace pellora::change_lock {

std::shared_ptr<void> take(const CompanionContext& context, const std::string& name, const std::string& work,
                           std::chrono::milliseconds patience) {
  const std::string remedy = " Set XDG_RUNTIME_DIR to a folder of yours that only you can write.";
  if (!context.runtime) throw CompanionFailure("There is no runtime folder for a lock; nothing was changed." + remedy);
  const auto file = *context.runtime / name;
  std::error_code error;
  if (auto lock = platform_adapters::lock(file, patience, error)) return lock;
  if (error == std::errc::operation_would_block)
    throw CompanionFailure("Another pellora-companion is " + work +
                           "; nothing was changed. Try again when it is done.");
  throw CompanionFailure("The lock file " + display::printable(file.string()) + " cannot be opened (" +
                         error.message() + "); nothing was changed." + remedy);
}

}  // namespace pellora::change_lock
