#include "Adapters/Linux/Model/HttpWorker.h"

#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "Adapters/Linux/Model/PeerOwner.h"
#include "Adapters/Linux/Process/ResidentMemory.h"

namespace pellora {

HttpTransfer::HttpTransfer(const ModelEndpoint& endpoint, std::shared_ptr<HttpExchange> exchange)
    : _exchange(std::move(exchange)), _isOnSocketFile(!endpoint.socketPath.empty()), _handle(curl_easy_init()) {
  if (_handle == nullptr) throw std::bad_alloc();
  setOptions(endpoint);
}

void HttpTransfer::setOptions(const ModelEndpoint& endpoint) {
  CURL* const curl = _handle.get();
  const HttpRequest& request = _exchange->request;
  curl_easy_setopt(curl, CURLOPT_URL, (endpoint.url + request.path).c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http");
  curl_easy_setopt(curl, CURLOPT_PROXY, "");
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(kConnectTimeout.count()));
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &HttpTransfer::takeBody);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &HttpTransfer::takeHeader);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, &HttpTransfer::openSocket);
  curl_easy_setopt(curl, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, &HttpTransfer::checkOwner);
  curl_easy_setopt(curl, CURLOPT_PREREQDATA, this);
  // The only callback that sees the bytes as they came, sizes and extensions of chunks included.
  curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &HttpTransfer::countReceived);
  curl_easy_setopt(curl, CURLOPT_DEBUGDATA, this);
  curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
  curl_easy_setopt(curl, CURLOPT_PRIVATE, this);
  if (_isOnSocketFile) curl_easy_setopt(curl, CURLOPT_UNIX_SOCKET_PATH, endpoint.socketPath.c_str());
  if (!endpoint.pinnedHost.empty()) {
    _pinnedHost.reset(curl_slist_append(nullptr, endpoint.pinnedHost.c_str()));
    curl_easy_setopt(curl, CURLOPT_RESOLVE, _pinnedHost.get());
  }
  setHeaders(endpoint);
  if (request.body.empty()) return;
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
}

void HttpTransfer::setHeaders(const ModelEndpoint& endpoint) {
  const auto add = [this](const std::string& header) {
    curl_slist* const longer = curl_slist_append(_headers.get(), header.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(_headers.release());
    _headers.reset(longer);
  };
  if (!endpoint.key.empty()) add("Authorization: Bearer " + endpoint.key);
  if (!_exchange->request.body.empty()) {
    add("Content-Type: application/json");
    add("Expect:");  // keeps libcurl from waiting for a "100 Continue" that local servers never send
  }
  if (_headers) curl_easy_setopt(_handle.get(), CURLOPT_HTTPHEADER, _headers.get());
}

std::size_t HttpTransfer::takeBody(char* data, std::size_t size, std::size_t count, void* transfer) {
  auto* const self = static_cast<HttpTransfer*>(transfer);
  if (self->isTooLarge()) return 0;
  self->_exchange->answer.body.append(data, size * count);
  return size * count;
}

std::size_t HttpTransfer::takeHeader(char*, std::size_t size, std::size_t count, void* transfer) {
  return static_cast<HttpTransfer*>(transfer)->isTooLarge() ? 0 : size * count;
}

int HttpTransfer::countReceived(CURL*, curl_infotype kind, char*, std::size_t size, void* transfer) {
  if (kind == CURLINFO_HEADER_IN || kind == CURLINFO_DATA_IN) static_cast<HttpTransfer*>(transfer)->_received += size;
  return 0;
}

curl_socket_t HttpTransfer::openSocket(void* transfer, curlsocktype, curl_sockaddr* address) {
  auto* const self = static_cast<HttpTransfer*>(transfer);
  self->_socket = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  if (self->_socket < 0) self->_lacksDescriptors = errno == EMFILE || errno == ENFILE;
  return self->_socket;
}

int HttpTransfer::checkOwner(void* transfer, char* there, char* here, int therePort, int herePort) {
  auto* const self = static_cast<HttpTransfer*>(transfer);
  if (self->_isOnSocketFile) {
    const std::optional<uid_t> owner = PeerOwner::ofSocket(self->_socket);
    self->_isForeign = !owner || !PeerOwner::isTrusted(*owner, geteuid());
  } else {
    const std::optional<bool> isTrusted = PeerOwner::isTrustedConnection({there, static_cast<std::uint16_t>(therePort)},
                                                                         {here, static_cast<std::uint16_t>(herePort)});
    self->_lacksDescriptors = !isTrusted;
    self->_isForeign = isTrusted == false;
  }
  return self->_isForeign || self->_lacksDescriptors ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}

std::shared_ptr<HttpExchange> HttpTransfer::finish(CURLcode result) {
  HttpAnswer& answer = _exchange->answer;
  long status = 0;
  curl_easy_getinfo(_handle.get(), CURLINFO_RESPONSE_CODE, &status);
  curl_off_t connectedAfter = 0;  // 0 when it never got that far
  curl_easy_getinfo(_handle.get(), CURLINFO_CONNECT_TIME_T, &connectedAfter);
  answer.status = static_cast<int>(status);
  if (_isForeign) {
    answer.outcome = HttpAnswer::Outcome::foreignOwner;
  } else if (isTooLarge()) {
    answer.outcome = HttpAnswer::Outcome::tooLarge;
  } else if (result == CURLE_OK) {
    answer.outcome = HttpAnswer::Outcome::answered;
  } else if (result == CURLE_OPERATION_TIMEDOUT && connectedAfter > 0) {
    answer.outcome = HttpAnswer::Outcome::timedOut;
  } else if (_lacksDescriptors) {
    answer.outcome = HttpAnswer::Outcome::noResources;
  } else if (result == CURLE_COULDNT_CONNECT || result == CURLE_OPERATION_TIMEDOUT) {
    answer.outcome = HttpAnswer::Outcome::noServer;
  } else if (result == CURLE_GOT_NOTHING || result == CURLE_RECV_ERROR || result == CURLE_SEND_ERROR ||
             result == CURLE_PARTIAL_FILE) {
    answer.outcome = HttpAnswer::Outcome::brokenOff;
  } else {
    answer.outcome = HttpAnswer::Outcome::notHttp;
  }
  if (answer.outcome != HttpAnswer::Outcome::answered) answer.body.clear();
  if (_exchange->request.digest) _exchange->request.digest(answer);
  return std::move(_exchange);
}

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
    if (transfers.empty()) ResidentMemory::clearUnusedStack();
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
