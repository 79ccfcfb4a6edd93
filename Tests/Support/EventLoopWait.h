// Runs the event loop until something has come true.
#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>

#include "PelloraMessagesCore/Ports/Task.h"

namespace pellora::support {

// How long is looked whether nothing happens.
inline constexpr std::chrono::milliseconds kQuiet(100);

// Whether it came true within the time.
bool waitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds patience = std::chrono::milliseconds(10'000));

// Runs the event loop until a task has ended, and gives its value or throws what it threw.

// What became of a task that nobody waits for; it is over when `isDone`.
template <class Value>
struct Awaited {
  bool isDone = false;
  std::optional<Value> value;
  std::exception_ptr error;
};

template <class Value>
Task<void> watch(Task<Value> task, std::shared_ptr<Awaited<Value>> awaited) {
  try {
    Value value = co_await task;
    awaited->value = std::move(value);
  } catch (...) {
    awaited->error = std::current_exception();
  }
  awaited->isDone = true;
}

template <class Value>
std::shared_ptr<Awaited<Value>> watched(Task<Value> task) {
  auto awaited = std::make_shared<Awaited<Value>>();
  watch(std::move(task), awaited);
  return awaited;
}

template <class Value>
Value awaited(Task<Value> task) {
  const auto result = watched(std::move(task));
  while (!result->isDone) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  if (result->error) std::rethrow_exception(result->error);
  return std::move(*result->value);
}

}  // namespace pellora::support
