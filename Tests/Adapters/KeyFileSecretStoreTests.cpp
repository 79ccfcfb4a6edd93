#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <set>

#include "Adapters/Linux/Secrets/KeyFileSecretStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {

namespace {

using Outcome = SecretLookup::Outcome;
using Added = SecretAddition::Outcome;
using testing::HasSubstr;

const SecretBytes kKey(std::string_view("11111111111111111111111111111111"));

class KeyFileSecretStoreTest : public testing::Test {
 protected:
  void writeKey(mode_t mode, const std::string& bytes = std::string(32, 'k')) {
    std::filesystem::create_directories(keyFolder);
    chmod(keyFolder.c_str(), 0700);
    std::ofstream(file) << bytes;
    chmod(file.c_str(), mode);
  }
  static mode_t modeOf(const std::filesystem::path& path) {
    struct stat status{};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }

  support::TemporaryFolder folder;
  const std::filesystem::path base = folder / "home/.local/share";
  const std::filesystem::path keyFolder = base / "app.pellora.messages.exchange";
  const std::filesystem::path file = keyFolder / "exchange-key";
  const SecretAttributes attributes = ExchangeKeychain::attributes();
  KeyFileSecretStore store{base};
};

}  // namespace

TEST_F(KeyFileSecretStoreTest, TheFileHoldsTheRawBytesOpenToTheOwnerOnly) {
  const mode_t mask = umask(0);
  EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::added);
  umask(mask);
  EXPECT_EQ(modeOf(file), 0600U);
  EXPECT_EQ(modeOf(keyFolder), 0700U);
  std::ifstream stream(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "11111111111111111111111111111111");
}

TEST_F(KeyFileSecretStoreTest, AMaskThatTakesTheOwnersRightsAwayDoesNotHarm) {
  const mode_t mask = umask(0777);
  EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::added);
  umask(mask);
  EXPECT_EQ(modeOf(file), 0600U);
  EXPECT_EQ(modeOf(keyFolder), 0700U);
}

TEST_F(KeyFileSecretStoreTest, AFileThatOthersMayUseIsRefused) {
  for (const mode_t mode : {0604U, 0640U, 0660U, 0602U, 0644U, 0666U, 0610U}) {
    writeKey(mode);
    const SecretLookup lookup = store.find(attributes);
    EXPECT_EQ(lookup.outcome, Outcome::unavailable) << std::oct << mode;
    EXPECT_EQ(lookup.data.size(), 0U);
    EXPECT_THAT(lookup.reason, HasSubstr(file.string() + " must be open to its owner only (mode 0600)"));
    EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::failed) << std::oct << mode;
  }
  EXPECT_EQ(modeOf(file), 0610U);
}

TEST_F(KeyFileSecretStoreTest, AStricterModeIsFine) {
  writeKey(0400);
  EXPECT_EQ(store.find(attributes).outcome, Outcome::found);
}

TEST_F(KeyFileSecretStoreTest, AFolderThatOthersMayOnlyLookIntoIsFine) {
  writeKey(0600);
  chmod(keyFolder.c_str(), 0755);
  EXPECT_EQ(store.find(attributes).outcome, Outcome::found);
}

TEST_F(KeyFileSecretStoreTest, AFolderThatOthersMayWriteIsRefused) {
  writeKey(0600);
  chmod(keyFolder.c_str(), 0770);
  const SecretLookup lookup = store.find(attributes);
  EXPECT_EQ(lookup.outcome, Outcome::unavailable);
  EXPECT_EQ(lookup.reason, keyFolder.string() + " must be open to its owner only (mode 0700), but its mode is 0770: " +
                               "chmod 0700 '" + keyFolder.string() + "'");
  EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::failed);
  std::filesystem::remove(file);
  EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::failed);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(KeyFileSecretStoreTest, AFileOfAnotherUserIsRefused) {
  writeKey(0600);
  if (chown(file.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "only the superuser can give files away";
  EXPECT_EQ(store.find(attributes).reason, file.string() + " belongs to another user.");
}

TEST_F(KeyFileSecretStoreTest, LinksFoldersAndPipesInPlaceOfTheFileAreRefused) {
  writeKey(0600);
  std::filesystem::rename(file, keyFolder / "elsewhere");
  std::filesystem::create_symlink(keyFolder / "elsewhere", file);
  EXPECT_EQ(store.find(attributes).outcome, Outcome::unavailable);
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  EXPECT_EQ(store.find(attributes).outcome, Outcome::unavailable);
  std::filesystem::remove(file);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(store.find(attributes).reason, file.string() + " is not a regular file.");
  EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::failed);
}

TEST_F(KeyFileSecretStoreTest, AHugeFileIsReadInPartAndIsNoKey) {
  writeKey(0600, std::string(100'000, 'k'));
  EXPECT_EQ(store.find(attributes).data.size(), 4096U);
  EXPECT_FALSE(ExchangeKeychain::load(store));
}

TEST_F(KeyFileSecretStoreTest, AnEmptyFileIsNoKeyAndStays) {
  writeKey(0600, "");
  EXPECT_FALSE(ExchangeKeychain::loadOrCreate(store));
  EXPECT_EQ(std::filesystem::file_size(file), 0U);
}

TEST_F(KeyFileSecretStoreTest, WhatADeadWriterLeftIsClearedAway) {
  writeKey(0600);
  std::filesystem::rename(file, keyFolder / ".exchange-key.tmp");
  EXPECT_EQ(store.find(attributes).outcome, Outcome::absent);
  EXPECT_EQ(store.add(attributes, "a label", kKey).outcome, Added::added);
  EXPECT_EQ(store.find(attributes).data, kKey);
  const std::filesystem::directory_iterator entries(keyFolder);
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(KeyFileSecretStoreTest, NamesThatLeaveTheFolderAreRefused) {
  for (const char* name : {"", ".", "..", "../other", "a/b"}) {
    SecretAttributes account = attributes;
    account.account = name;
    SecretAttributes service = attributes;
    service.service = name;
    for (const SecretAttributes& bad : {account, service}) {
      EXPECT_EQ(store.find(bad).outcome, Outcome::unavailable) << name;
      EXPECT_EQ(store.add(bad, "a label", kKey).outcome, Added::failed) << name;
    }
  }
}

TEST_F(KeyFileSecretStoreTest, WithoutAHomeFolderItIsUnavailable) {
  KeyFileSecretStore homeless{std::nullopt};
  EXPECT_EQ(homeless.find(attributes).reason, "There is no home folder to keep the key file in.");
  EXPECT_EQ(homeless.add(attributes, "a label", kKey).outcome, Added::failed);
}

TEST_F(KeyFileSecretStoreTest, AFolderThatCannotBeMadeIsAReason) {
  std::filesystem::create_directories(base.parent_path());
  std::ofstream(base) << "a file";
  const SecretAddition addition = store.add(attributes, "a label", kKey);
  EXPECT_EQ(addition.outcome, Added::failed);
  EXPECT_THAT(addition.reason, HasSubstr("Couldn't create"));
}

TEST_F(KeyFileSecretStoreTest, ManyProcessesThatCreateAtOnceEndWithOneKey) {
  support::ScopedEnvironment environment;
  environment.set("XDG_DATA_HOME", base.string());
  environment.set("PELLORA_SECRET_STORE", "file");
  for (int round = 0; round < 20; ++round) {
    std::filesystem::remove_all(base);
    std::vector<std::unique_ptr<support::ChildProcess>> creators;
    for (int creator = 0; creator < 3; ++creator)
      creators.push_back(
          std::make_unique<support::ChildProcess>(PELLORA_PLATFORM_PROBE, std::vector<std::string>{"load-or-create"}));
    std::set<std::string> keys;
    for (const auto& creator : creators) keys.insert(creator->finish());
    EXPECT_EQ(keys.size(), 1U);
    EXPECT_EQ(keys.begin()->size(), 64U) << *keys.begin();
  }
}

}  // namespace pellora
