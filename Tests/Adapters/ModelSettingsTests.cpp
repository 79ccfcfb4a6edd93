#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "Adapters/Linux/Model/ModelSettings.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

class ModelSettingsTest : public testing::Test {
 protected:
  ModelSettingsTest() {
    _environment.set("XDG_CONFIG_HOME", _folder.path().string());
    _environment.set("XDG_RUNTIME_DIR", _folder.path().string());
    _environment.unset("PELLORA_MODEL_URL");
    _environment.unset("PELLORA_MODEL");
  }

  std::string keyFile(const std::string& text) {
    const std::string path = (_folder / "key").string();
    std::ofstream(path) << text;
    return path;
  }

  support::TemporaryFolder _folder;
  support::ScopedEnvironment _environment;
};

TEST_F(ModelSettingsTest, AreKeptForThisUserOnlyUntilTheyAreForgotten) {
  EXPECT_FALSE(ModelSettings::load());
  EXPECT_FALSE(ModelSettings::forget());
  ModelSettings{"http://127.0.0.1:11434", "a;b \"c\"", "/tmp/k, l"}.save();
  const auto kept = ModelSettings::load();
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->url, "http://127.0.0.1:11434");
  EXPECT_EQ(kept->model, "a;b \"c\"");
  EXPECT_EQ(kept->keyFile, "/tmp/k, l");
  struct stat status{};
  ASSERT_EQ(stat((_folder / "app.pellora.messages.model/model.ini").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_TRUE(ModelSettings::forget());
  EXPECT_FALSE(ModelSettings::load());
}

TEST_F(ModelSettingsTest, EnvironmentWinsOverTheSettingsAndTheseOverTheDefault) {
  using Source = ModelAddress::Source;
  EXPECT_EQ(ModelAddress::current().source, Source::defaultSocket);
  ModelSettings{"http://127.0.0.1:7", "kept", keyFile("secret\n")}.save();
  ModelAddress address = ModelAddress::current();
  EXPECT_EQ(address.source, Source::settings);
  EXPECT_EQ(address.endpoint.url, "http://127.0.0.1:7");
  EXPECT_EQ(address.endpoint.key, "secret");
  EXPECT_EQ(address.model, "kept");
  _environment.set("PELLORA_MODEL", "other");
  EXPECT_EQ(ModelAddress::current().model, "other");
  EXPECT_EQ(ModelAddress::current().endpoint.url, "http://127.0.0.1:7");
  _environment.set("PELLORA_MODEL", "");
  _environment.set("PELLORA_MODEL_URL", "http://127.0.0.1:9");
  address = ModelAddress::current();
  EXPECT_EQ(address.source, Source::environment);
  EXPECT_EQ(address.endpoint.url, "http://127.0.0.1:9");
  EXPECT_EQ(address.endpoint.key, "") << "the key is for the kept server";
  EXPECT_EQ(address.model, "");
}

TEST_F(ModelSettingsTest, WhatIsNotAKeyIsRefused) {
  EXPECT_TRUE((ModelSettings{"http://127.0.0.1:7", "", keyFile(" abc-123\n")}).endpoint().isUsable());
  for (const std::string text : {"", " \n", "two words", "a\nb", "a\r\nX-Other: b", "schl\xC3\xBCssel"})
    EXPECT_FALSE((ModelSettings{"http://127.0.0.1:7", "", keyFile(text)}).endpoint().isUsable()) << text;
  EXPECT_FALSE((ModelSettings{"http://127.0.0.1:7", "", keyFile(std::string(5000, 'a'))}).endpoint().isUsable());
  EXPECT_EQ((ModelSettings{"http://127.0.0.1:7", "", "/nowhere"}).endpoint().refusal,
            "The file /nowhere with the key for the model server cannot be read.");
  EXPECT_FALSE((ModelSettings{"http://example.com", "", ""}).endpoint().isUsable());
}

}  // namespace

}  // namespace pellora
