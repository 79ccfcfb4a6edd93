// A language model that takes its time: every question waits until the test lets it be answered.
#pragma once

#include <coroutine>
#include <deque>
#include <string>

#include "PelloraMessagesCore/Ports/LanguageModel.h"

namespace pellora::support {

class GatedLanguageModel : public LanguageModel {
 public:
  Task<bool> isAvailable() override { co_return _available; }

  Task<Answer> respond(std::string, std::string) override {
    ++_sent;
    co_await Gate{_waiting};
    if (!_available) throw LanguageModelError(LanguageModelError::Reason::server, "went away");
    co_return Answer{"You and them talked about the weather."};
  }

  Task<Answer> respond(std::string, std::string, const GenerationSchema&) override {
    ++_sent;
    co_await Gate{_waiting};
    throw LanguageModelError(LanguageModelError::Reason::question, "gives no structured answers");
  }

  std::int64_t questionsSent() const override { return _sent; }

  void setAvailable(bool available) { _available = available; }
  std::size_t waiting() const { return _waiting.size(); }

  void answerOne() {
    const std::coroutine_handle<> next = _waiting.front();
    _waiting.pop_front();
    next.resume();
  }

  void answerAll() {
    while (!_waiting.empty()) answerOne();
  }

 private:
  struct Gate {
    std::deque<std::coroutine_handle<>>& waiting;

    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> handle) const { waiting.push_back(handle); }
    void await_resume() const {}
  };

  bool _available = true;
  std::int64_t _sent = 0;
  std::deque<std::coroutine_handle<>> _waiting;
};

}  // namespace pellora::support
