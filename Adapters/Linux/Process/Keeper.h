// A small process next to the confined one, forked before that confines itself, for the few things that its rules can't
// let it do itself: they are named by numbers, and nothing else can be asked for. It sleeps until it is asked and ends
// when the asking process does, however that ends. Tested by Tests/Adapters/KeeperTests.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class Keeper {
 public:
  using Duty = std::function<bool()>;

  // Forks; call it before any thread exists. In the new process `confine` is called, then duties as they are asked for,
  // which must not throw; at the end, when the asking process is gone, `finish`. Null when there can be no process.
  static std::unique_ptr<Keeper> start(const std::vector<Duty>& duties, const std::function<void()>& confine,
                                       const std::function<void()>& finish);

  // Lets the process end, and waits for that as long as for an answer.
  ~Keeper();

  // The duty's result; false also when the process does not answer within some seconds. Blocks so long. Any thread.
  bool ask(std::size_t duty);

 private:
  explicit Keeper(FileDescriptor channel) : _channel(std::move(channel)) {}

  std::mutex _mutex;  // one question at a time
  FileDescriptor _channel;
};

}  // namespace pellora
