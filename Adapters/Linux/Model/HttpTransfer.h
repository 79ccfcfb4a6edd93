// One exchange as libcurl carries it out: plain HTTP to one endpoint and nowhere else. No proxy, no redirect, no
// other protocol, no name looked up; the connection is closed after the answer, so that a server that is started on
// demand sees when nobody needs it. Worker thread only.
#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <memory>
#include <string>

#include "Adapters/Linux/Model/HttpExchange.h"
#include "Adapters/Linux/Model/ModelEndpoint.h"

namespace pellora {

inline constexpr std::size_t kMaximumAnswerSize = std::size_t{2} * 1024 * 1024;  // bytes, header included
inline constexpr std::chrono::milliseconds kConnectTimeout{2000};

class HttpTransfer {
 public:
  HttpTransfer(const ModelEndpoint& endpoint, std::shared_ptr<HttpExchange> exchange);

  HttpTransfer(const HttpTransfer&) = delete;
  HttpTransfer& operator=(const HttpTransfer&) = delete;

  CURL* handle() const { return _handle.get(); }

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
  bool countBytes(std::size_t count);
  void setOptions(const ModelEndpoint& endpoint);

  std::shared_ptr<HttpExchange> _exchange;
  std::size_t _received = 0;  // bytes
  std::unique_ptr<curl_slist, ListDeleter> _headers;
  std::unique_ptr<curl_slist, ListDeleter> _pinnedHost;
  std::unique_ptr<CURL, HandleDeleter> _handle;  // last: it uses all of the above
};

}  // namespace pellora
