#include "Adapters/Linux/Model/HttpWorker.h"

#include <QCoreApplication>
#include <algorithm>
#include <climits>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace pellora {

namespace {

// The longest that a running transfer goes unobserved, should the kernel lose an event.
constexpr int kLongestPauseMilliseconds = 1000;

struct ExchangeAwaiter {
  std::shared_ptr<HttpExchange> exchange;

  bool await_ready() const { return exchange->isDone; }
  void await_suspend(std::coroutine_handle<> waiting) const { exchange->waiting = waiting; }
  HttpAnswer await_resume() const { return std::move(exchange->answer); }
};

// Resumed with a clean stack: what runs then may destroy anything, the worker included.
void resumeLater(const std::shared_ptr<HttpExchange>& exchange) {
  exchange->isDone = true;
  QCoreApplication* const application = QCoreApplication::instance();
  if (application == nullptr) return;
  QMetaObject::invokeMethod(
      application,
      [exchange] {
        if (exchange->waiting) std::exchange(exchange->waiting, {}).resume();
      },
      Qt::QueuedConnection);
}

// Awaits without the worker, which may be gone by then.
Task<HttpAnswer> answerOf(std::shared_ptr<HttpExchange> exchange) {
  const ExchangeAwaiter awaiter{std::move(exchange)};
  HttpAnswer answer = co_await awaiter;
  co_return answer;
}

}  // namespace

Task<HttpAnswer> HttpWorker::send(HttpRequest request) {
  auto exchange = std::make_shared<HttpExchange>();
  exchange->request = std::move(request);
  if (const std::optional<HttpAnswer::Outcome> refusal = enqueue(exchange)) {
    exchange->answer.outcome = *refusal;
    if (exchange->request.digest) exchange->request.digest(exchange->answer);
    exchange->isDone = true;
  }
  return answerOf(std::move(exchange));
}

std::optional<HttpAnswer::Outcome> HttpWorker::enqueue(const std::shared_ptr<HttpExchange>& exchange) {
  if (_isClosed || !_endpoint.isUsable()) return HttpAnswer::Outcome::canceled;
  if (!_thread.joinable() && !start()) return HttpAnswer::Outcome::noResources;
  _underway.push_back(exchange);
  {
    const std::lock_guard lock(_mutex);
    _waiting.push_back(exchange);
  }
  curl_multi_wakeup(_multi.get());
  return std::nullopt;
}

// False when the process can have no more descriptors or threads. libcurl does without its wake-up descriptor when
// there is none to be had; the thread would then sleep through every request.
bool HttpWorker::start() {
  // No TLS and nothing else to set up: it is always plain HTTP to this device.
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_NOTHING);
  try {
    if (!_mailbox) _mailbox = std::make_unique<MainThreadMailbox>();
    _multi.reset(ready == CURLE_OK ? curl_multi_init() : nullptr);
    if (!_multi || curl_multi_wakeup(_multi.get()) != CURLM_OK) return false;
    _thread = std::thread(&HttpWorker::run, this);
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

void HttpWorker::take(const std::shared_ptr<HttpExchange>& finished) {
  std::erase(_underway, finished);
  resumeLater(finished);
}

void HttpWorker::close() {
  if (std::exchange(_isClosed, true) || !_thread.joinable()) return;
  {
    const std::lock_guard lock(_mutex);
    _isStopping = true;
  }
  curl_multi_wakeup(_multi.get());
  _thread.join();
  _multi.reset();
  _mailbox.reset();
  for (const auto& exchange : std::exchange(_underway, {})) {
    exchange->answer = HttpAnswer();
    resumeLater(exchange);
  }
}

void HttpWorker::run() {
  Transfers transfers;
  while (startWaiting(transfers)) {
    int running = 0;
    curl_multi_perform(_multi.get(), &running);
    collectFinished(transfers);
    // Returns early for traffic, for the timers of a transfer, and when woken up.
    curl_multi_poll(_multi.get(), nullptr, 0, transfers.empty() ? INT_MAX : kLongestPauseMilliseconds, nullptr);
  }
  for (const auto& transfer : transfers) curl_multi_remove_handle(_multi.get(), transfer->handle());
}

// False when it is time to end.
bool HttpWorker::startWaiting(Transfers& transfers) {
  Exchanges waiting;
  {
    const std::lock_guard lock(_mutex);
    if (_isStopping) return false;
    waiting.swap(_waiting);
  }
  for (auto& exchange : waiting) {
    transfers.push_back(std::make_unique<HttpTransfer>(_endpoint, std::move(exchange)));
    curl_multi_add_handle(_multi.get(), transfers.back()->handle());
  }
  return true;
}

void HttpWorker::collectFinished(Transfers& transfers) {
  for (auto transfer = transfers.begin(); transfer != transfers.end();) {
    const auto next = std::next(transfer);
    if ((*transfer)->isTooLarge()) finish(transfers, transfer, CURLE_WRITE_ERROR);
    transfer = next;
  }
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(_multi.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto transfer = std::find_if(transfers.begin(), transfers.end(), [&](const auto& candidate) {
      return candidate->handle() == message->easy_handle;
    });
    if (transfer != transfers.end()) finish(transfers, transfer, message->data.result);
  }
}

void HttpWorker::finish(Transfers& transfers, Transfers::iterator transfer, CURLcode result) {
  curl_multi_remove_handle(_multi.get(), (*transfer)->handle());
  std::shared_ptr<HttpExchange> exchange = (*transfer)->finish(result);
  transfers.erase(transfer);
  _mailbox->post([this, exchange = std::move(exchange)] { take(exchange); });
}

}  // namespace pellora
