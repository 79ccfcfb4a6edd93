#include "Tests/ModelServer/RequestLog.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

namespace pellora::modelserver {

namespace {

using nlohmann::ordered_json;

// FNV-1a, 64 bits.
std::string hashOf(const std::string& bytes) {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

}  // namespace

void RequestLog::received(const HttpRequest& request) {
  ordered_json line;
  line["event"] = "request";
  line["method"] = request.method;
  line["path"] = request.path;
  line["bytes"] = request.body.size();
  line["hash"] = hashOf(request.body);
  if (_keepsBodies) line["body"] = request.body;
  append(line.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

void RequestLog::abandoned(const HttpRequest& request) {
  ordered_json line;
  line["event"] = "abandoned";
  line["path"] = request.path;
  append(line.dump());
}

void RequestLog::append(const std::string& line) {
  if (_path.empty()) return;
  const std::lock_guard lock(_mutex);
  std::ofstream(_path, std::ios::app) << line << '\n' << std::flush;
}

}  // namespace pellora::modelserver
