// Questions to the model server over HTTP: each as libcurl carries it out, and the thread that does it.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <coroutine>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Adapters/Linux/Model/ModelEndpoint.h"
#include "Adapters/Linux/Process/EventLoop.h"
#include "PelloraMessagesCore/Ports/Task.h"

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
    brokenOff,     // the connection was lost before the answer was whole
    notHttp,       // what came is something else
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

// An exchange is made on the main thread, handed to the worker thread and handed back. Only one of them holds it at a
// time, and handing over takes a lock.
struct HttpExchange {
  HttpRequest request;
  HttpAnswer answer;

  // Main thread only.
  bool isDone = false;
  std::coroutine_handle<> waiting;
};

// One question to the model server as libcurl carries it out: plain HTTP to one endpoint and nowhere else. No proxy,
// no redirect, no other protocol, no name looked up; nothing is sent before the other end is known to be trusted; the
// connection is closed after the answer, so that a server that is started on demand sees when nobody needs it. Belongs
// to the worker thread.
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

// Talks HTTP to one endpoint in a thread of its own, so that the main thread never waits: `send` is awaited there
// and resumes by way of the event loop. The thread starts with the first request and sleeps in between without waking
// up.
//
// Every request ends: answered, failed, timed out, or canceled by `close` (which the destructor calls) within
// milliseconds, even in the middle of an answer. The coroutine that waits for a canceled request is resumed by the
// event loop later, never from within `close`, and needs nothing of this object any more. Main thread only, and a
// QCoreApplication must exist. Tested by Tests/Adapters/ModelAdapterTests.cpp.
class HttpWorker {
 public:
  explicit HttpWorker(ModelEndpoint endpoint) : _endpoint(std::move(endpoint)) {}
  ~HttpWorker() { close(); }

  HttpWorker(const HttpWorker&) = delete;
  HttpWorker& operator=(const HttpWorker&) = delete;

  // Never throws for what happens on the way; `canceled` at once after `close` and for a refused endpoint.
  Task<HttpAnswer> send(HttpRequest request);

  // Closes all connections and ends the thread; every later request is canceled.
  void close();

  const ModelEndpoint& endpoint() const { return _endpoint; }

 private:
  using Exchanges = std::vector<std::shared_ptr<HttpExchange>>;
  using Transfers = std::list<std::unique_ptr<HttpTransfer>>;

  struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
  };

  // The outcome of what cannot even be handed to the worker thread; absent when it was.
  std::optional<HttpAnswer::Outcome> enqueue(const std::shared_ptr<HttpExchange>& exchange);
  bool start();
  void take(const std::shared_ptr<HttpExchange>& finished);

  // Worker thread.
  void run();
  bool startWaiting(Transfers& transfers);
  void collectFinished(Transfers& transfers);
  void finish(Transfers& transfers, Transfers::iterator transfer, CURLcode result);

  ModelEndpoint _endpoint;

  // Main thread.
  bool _isClosed = false;
  std::unique_ptr<MainThreadMailbox> _mailbox;
  Exchanges _underway;
  std::thread _thread;
  std::unique_ptr<CURLM, MultiDeleter> _multi;  // used by the worker thread; woken up from the main thread

  std::mutex _mutex;  // guards the two below
  bool _isStopping = false;
  Exchanges _waiting;
};

}  // namespace pellora
