// Phone backups, read from folders as the sample store writes them.
#include <gmock/gmock.h>

#include <fstream>

#include "Companion/History/PhoneBackup.h"
#include "Companion/Output/CompanionFailure.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "SampleStore/PhoneBackupWriter.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr char kPassword[] = "correct horse ünd battery";

std::vector<std::uint8_t> hex(std::string_view digits) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(at, 2)), nullptr, 16)));
  return bytes;
}

std::string failureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const CompanionFailure& failure) {
    return failure.what();
  }
  return {};
}

class Backup : public testing::Test {
 protected:
  void write(const PhoneBackupWriter::Options& options) {
    if (!fs::exists(_folder / "made-up.db")) {
      support::SmallStore store(_folder / "made-up.db");
      store.addMessage(store.addChat({"+15551234567"}), instantAtSeconds(1'767'225'600), true, "hello");
      store.execute("PRAGMA journal_mode = DELETE");
    }
    PhoneBackupWriter::wrap(path(), _folder / "made-up.db", options);
  }

  fs::path path() const { return _folder / "backup"; }
  fs::path target() const { return _folder / "out.db"; }
  static bool always(int) { return true; }

  std::int64_t extracted(const PhoneBackup& backup) {
    EXPECT_TRUE(backup.extract(target(), always));
    return ChatDatabase(target()).summary().messages;
  }

  support::TemporaryFolder _folder;
};

// From RFC 3394, 4.6.
TEST(UnwrappedKey, IsTheOneThatWasWrapped) {
  const SecretBytes key(hex("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F"));
  auto wrapped = hex("28C9F404C4B810F4CBCCB35CFB87F8263F5786E2D80ED326CBC7F0E71A99F43BFB988B9B7A02DD21");
  const auto plain = unwrappedKey(key, wrapped);
  ASSERT_TRUE(plain.has_value());
  EXPECT_EQ(*plain, SecretBytes(hex("00112233445566778899AABBCCDDEEFF000102030405060708090A0B0C0D0E0F")));
  wrapped[5] ^= 1;
  EXPECT_FALSE(unwrappedKey(key, wrapped).has_value());
  wrapped.pop_back();
  EXPECT_FALSE(unwrappedKey(key, wrapped).has_value());
}

TEST_F(Backup, IsReadWithAndWithoutTheFoldersOfNewerOnes) {
  for (const bool hasFolders : {true, false}) {
    write({{}, true, hasFolders});
    const PhoneBackup backup(path());
    EXPECT_FALSE(backup.isEncrypted());
    EXPECT_EQ(extracted(backup), 1);
    fs::remove_all(path());
    fs::remove(target());
  }
}

TEST_F(Backup, OpensWithItsPasswordWhetherTheBagHasOneRoundOrTwo) {
  for (const bool hasFirstRounds : {true, false}) {
    write({kPassword, hasFirstRounds, true});
    PhoneBackup backup(path());
    ASSERT_TRUE(backup.isEncrypted());
    EXPECT_EQ(support::contentOf(backup.database()).find("SQLite format"), std::string::npos);
    backup.unlock(SecretBytes(kPassword));
    EXPECT_EQ(extracted(backup), 1);
    EXPECT_EQ(support::contentOf(target()), support::contentOf(_folder / "made-up.db"));
    EXPECT_FALSE(fs::exists(target().string() + "-manifest"));
    fs::remove_all(path());
    fs::remove(target());
  }
}

TEST_F(Backup, DoesNotOpenWithAnotherPassword) {
  write({kPassword, true, true});
  PhoneBackup backup(path());
  EXPECT_THAT(failureOf([&] { backup.unlock(SecretBytes("another")); }), HasSubstr("not the password"));
  EXPECT_NE(failureOf([&] { backup.extract(target(), always); }), "");
}

TEST_F(Backup, SaysWhatIsMissingOrDamaged) {
  write({kPassword, true, true});
  fs::remove(path() / "Manifest.db");
  EXPECT_THAT(failureOf([&] { PhoneBackup{path()}; }), HasSubstr("no Manifest.db"));
  std::ofstream(path() / "Manifest.plist") << "bplist00 not one";
  EXPECT_THAT(failureOf([&] { PhoneBackup{path()}; }), HasSubstr("Manifest.plist"));
  fs::remove(path() / "Manifest.plist");
  fs::remove_all(path() / "3d");
  EXPECT_THAT(failureOf([&] { PhoneBackup{path()}; }), HasSubstr("holds no messages"));
}

TEST_F(Backup, IsUnfinishedOnlyWhenItsStatusSaysSo) {
  write({{}, true, true});
  EXPECT_TRUE(PhoneBackup(path()).isFinished()) << "older ones have no status";
  const auto status = [](const std::string& content) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + content + "</dict></plist>";
  };
  for (const auto& [content, isFinished] : {std::pair{"<key>SnapshotState</key><string>finished</string>", true},
                                            {"<key>SnapshotState</key><string>uploading</string>", false},
                                            {"<key>SnapshotState</key><true/>", true},
                                            {"<key>BackupState</key><string>new</string>", true}}) {
    std::ofstream(path() / "Status.plist") << status(content);
    EXPECT_EQ(PhoneBackup(path()).isFinished(), isFinished) << content;
  }
}

TEST_F(Backup, ADamagedListOfFilesIsSaid) {
  write({kPassword, true, true});
  std::ofstream(path() / "Manifest.db", std::ios::binary) << std::string(4096, 'x');
  PhoneBackup backup(path());
  backup.unlock(SecretBytes(kPassword));
  EXPECT_THAT(failureOf([&] { backup.extract(target(), always); }), HasSubstr("list of files"));
}

TEST_F(Backup, StopsWhenAsked) {
  write({kPassword, true, true});
  PhoneBackup backup(path());
  backup.unlock(SecretBytes(kPassword));
  EXPECT_FALSE(backup.extract(target(), [](int) { return false; }));
}

TEST_F(Backup, EveryTruncatedOrChangedManifestIsReadWithoutHarm) {
  write({kPassword, true, true});
  const std::string bytes = support::contentOf(path() / "Manifest.plist");
  const auto whole = BackupManifest::parse(bytes);
  ASSERT_TRUE(whole.has_value());
  ASSERT_TRUE(BackupKeyBag::parse(whole->keyBag).has_value());
  for (std::size_t length = 0; length < bytes.size(); ++length) BackupManifest::parse(bytes.substr(0, length));
  for (std::size_t length = 0; length < whole->keyBag.size(); ++length)
    BackupKeyBag::parse(std::span(whole->keyBag).first(length));
  for (std::size_t at = 0; at < whole->keyBag.size(); ++at) {
    auto changed = whole->keyBag;
    changed[at] ^= 0x80;
    BackupKeyBag::parse(changed);
  }
}

TEST(BackupKeyBag, RefusesRoundsWithoutEnd) {
  const auto field = [](const char* tag, std::vector<std::uint8_t> value) {
    std::vector<std::uint8_t> bytes(tag, tag + 4);
    bytes.insert(bytes.end(), {0, 0, 0, static_cast<std::uint8_t>(value.size())});
    bytes.insert(bytes.end(), value.begin(), value.end());
    return bytes;
  };
  const auto bag = [&field](std::vector<std::uint8_t> rounds) {
    std::vector<std::uint8_t> bytes;
    for (const auto& part : {field("SALT", {1, 2, 3, 4}), field("ITER", rounds), field("CLAS", {0, 0, 0, 3})})
      bytes.insert(bytes.end(), part.begin(), part.end());
    return BackupKeyBag::parse(bytes);
  };
  EXPECT_TRUE(bag({0x05, 0xF5, 0xE1, 0x00}).has_value()) << "a hundred million";
  EXPECT_FALSE(bag({0x05, 0xF5, 0xE1, 0x01}).has_value());
  EXPECT_FALSE(bag({0, 0, 0, 0}).has_value());
}

}  // namespace
}  // namespace pellora
