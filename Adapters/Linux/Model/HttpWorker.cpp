#include "Adapters/Linux/Model/HttpWorker.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <climits>
#include <new>

#include "Adapters/Linux/Model/HttpTransfer.h"

namespace pellora {

namespace {

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

HttpWorker::HttpWorker(ModelEndpoint endpoint) : _endpoint(std::move(endpoint)) {}

HttpWorker::~HttpWorker() {
  close();
}

Task<HttpAnswer> HttpWorker::send(HttpRequest request) {
  auto exchange = std::make_shared<HttpExchange>();
  exchange->request = std::move(request);
  exchange->isDone = !enqueue(exchange);
  return answerOf(std::move(exchange));
}

bool HttpWorker::enqueue(const std::shared_ptr<HttpExchange>& exchange) {
  if (_isClosed || !_endpoint.isUsable()) return false;
  if (!_thread.joinable()) start();
  _underway.push_back(exchange);
  {
    const std::lock_guard lock(_mutex);
    _waiting.push_back(exchange);
  }
  curl_multi_wakeup(_multi);
  return true;
}

void HttpWorker::start() {
  // No TLS and nothing else to set up: it is always plain HTTP to this device.
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_NOTHING);
  _multi = ready == CURLE_OK ? curl_multi_init() : nullptr;
  _eventDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (_multi == nullptr || _eventDescriptor < 0) throw std::bad_alloc();
  _notifier = std::make_unique<QSocketNotifier>(_eventDescriptor, QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] { takeResults(); });
  _thread = std::thread(&HttpWorker::run, this);
}

void HttpWorker::takeResults() {
  eventfd_t count = 0;
  eventfd_read(_eventDescriptor, &count);
  Exchanges finished;
  {
    const std::lock_guard lock(_mutex);
    finished.swap(_finished);
  }
  for (const auto& exchange : finished) {
    std::erase(_underway, exchange);
    resumeLater(exchange);
  }
}

void HttpWorker::close() {
  if (std::exchange(_isClosed, true) || !_thread.joinable()) return;
  {
    const std::lock_guard lock(_mutex);
    _isStopping = true;
  }
  curl_multi_wakeup(_multi);
  _thread.join();
  curl_multi_cleanup(_multi);
  _notifier.reset();
  ::close(_eventDescriptor);
  for (const auto& exchange : std::exchange(_underway, {})) resumeLater(exchange);
}

void HttpWorker::run() {
  std::list<std::unique_ptr<HttpTransfer>> transfers;
  while (startWaiting(transfers)) {
    int running = 0;
    curl_multi_perform(_multi, &running);
    collectFinished(transfers);
    // Returns early for traffic, for the timers of a transfer, and when woken up.
    curl_multi_poll(_multi, nullptr, 0, INT_MAX, nullptr);
  }
  for (const auto& transfer : transfers) curl_multi_remove_handle(_multi, transfer->handle());
}

// False when it is time to end.
bool HttpWorker::startWaiting(std::list<std::unique_ptr<HttpTransfer>>& transfers) {
  Exchanges waiting;
  {
    const std::lock_guard lock(_mutex);
    if (_isStopping) return false;
    waiting.swap(_waiting);
  }
  for (auto& exchange : waiting) {
    transfers.push_back(std::make_unique<HttpTransfer>(_endpoint, std::move(exchange)));
    curl_multi_add_handle(_multi, transfers.back()->handle());
  }
  return true;
}

void HttpWorker::collectFinished(std::list<std::unique_ptr<HttpTransfer>>& transfers) {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(_multi, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto transfer = std::find_if(transfers.begin(), transfers.end(), [&](const auto& candidate) {
      return candidate->handle() == message->easy_handle;
    });
    if (transfer == transfers.end()) continue;
    std::shared_ptr<HttpExchange> exchange = (*transfer)->finish(message->data.result);
    curl_multi_remove_handle(_multi, (*transfer)->handle());
    transfers.erase(transfer);
    postResult(std::move(exchange));
  }
}

void HttpWorker::postResult(std::shared_ptr<HttpExchange> exchange) {
  {
    const std::lock_guard lock(_mutex);
    _finished.push_back(std::move(exchange));
  }
  eventfd_write(_eventDescriptor, 1);
}

}  // namespace pellora
