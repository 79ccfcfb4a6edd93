// How a failed test shows an instant: by its whole seconds since 1970. What the standard library prints of one does not
// compile from its version 14 on, since its counts have 128 bits. Comes in front of every test (Tests/CMakeLists.txt).
#pragma once

#include <gtest/gtest-printers.h>

#include <ostream>

#include "PelloraMessagesCore/Time/Instant.h"

template <>
class testing::internal::UniversalPrinter<pellora::Instant> {
 public:
  static void Print(const pellora::Instant& instant, std::ostream* stream) {
    *stream << pellora::wholeSeconds(instant) << " s";
  }
};
