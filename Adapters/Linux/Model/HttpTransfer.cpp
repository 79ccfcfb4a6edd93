#include "Adapters/Linux/Model/HttpTransfer.h"

#include <new>

namespace pellora {

HttpTransfer::HttpTransfer(const ModelEndpoint& endpoint, std::shared_ptr<HttpExchange> exchange)
    : _exchange(std::move(exchange)), _handle(curl_easy_init()) {
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
  curl_easy_setopt(curl, CURLOPT_PRIVATE, this);
  if (!endpoint.socketPath.empty()) curl_easy_setopt(curl, CURLOPT_UNIX_SOCKET_PATH, endpoint.socketPath.c_str());
  if (!endpoint.pinnedHost.empty()) {
    _pinnedHost.reset(curl_slist_append(nullptr, endpoint.pinnedHost.c_str()));
    curl_easy_setopt(curl, CURLOPT_RESOLVE, _pinnedHost.get());
  }
  if (request.body.empty()) return;
  // The empty Expect keeps libcurl from waiting for a "100 Continue" that local servers never send.
  _headers.reset(curl_slist_append(nullptr, "Content-Type: application/json"));
  if (curl_slist* more = curl_slist_append(_headers.get(), "Expect:"); more == nullptr) throw std::bad_alloc();
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, _headers.get());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
}

bool HttpTransfer::countBytes(std::size_t count) {
  _received += count;
  return _received <= kMaximumAnswerSize;
}

std::size_t HttpTransfer::takeBody(char* data, std::size_t size, std::size_t count, void* transfer) {
  auto* const self = static_cast<HttpTransfer*>(transfer);
  if (!self->countBytes(size * count)) return 0;
  self->_exchange->answer.body.append(data, size * count);
  return size * count;
}

std::size_t HttpTransfer::takeHeader(char*, std::size_t size, std::size_t count, void* transfer) {
  return static_cast<HttpTransfer*>(transfer)->countBytes(size * count) ? size * count : 0;
}

std::shared_ptr<HttpExchange> HttpTransfer::finish(CURLcode result) {
  HttpAnswer& answer = _exchange->answer;
  long status = 0;
  curl_easy_getinfo(_handle.get(), CURLINFO_RESPONSE_CODE, &status);
  curl_off_t connectedAfter = 0;  // 0 when it never got that far
  curl_easy_getinfo(_handle.get(), CURLINFO_CONNECT_TIME_T, &connectedAfter);
  answer.status = static_cast<int>(status);
  if (result == CURLE_OK) {
    answer.outcome = HttpAnswer::Outcome::answered;
  } else if (result == CURLE_WRITE_ERROR) {
    answer.outcome = HttpAnswer::Outcome::tooLarge;
  } else if (result == CURLE_OPERATION_TIMEDOUT && connectedAfter > 0) {
    answer.outcome = HttpAnswer::Outcome::timedOut;
  } else if (result == CURLE_COULDNT_CONNECT || result == CURLE_OPERATION_TIMEDOUT) {
    answer.outcome = HttpAnswer::Outcome::noServer;
  } else {
    answer.outcome = HttpAnswer::Outcome::brokenOff;
  }
  if (result != CURLE_OK) answer.body.clear();
  return std::move(_exchange);
}

}  // namespace pellora
