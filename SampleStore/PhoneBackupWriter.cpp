#include "SampleStore/PhoneBackupWriter.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <plist/plist.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>

#include "SampleStore/SampleStoreWriter.h"
#include "SampleStore/StoreConnection.h"

namespace pellora {

namespace {

namespace fs = std::filesystem;

constexpr char kHistory[] = "3d0d7e5fb2ce288813306e4d4636395e047a3d28";
constexpr std::uint32_t kFileClass = 3;
constexpr std::uint32_t kListClass = 4;
constexpr int kFirstRounds = 2000;
constexpr int kRounds = 1000;
constexpr std::size_t kBlock = 16;

using Key = std::array<std::uint8_t, 32>;

void need(bool isDone) {
  if (!isDone) throw StoreError("The cryptographic library cannot encrypt the backup.");
}

Key randomKey() {
  Key key{};
  need(RAND_bytes(key.data(), static_cast<int>(key.size())) == 1);
  return key;
}

std::string text(const Key& key) {
  return {key.begin(), key.end()};
}

struct FreeCipher {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

std::string encrypted(const EVP_CIPHER* cipher, const Key& key, const std::string& plain, bool isPadded) {
  const std::unique_ptr<EVP_CIPHER_CTX, FreeCipher> context(EVP_CIPHER_CTX_new());
  need(context != nullptr);
  EVP_CIPHER_CTX_set_flags(context.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
  constexpr std::array<std::uint8_t, kBlock> kZeros{};
  const bool isWrap = EVP_CIPHER_get_mode(cipher) == EVP_CIPH_WRAP_MODE;
  need(EVP_EncryptInit_ex(context.get(), cipher, nullptr, key.data(), isWrap ? nullptr : kZeros.data()) == 1);
  EVP_CIPHER_CTX_set_padding(context.get(), isPadded ? 1 : 0);
  std::string result(plain.size() + 2 * kBlock, '\0');
  int length = 0;
  int rest = 0;
  auto* out = reinterpret_cast<std::uint8_t*>(result.data());
  need(EVP_EncryptUpdate(context.get(), out, &length, reinterpret_cast<const std::uint8_t*>(plain.data()),
                         static_cast<int>(plain.size())) == 1 &&
       EVP_EncryptFinal_ex(context.get(), out + length, &rest) == 1);
  result.resize(static_cast<std::size_t>(length + rest));
  return result;
}

std::string wrapped(const Key& with, const Key& key) {
  return encrypted(EVP_aes_256_wrap(), with, text(key), false);
}

Key derived(const std::string& password, const std::string& salt, int rounds, const EVP_MD* digest) {
  Key key{};
  need(PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                         reinterpret_cast<const unsigned char*>(salt.data()), static_cast<int>(salt.size()), rounds,
                         digest, static_cast<int>(key.size()), key.data()) == 1);
  return key;
}

std::string number(std::uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

// The class before a wrapped key has its least significant byte first.
std::string withClass(std::uint32_t number, const std::string& key) {
  return std::string{static_cast<char>(number), '\0', '\0', '\0'} + key;
}

std::string field(const char* tag, const std::string& value) {
  return tag + number(static_cast<std::uint32_t>(value.size())) + value;
}

struct ClassKeys {
  Key file = randomKey();
  Key list = randomKey();
};

std::string keyBag(const PhoneBackupWriter::Options& options, const ClassKeys& keys) {
  const std::string salt = text(randomKey()).substr(0, 20);
  const std::string firstSalt = text(randomKey()).substr(0, 20);
  std::string secret = options.password;
  if (options.hasFirstRounds) secret = text(derived(secret, firstSalt, kFirstRounds, EVP_sha256()));
  const Key fromPassword = derived(secret, salt, kRounds, EVP_sha1());
  const std::string uuid = text(randomKey()).substr(0, 16);
  std::string bag = field("VERS", number(4)) + field("TYPE", number(1)) + field("UUID", uuid) +
                    field("HMCK", text(randomKey())) + field("WRAP", number(0)) + field("SALT", salt) +
                    field("ITER", number(kRounds));
  if (options.hasFirstRounds)
    bag += field("DPWT", number(0)) + field("DPIC", number(kFirstRounds)) + field("DPSL", firstSalt);
  for (const auto& [protectionClass, key] : {std::pair{kFileClass, keys.file}, std::pair{kListClass, keys.list}})
    bag += field("UUID", text(randomKey()).substr(0, 16)) + field("CLAS", number(protectionClass)) +
           field("WRAP", number(2)) + field("KTYP", number(0)) + field("WPKY", wrapped(fromPassword, key));
  return bag;
}

std::string readWhole(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeWhole(const fs::path& file, const std::string& bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  if (!stream.flush()) throw StoreError("The backup cannot be written: " + file.string());
}

// Takes the tree.
std::string asPlist(plist_t root) {
  char* bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(root, &bytes, &length);
  plist_free(root);
  const std::string result(bytes == nullptr ? "" : bytes, length);
  std::free(bytes);
  return result;
}

plist_t data(const std::string& bytes) {
  return plist_new_data(bytes.data(), bytes.size());
}

// The keyed archive in which the list of files describes one of them.
std::string fileRecord(std::uint64_t size, const std::string& key) {
  const plist_t file = plist_new_dict();
  plist_dict_set_item(file, "RelativePath", plist_new_uid(2));
  plist_dict_set_item(file, "Size", plist_new_uint(size));
  plist_dict_set_item(file, "ProtectionClass", plist_new_uint(kFileClass));
  if (!key.empty()) plist_dict_set_item(file, "EncryptionKey", plist_new_uid(3));
  const plist_t objects = plist_new_array();
  plist_array_append_item(objects, plist_new_string("$null"));
  plist_array_append_item(objects, file);
  plist_array_append_item(objects, plist_new_string("Library/SMS/sms.db"));
  const plist_t holder = plist_new_dict();
  plist_dict_set_item(holder, "NS.data", data(key));
  plist_array_append_item(objects, holder);
  const plist_t top = plist_new_dict();
  plist_dict_set_item(top, "root", plist_new_uid(1));
  const plist_t root = plist_new_dict();
  plist_dict_set_item(root, "$archiver", plist_new_string("NSKeyedArchiver"));
  plist_dict_set_item(root, "$version", plist_new_uint(100000));
  plist_dict_set_item(root, "$top", top);
  plist_dict_set_item(root, "$objects", objects);
  return asPlist(root);
}

void writeList(const fs::path& file, const std::string& record) {
  StoreConnection connection(file, StoreConnection::Mode::create);
  connection.execute(
      "CREATE TABLE Files (fileID TEXT PRIMARY KEY, domain TEXT, relativePath TEXT, flags INTEGER, file BLOB);"
      "CREATE TABLE Properties (key TEXT PRIMARY KEY, value BLOB)");
  StoreStatement insert(connection.handle(), "INSERT INTO Files VALUES (?, 'HomeDomain', 'Library/SMS/sms.db', 1, ?)");
  insert.bindText(1, kHistory).bindBlob(2, record).run();
}

}  // namespace

void PhoneBackupWriter::create(const fs::path& folder, const SampleOptions& history, const Options& options) {
  const fs::path database = folder / "history.tmp";
  SampleStoreWriter::create(database, history);
  {
    StoreConnection connection(database, StoreConnection::Mode::existing);
    connection.execute("PRAGMA journal_mode = DELETE");
  }
  wrap(folder, database, options);
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(database.string() + suffix);
}

void PhoneBackupWriter::wrap(const fs::path& folder, const fs::path& database, const Options& options) {
  const fs::path place = options.hasFolders ? folder / "3d" / kHistory : folder / kHistory;
  fs::create_directories(place.parent_path());
  if (fs::exists(folder / "Manifest.db")) throw StoreError("There is a backup already: " + folder.string());
  const std::string history = readWhole(database);
  const bool isEncrypted = !options.password.empty();
  const plist_t manifest = plist_new_dict();
  plist_dict_set_item(manifest, "Version", plist_new_string("10.0"));
  plist_dict_set_item(manifest, "IsEncrypted", plist_new_bool(isEncrypted ? 1 : 0));
  if (!isEncrypted) {
    writeList(folder / "Manifest.db", fileRecord(history.size(), {}));
    writeWhole(place, history);
  } else {
    const ClassKeys keys;
    const Key fileKey = randomKey();
    const Key listKey = randomKey();
    const fs::path list = folder / "list.tmp";
    writeList(list, fileRecord(history.size(), withClass(kFileClass, wrapped(keys.file, fileKey))));
    writeWhole(folder / "Manifest.db", encrypted(EVP_aes_256_cbc(), listKey, readWhole(list), false));
    fs::remove(list);
    writeWhole(place, encrypted(EVP_aes_256_cbc(), fileKey, history, true));
    plist_dict_set_item(manifest, "BackupKeyBag", data(keyBag(options, keys)));
    plist_dict_set_item(manifest, "ManifestKey", data(withClass(kListClass, wrapped(keys.list, listKey))));
  }
  writeWhole(folder / "Manifest.plist", asPlist(manifest));
}

}  // namespace pellora
