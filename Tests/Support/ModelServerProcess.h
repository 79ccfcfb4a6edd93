// A real model server in a process of its own, listening when the constructor returns and ended with this object.
#pragma once

#include <sys/types.h>

#include <QStringList>
#include <string>
#include <vector>

#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

class ModelServerProcess {
 public:
  enum class Transport { unixSocket, port, portOfVersion6 };

  // `options` as the program's --help describes them; bodies are logged.
  explicit ModelServerProcess(Transport transport, const QStringList& options = {});
  // At a place as --listen names it.
  ModelServerProcess(const std::string& place, const QStringList& options);
  ~ModelServerProcess();

  ModelServerProcess(const ModelServerProcess&) = delete;
  ModelServerProcess& operator=(const ModelServerProcess&) = delete;

  // For PELLORA_MODEL_URL; empty when it did not start.
  const std::string& url() const { return _url; }

  // The requests so far to this path, as their bodies.
  std::vector<std::string> bodies(const std::string& path) const;
  std::size_t count(const std::string& path) const { return bodies(path).size(); }

  // Whether a client left before it had its answer.
  std::size_t abandonedCount() const;

  void stop();

  // Ends the server and starts one with other options at the same place; its requests add to the same log.
  void restart(const QStringList& options);

 private:
  void start(const std::string& where, const QStringList& options);

  TemporaryFolder _folder;
  pid_t _process = -1;  // negative when it does not run
  std::string _url;
};

}  // namespace pellora::support
