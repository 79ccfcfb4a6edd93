// Held while a command changes what others of its kind change too, so that two at once follow one another.
// Tested by Tests/Companion/ChangeLockTests.cpp.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Companion/CompanionContext.h"

namespace pellora::change_lock {

// Locks the file of this name in the runtime folder until the result is let go of; waits for others as long as
// `patience`. `work` says what they are doing, as in "changing the people". Throws CompanionFailure with the reason:
// no runtime folder, a file that cannot be opened, or another process that holds it all the time.
std::shared_ptr<void> take(const CompanionContext& context, const std::string& name, const std::string& work,
                           std::chrono::milliseconds patience);

}  // namespace pellora::change_lock
