// One question to the model server and what became of it. Made on the main thread, handed to the worker thread and
// handed back: whoever holds it in between is alone with it, the hand-over is locked.
#pragma once

#include <chrono>
#include <coroutine>
#include <string>

namespace pellora {

struct HttpRequest {
  std::string path;                      // absolute, without the host
  std::string body;                      // JSON for a POST; empty for a GET
  std::chrono::milliseconds timeout{0};  // for all of it, connecting included
};

struct HttpAnswer {
  enum class Outcome {
    answered,   // `status` and `body` are there, whatever the status
    noServer,   // nothing listens, or it did not take the connection in time
    timedOut,   // connected, but no whole answer in time
    tooLarge,   // more than kMaximumAnswerSize
    brokenOff,  // the connection ended in the middle, or what came is not HTTP
    cancelled,  // given up by this program
  };
  Outcome outcome = Outcome::cancelled;
  int status = 0;
  std::string body;

  bool isOk() const { return outcome == Outcome::answered && status == 200; }
};

struct HttpExchange {
  HttpRequest request;
  HttpAnswer answer;

  // Main thread only.
  bool isDone = false;
  std::coroutine_handle<> waiting;
};

}  // namespace pellora
