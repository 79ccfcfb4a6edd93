// Talks HTTP to one endpoint in a thread of its own, so that the main thread never waits: `send` is awaited there
// and resumes by way of the event loop. The thread starts with the first request and sleeps in between without waking
// up.
//
// Every request ends: answered, failed, timed out, or canceled by `close` (which the destructor calls) within
// milliseconds, even in the middle of an answer. The coroutine that waits for a canceled request is resumed by the
// event loop later, never from within `close`, and needs nothing of this object any more. Main thread only, and a
// QCoreApplication must exist. Tested by Tests/Adapters/ModelAdapterTests.cpp.
#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Adapters/Linux/Model/HttpTransfer.h"
#include "Adapters/Linux/Process/BackgroundThread.h"
#include "PelloraMessagesCore/Ports/Task.h"

namespace pellora {

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
