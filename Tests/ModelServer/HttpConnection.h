// One accepted connection: reads one request, sends one response, closes. Blocking, one thread each.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora::modelserver {

struct HttpRequest {
  std::string method;
  std::string path;
  std::string body;
  std::string authorization;  // the header's value
};

struct HttpResponse {
  int status = 200;
  std::string body;
  std::string location;       // of a redirect; empty: none
  long long cutAfter = -1;    // bytes of the body after which the connection ends; negative: whole
  int delayMilliseconds = 0;  // before anything is sent
  bool isBroken = false;      // the connection ends without an answer
  bool isEndless = false;     // a chunk whose extension never ends, instead of a body
};

class HttpConnection {
 public:
  explicit HttpConnection(int descriptor) : _descriptor(descriptor) {}
  ~HttpConnection();

  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  // Absent when the client sends nothing that is a request.
  std::optional<HttpRequest> read();

  // False when the client went away before.
  bool send(const HttpResponse& response);

 private:
  bool staysWhileWaiting(int milliseconds) const;
  bool sendAll(std::string_view bytes) const;

  int _descriptor;
};

}  // namespace pellora::modelserver
