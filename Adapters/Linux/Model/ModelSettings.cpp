#include "Adapters/Linux/Model/ModelSettings.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "Adapters/Linux/Files/KeyFile.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr const char* kGroup = "General";
constexpr std::size_t kMaximumSize = std::size_t{64} * 1024;  // bytes
constexpr std::size_t kLongestKey = 4096;                     // bytes

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string valueOf(const KeyFile& file, const char* key) {
  return file.text(kGroup, key).value_or("");
}

}  // namespace

ModelAddress ModelAddress::current() {
  ModelAddress address;
  const std::string url = environment("PELLORA_MODEL_URL");
  if (!url.empty()) {
    address.endpoint = ModelEndpoint::parse(url);
    address.source = Source::environment;
  } else if (const std::optional<ModelSettings> kept = ModelSettings::load()) {
    address.endpoint = kept->endpoint();
    address.model = kept->model;
    address.source = Source::settings;
  } else {
    address.endpoint = ModelEndpoint::defaultSocket();
  }
  if (const std::string model = environment("PELLORA_MODEL"); !model.empty()) address.model = model;
  return address;
}

std::optional<std::filesystem::path> ModelSettings::file() {
  const auto config = XdgFolders::config();
  if (!config) return std::nullopt;
  return *config / "app.pellora.messages.model" / "model.ini";
}

std::optional<ModelSettings> ModelSettings::load() {
  const auto path = file();
  const auto bytes = path ? AtomicFile::read(*path, kMaximumSize) : std::nullopt;
  if (!bytes) return std::nullopt;
  const KeyFile document(*bytes, kGroup);
  ModelSettings kept{valueOf(document, "url"), valueOf(document, "model"), valueOf(document, "keyFile")};
  if (kept.url.empty()) return std::nullopt;
  return kept;
}

void ModelSettings::save() const {
  const auto path = file();
  if (!path) throw FileError::noSuchFile();
  KeyFile document("", kGroup);
  document.setText(kGroup, "url", url);
  if (!model.empty()) document.setText(kGroup, "model", model);
  if (!keyFile.empty()) document.setText(kGroup, "keyFile", keyFile);
  AtomicFile::write(*path, document.bytes());
}

bool ModelSettings::forget() {
  const auto path = file();
  if (!path) return false;
  std::error_code error;
  const bool wasThere = std::filesystem::remove(*path, error);
  if (error) throw FileError("remove", *path, error.value());
  return wasThere;
}

ModelEndpoint ModelSettings::endpoint() const {
  ModelEndpoint endpoint = ModelEndpoint::parse(url);
  if (!endpoint.isUsable() || keyFile.empty()) return endpoint;
  const std::optional<std::string> text = AtomicFile::read(keyFile, kLongestKey);
  endpoint.key = text::trimmed(text.value_or(""));
  const auto isPrintable = [](char byte) { return byte > ' ' && byte < '\x7F'; };
  if (!endpoint.key.empty() && std::all_of(endpoint.key.begin(), endpoint.key.end(), isPrintable)) return endpoint;
  ModelEndpoint refused;
  refused.refusal = text ? "The file " + keyFile + " does not hold a key for the model server."
                         : "The file " + keyFile + " with the key for the model server cannot be read.";
  return refused;
}

}  // namespace pellora
