#include "Companion/History/PhoneBackup.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>
#include <system_error>

#include "Companion/History/HistoryDatabase.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

namespace fs = std::filesystem;

constexpr char kDomain[] = "HomeDomain-";
constexpr char kAgain[] = "; make the backup again. Nothing was changed.";
constexpr std::size_t kLargestManifest = std::size_t{64} << 20;  // bytes
constexpr std::size_t kLargestStatus = std::size_t{1} << 20;     // bytes
constexpr std::size_t kLargestRecord = std::size_t{1} << 20;     // bytes
constexpr std::size_t kClassSize = 4;                            // bytes before a wrapped key
constexpr std::size_t kBlock = std::size_t{1} << 20;             // bytes read at once

struct FreePlist {
  void operator()(void* node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, FreePlist>;

struct FreeCipher {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

// Null when it is neither form of a property list.
Plist parsePlist(std::string_view bytes, std::size_t limit) {
  plist_t root = nullptr;
  if (bytes.empty() || bytes.size() > limit) return nullptr;
  const auto size = static_cast<std::uint32_t>(bytes.size());
  if (bytes.starts_with("bplist"))
    plist_from_bin(bytes.data(), size, &root);
  else
    plist_from_xml(bytes.data(), size, &root);
  return Plist(root);
}

plist_t member(plist_t node, const char* key) {
  return node != nullptr && plist_get_node_type(node) == PLIST_DICT ? plist_dict_get_item(node, key) : nullptr;
}

std::vector<std::uint8_t> dataOf(plist_t node) {
  if (node == nullptr || plist_get_node_type(node) != PLIST_DATA) return {};
  char* data = nullptr;
  std::uint64_t length = 0;
  plist_get_data_val(node, &data, &length);
  const std::unique_ptr<char, decltype(&std::free)> owned(data, std::free);
  return data == nullptr ? std::vector<std::uint8_t>() : std::vector<std::uint8_t>(data, data + length);
}

std::optional<std::uint64_t> numberOf(plist_t node) {
  if (node == nullptr || plist_get_node_type(node) != PLIST_UINT) return std::nullopt;
  std::uint64_t number = 0;
  plist_get_uint_val(node, &number);
  return number;
}

// The object that a reference of a keyed archive names.
plist_t referred(plist_t objects, plist_t reference) {
  if (objects == nullptr || reference == nullptr || plist_get_node_type(reference) != PLIST_UID) return nullptr;
  std::uint64_t index = 0;
  plist_get_uid_val(reference, &index);
  if (index >= plist_array_get_size(objects)) return nullptr;
  return plist_array_get_item(objects, static_cast<std::uint32_t>(index));
}

std::uint32_t classOf(std::span<const std::uint8_t> key) {
  return key[0] | std::uint32_t{key[1]} << 8 | std::uint32_t{key[2]} << 16 | std::uint32_t{key[3]} << 24;
}

// The name under which a backup keeps a file: the SHA-1 of its domain and place.
std::string backupName(const std::string& path) {
  const std::string place = kDomain + path;
  std::array<unsigned char, 20> digest{};
  EVP_Digest(place.data(), place.size(), digest.data(), nullptr, EVP_sha1(), nullptr);
  constexpr char kHex[] = "0123456789abcdef";
  std::string name;
  for (const unsigned char byte : digest) name += {kHex[byte >> 4], kHex[byte & 0x0F]};
  return name;
}

bool isThere(const fs::path& file) {
  std::error_code error;
  return fs::exists(file, error);
}

[[noreturn]] void fail(const std::string& action, const fs::path& file, int code) {
  throw CompanionFailure("Cannot " + action + " " + display::printable(file.string()) + ": " +
                         std::generic_category().message(code) + ".");
}

void writeAll(const FileDescriptor& target, const fs::path& file, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = retried([&] { return ::write(target.number(), bytes.data(), bytes.size()); });
    if (count <= 0) fail("write", file, count < 0 ? errno : ENOSPC);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

}  // namespace

std::optional<BackupManifest> BackupManifest::parse(std::string_view bytes) {
  const Plist root = parsePlist(bytes, kLargestManifest);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
  BackupManifest manifest;
  const plist_t encrypted = member(root.get(), "IsEncrypted");
  if (encrypted != nullptr && plist_get_node_type(encrypted) == PLIST_BOOLEAN) {
    std::uint8_t value = 0;
    plist_get_bool_val(encrypted, &value);
    manifest.isEncrypted = value != 0;
  }
  manifest.keyBag = dataOf(member(root.get(), "BackupKeyBag"));
  manifest.manifestKey = dataOf(member(root.get(), "ManifestKey"));
  return manifest;
}

std::optional<BackupFileRecord> BackupFileRecord::parse(std::string_view bytes) {
  const Plist root = parsePlist(bytes, kLargestRecord);
  const plist_t objects = member(root.get(), "$objects");
  if (objects == nullptr || plist_get_node_type(objects) != PLIST_ARRAY) return std::nullopt;
  const plist_t file = referred(objects, member(member(root.get(), "$top"), "root"));
  const auto protection = numberOf(member(file, "ProtectionClass"));
  const auto size = numberOf(member(file, "Size"));
  const plist_t key = referred(objects, member(file, "EncryptionKey"));
  std::vector<std::uint8_t> data = dataOf(member(key, "NS.data"));
  if (data.empty()) data = dataOf(key);
  if (!protection || *protection > std::numeric_limits<std::uint32_t>::max() || !size || data.size() <= kClassSize)
    return std::nullopt;
  data.erase(data.begin(), data.begin() + kClassSize);
  return BackupFileRecord{static_cast<std::uint32_t>(*protection), std::move(data), *size};
}

bool saysUnfinished(std::string_view status) {
  const Plist root = parsePlist(status, kLargestStatus);
  const plist_t state = member(root.get(), "SnapshotState");
  if (state == nullptr || plist_get_node_type(state) != PLIST_STRING) return false;
  char* word = nullptr;
  plist_get_string_val(state, &word);
  const std::unique_ptr<char, decltype(&std::free)> owned(word, std::free);
  return word != nullptr && std::string_view(word) != "finished";
}

bool copyFile(const fs::path& from, const fs::path& to, const SecretBytes* key, std::uint64_t size,
              const PhoneBackup::Proceed& proceed) {
  const FileDescriptor source = FileDescriptor::open(from, O_RDONLY | O_NONBLOCK);
  struct stat status{};
  if (!source.isOpen() || ::fstat(source.number(), &status) != 0) fail("read", from, errno);
  if (!S_ISREG(status.st_mode)) throw CompanionFailure(display::printable(from.string()) + " is not a regular file.");
  FileDescriptor target = FileDescriptor::open(to, O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (!target.isOpen()) fail("write", to, errno);
  const std::unique_ptr<EVP_CIPHER_CTX, FreeCipher> cipher(key != nullptr ? EVP_CIPHER_CTX_new() : nullptr);
  constexpr std::array<std::uint8_t, 16> kZeros{};
  if (key != nullptr &&
      (!cipher || EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_cbc(), nullptr, key->span().data(), kZeros.data()) != 1))
    throw CompanionFailure("The cryptographic library cannot decrypt the backup.");
  if (cipher) EVP_CIPHER_CTX_set_padding(cipher.get(), 0);
  std::vector<std::uint8_t> buffer(kBlock);
  std::vector<std::uint8_t> plain(kBlock + kZeros.size());
  std::uint64_t done = 0;
  while (true) {
    const auto count = retried([&] { return ::read(source.number(), buffer.data(), buffer.size()); });
    if (count < 0) fail("read", from, errno);
    if (count == 0) break;
    int length = static_cast<int>(count);
    if (cipher && EVP_DecryptUpdate(cipher.get(), plain.data(), &length, buffer.data(), length) != 1)
      throw CompanionFailure("The cryptographic library cannot decrypt the backup.");
    writeAll(target, to, std::span(cipher ? plain : buffer).first(static_cast<std::size_t>(length)));
    done += static_cast<std::uint64_t>(count);
    const auto whole = static_cast<std::uint64_t>(status.st_size);
    if (!proceed(whole > 0 ? static_cast<int>(100 * std::min(done, whole) / whole) : 100)) return false;
  }
  // Bytes after the size are padding of the last block.
  if (cipher && size < done && ::ftruncate(target.number(), static_cast<off_t>(size)) != 0) fail("write", to, errno);
  if (!target.close()) fail("write", to, errno);
  return true;
}

bool PhoneBackup::isAt(const fs::path& folder) {
  return isThere(folder / "Manifest.db") || isThere(folder / "Manifest.mbdb") || isThere(folder / "Manifest.plist");
}

std::vector<fs::path> PhoneBackup::allIn(const fs::path& folder) {
  std::vector<fs::path> found;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error))
    if (entry.is_directory(error) && isAt(entry.path())) found.push_back(entry.path());
  std::ranges::sort(found);
  return found;
}

PhoneBackup::PhoneBackup(fs::path folder) : _folder(std::move(folder)) {
  const std::string name = display::printable(_folder.string());
  const auto bytes = AtomicFile::read(_folder / "Manifest.plist", kLargestManifest);
  const auto manifest = bytes ? BackupManifest::parse(*bytes) : std::nullopt;
  if (bytes && !manifest) throw CompanionFailure("Manifest.plist of the backup " + name + " is damaged" + kAgain);
  // Without it, as in a backup that was only copied in part, the history may still be there in the clear.
  if (manifest) _manifest = *manifest;
  if (_manifest.isEncrypted && !isThere(_folder / "Manifest.db"))
    throw CompanionFailure("The encrypted backup " + name +
                           " has no Manifest.db: it is unfinished, or of a system older than these backups" + kAgain);
  if (!isThere(database()))
    throw CompanionFailure("The backup " + name +
                           " holds no messages: it is unfinished, or they are kept in a cloud and not on the phone. "
                           "Nothing was changed.");
}

bool PhoneBackup::isFinished() const {
  const auto status = AtomicFile::read(_folder / "Status.plist", kLargestStatus);
  return !status || !saysUnfinished(*status);
}

fs::path PhoneBackup::placeOf(const char* path) const {
  const std::string name = backupName(path);
  const fs::path inFolder = _folder / name.substr(0, 2) / name;
  return isThere(inFolder) ? inFolder : _folder / name;
}

std::uintmax_t PhoneBackup::size() const {
  std::uintmax_t sum = 0;
  for (const char* path : {kDatabase, kLog}) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(placeOf(path), error);
    if (!error) sum += size;
  }
  return sum;
}

void PhoneBackup::unlock(const SecretBytes& password) {
  auto bag = BackupKeyBag::parse(_manifest.keyBag);
  if (!bag || _manifest.manifestKey.size() <= kClassSize)
    throw CompanionFailure("The keys of the backup " + display::printable(_folder.string()) + " are damaged" + kAgain);
  if (!bag->unlock(password)) throw CompanionFailure("That is not the password of the backup; nothing was changed.");
  _keys = std::move(bag);
}

bool PhoneBackup::extract(const fs::path& file, const Proceed& proceed) const {
  if (_manifest.isEncrypted) return extractEncrypted(file, proceed);
  if (isThere(placeOf(kLog)) && !copyFile(placeOf(kLog), file.string() + "-wal", nullptr, 0, proceed)) return false;
  return copyFile(database(), file, nullptr, 0, proceed);
}

bool PhoneBackup::extractEncrypted(const fs::path& file, const Proceed& proceed) const {
  const std::string damaged =
      "The list of files of the backup " + display::printable(_folder.string()) + " is damaged" + kAgain;
  const std::span<const std::uint8_t> manifestKey = _manifest.manifestKey;
  const auto listKey = _keys ? _keys->unwrap(classOf(manifestKey), manifestKey.subspan(kClassSize)) : std::nullopt;
  if (!listKey) throw CompanionFailure(damaged);
  const fs::path list = file.string() + "-manifest";
  if (!copyFile(_folder / "Manifest.db", list, &*listKey, std::numeric_limits<std::uint64_t>::max(), proceed))
    return false;
  for (const char* path : {kLog, kDatabase}) {
    if (!isThere(placeOf(path))) continue;
    std::optional<std::string> bytes;
    try {
      bytes = HistoryDatabase(list, HistoryDatabase::Mode::asItLies)
                  .blob("SELECT file FROM Files WHERE fileID = ?", backupName(path));
    } catch (const HistoryDatabase::Error&) {
      throw CompanionFailure(damaged);
    }
    const auto record = bytes ? BackupFileRecord::parse(*bytes) : std::nullopt;
    const auto key = record ? _keys->unwrap(record->protectionClass, record->wrappedKey) : std::nullopt;
    if (!key) throw CompanionFailure(damaged);
    const fs::path target = path == kDatabase ? file : fs::path(file.string() + "-wal");
    if (!copyFile(placeOf(path), target, &*key, record->size, proceed)) return false;
  }
  std::error_code ignored;
  fs::remove(list, ignored);
  return true;
}

}  // namespace pellora
