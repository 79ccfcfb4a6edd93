// One question to the model server as libcurl carries it out: plain HTTP to one endpoint and nowhere else. No proxy,
// no redirect, no other protocol, no name looked up; nothing is sent before the other end is known to be trusted; the
// connection is closed after the answer, so that a server that is started on demand sees when nobody needs it.
// An exchange is made on the main thread, handed to the worker thread and handed back. Only one of them holds it at a
// time, and handing over takes a lock. HttpTransfer itself belongs to the worker thread.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <coroutine>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "Adapters/Linux/Model/ModelEndpoint.h"

namespace pellora {

inline constexpr std::size_t kMaximumAnswerSize = std::size_t{2} * 1024 * 1024;  // bytes received, of whatever kind
inline constexpr std::chrono::milliseconds kConnectTimeout{2000};

struct HttpAnswer {
  enum class Outcome {
    answered,      // `status` and `body` are there, whatever the status
    noServer,      // nothing listens, or it did not take the connection in time
    foreignOwner,  // what listens belongs to another user of this machine; nothing was sent
    timedOut,      // connected, but no whole answer in time
    tooLarge,      // more than kMaximumAnswerSize
    brokenOff,     // the connection ended in the middle, or what came is not HTTP
    noResources,   // this process can open nothing more
    canceled,      // given up by this program
  };
  Outcome outcome = Outcome::canceled;
  int status = 0;
  std::string body;

  bool isOk() const { return outcome == Outcome::answered && status == 200; }
};

struct HttpRequest {
  std::string path;                      // absolute, without the host
  std::string body;                      // JSON for a POST; empty for a GET
  std::chrono::milliseconds timeout{0};  // for all of it, connecting included

  // Called by the worker thread with the answer, before the main thread gets it: reading two megabytes takes its time.
  std::function<void(HttpAnswer&)> digest = nullptr;
};

struct HttpExchange {
  HttpRequest request;
  HttpAnswer answer;

  // Main thread only.
  bool isDone = false;
  std::coroutine_handle<> waiting;
};

class HttpTransfer {
 public:
  HttpTransfer(const ModelEndpoint& endpoint, std::shared_ptr<HttpExchange> exchange);

  HttpTransfer(const HttpTransfer&) = delete;
  HttpTransfer& operator=(const HttpTransfer&) = delete;

  CURL* handle() const { return _handle.get(); }

  // Whether the server sent more than is accepted, counting bytes that libcurl does not pass on.
  bool isTooLarge() const { return _received > kMaximumAnswerSize; }

  // Files the result in the exchange and gives it back.
  std::shared_ptr<HttpExchange> finish(CURLcode result);

 private:
  struct HandleDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };
  struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  static std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* transfer);
  static std::size_t takeHeader(char* data, std::size_t size, std::size_t count, void* transfer);
  static int countReceived(CURL* handle, curl_infotype kind, char* data, std::size_t size, void* transfer);
  static curl_socket_t openSocket(void* transfer, curlsocktype purpose, curl_sockaddr* address);
  static int checkOwner(void* transfer, char* there, char* here, int therePort, int herePort);
  void setOptions(const ModelEndpoint& endpoint);
  void setHeaders(const ModelEndpoint& endpoint);

  std::shared_ptr<HttpExchange> _exchange;
  std::size_t _received = 0;  // bytes
  bool _isOnSocketFile;
  bool _isForeign = false;
  bool _lacksDescriptors = false;
  curl_socket_t _socket = CURL_SOCKET_BAD;  // the last one opened
  std::unique_ptr<curl_slist, ListDeleter> _headers;
  std::unique_ptr<curl_slist, ListDeleter> _pinnedHost;
  std::unique_ptr<CURL, HandleDeleter> _handle;  // last: it uses all of the above
};

}  // namespace pellora
