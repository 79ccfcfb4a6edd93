// A file of JSON lines, one per request, so that tests and scripts can count what was asked: method, path, the
// body's size and a hash of it, the body itself when wanted, and a line when a client left before its answer.
#pragma once

#include <mutex>
#include <string>

#include "Tests/ModelServer/HttpConnection.h"

namespace pellora::modelserver {

class RequestLog {
 public:
  // An empty path keeps no log.
  RequestLog(std::string path, bool keepsBodies) : _path(std::move(path)), _keepsBodies(keepsBodies) {}

  void received(const HttpRequest& request);
  void abandoned(const HttpRequest& request);

 private:
  void append(const std::string& line);

  std::string _path;
  bool _keepsBodies;
  std::mutex _mutex;
};

}  // namespace pellora::modelserver
