#include "Adapters/Linux/Model/HttpTransfer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "Adapters/Linux/Model/PeerOwner.h"

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
  } else {
    answer.outcome = HttpAnswer::Outcome::brokenOff;
  }
  if (answer.outcome != HttpAnswer::Outcome::answered) answer.body.clear();
  if (_exchange->request.digest) _exchange->request.digest(answer);
  return std::move(_exchange);
}

}  // namespace pellora
