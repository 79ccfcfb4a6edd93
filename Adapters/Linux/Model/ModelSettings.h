// Which model server the user chose with `pellora-companion model use`, kept in
// $XDG_CONFIG_HOME/app.pellora.messages.model/model.ini (0600), where the helper cannot write:
//
//   [General]
//   url=http://127.0.0.1:11434
//   model=qwen3:4b-instruct
//   keyFile=/home/user/.model-key
//
// The environment wins over it: PELLORA_MODEL_URL names another server, which gets neither the kept model nor the
// kept key, and PELLORA_MODEL another model. With neither it is the default socket.
// Tested by Tests/Adapters/ModelSettingsTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Adapters/Linux/Model/ModelEndpoint.h"

namespace pellora {

// Where to ask, and which model.
struct ModelAddress {
  enum class Source { environment, settings, defaultSocket };

  ModelEndpoint endpoint;
  std::string model;  // empty: whichever fits
  Source source = Source::defaultSocket;

  // As environment, settings and default say now.
  static ModelAddress current();
};

struct ModelSettings {
  std::string url;
  std::string model;    // empty: whichever fits
  std::string keyFile;  // empty: no key

  // Absent when the user's configuration folder is unknown.
  static std::optional<std::filesystem::path> file();

  // Absent when nothing is kept.
  static std::optional<ModelSettings> load();

  // Throws FileError.
  void save() const;

  // Whether something was kept. Throws FileError.
  static bool forget();

  // With the key that the key file holds; refused when that is not the text of a key.
  ModelEndpoint endpoint() const;
};

}  // namespace pellora
