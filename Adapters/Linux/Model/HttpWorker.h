// Talks HTTP to one endpoint in a thread of its own, so that the main thread never waits: `send` is awaited there
// and resumes by way of the event loop. The thread starts with the first request, sleeps in between without waking
// up, and touches nothing of Qt: results come back through a locked list and an event descriptor.
//
// Every request ends: answered, failed, timed out, or cancelled by `close` (which the destructor calls) within
// milliseconds, even in the middle of an answer. What waits for a cancelled request is resumed by the event loop
// later, never from within `close`, and needs nothing of this object any more.
// Main thread only, and a QCoreApplication must exist. Tested by Tests/Adapters/ModelAdapterTests.cpp.
#pragma once

#include <curl/curl.h>

#include <QSocketNotifier>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Adapters/Linux/Model/HttpExchange.h"
#include "Adapters/Linux/Model/ModelEndpoint.h"
#include "PelloraMessagesCore/Ports/Task.h"

namespace pellora {

class HttpTransfer;

class HttpWorker {
 public:
  explicit HttpWorker(ModelEndpoint endpoint);
  ~HttpWorker();

  HttpWorker(const HttpWorker&) = delete;
  HttpWorker& operator=(const HttpWorker&) = delete;

  // Never throws for what happens on the way; `cancelled` at once after `close` and for a refused endpoint.
  Task<HttpAnswer> send(HttpRequest request);

  // Closes all connections and ends the thread; every later request is cancelled.
  void close();

  const ModelEndpoint& endpoint() const { return _endpoint; }

 private:
  using Exchanges = std::vector<std::shared_ptr<HttpExchange>>;

  bool enqueue(const std::shared_ptr<HttpExchange>& exchange);
  void start();
  void takeResults();

  // Worker thread.
  void run();
  bool startWaiting(std::list<std::unique_ptr<HttpTransfer>>& transfers);
  void collectFinished(std::list<std::unique_ptr<HttpTransfer>>& transfers);
  void postResult(std::shared_ptr<HttpExchange> exchange);

  ModelEndpoint _endpoint;

  // Main thread.
  bool _isClosed = false;
  int _eventDescriptor = -1;
  std::unique_ptr<QSocketNotifier> _notifier;
  Exchanges _underway;
  std::thread _thread;
  CURLM* _multi = nullptr;  // used by the worker thread; woken up from the main thread

  std::mutex _mutex;  // guards the three below
  bool _isStopping = false;
  Exchanges _waiting;
  Exchanges _finished;
};

}  // namespace pellora
