// Work that tests have done by another process: one command per run, the result on standard output. Not for users.
#include <signal.h>
#include <sqlite3.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <cstdio>
#include <string>
#include <vector>

#include "Adapters/Linux/Desktop/DBusSignals.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Secrets/MakeSecretStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"

namespace {

using pellora::SecretBytes;

std::string hex(const SecretBytes& bytes) {
  std::string result;
  for (const std::uint8_t byte : bytes.span()) {
    result += "0123456789abcdef"[byte >> 4];
    result += "0123456789abcdef"[byte & 15];
  }
  return result;
}

int loadOrCreate() {
  const auto store = pellora::makeSecretStore();
  const auto key = pellora::ExchangeKeychain::loadOrCreate(*store);
  std::puts(key ? hex(key->data()).c_str() : "absent");
  return 0;
}

int post(const std::string& name) {
  return pellora::DBusNotificationCenter().post(name) ? 0 : 1;
}

// Owns the name and never answers again.
int silentService(const std::string& name) {
  if (!QDBusConnection::sessionBus().registerService(QString::fromStdString(name))) return 1;
  std::puts("ready");
  std::fflush(stdout);
  raise(SIGSTOP);
  return 0;
}

// As many commits in WAL mode, with the log never folded into the database.
int writeWal(const std::string& file, int commits) {
  sqlite3* database = nullptr;
  if (sqlite3_open(file.c_str(), &database) != SQLITE_OK) return 1;
  sqlite3_exec(database, "PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0; CREATE TABLE IF NOT EXISTS t (x)",
               nullptr, nullptr, nullptr);
  for (int commit = 0; commit < commits; ++commit)
    sqlite3_exec(database, "INSERT INTO t VALUES (randomblob(2000))", nullptr, nullptr, nullptr);
  std::puts("written");
  std::fflush(stdout);
  return pause();  // closing would remove the log
}

int storeDefaults(const std::string& file, const std::string& key, int times) {
  pellora::IniUserDefaults defaults(file);
  for (int number = 1; number <= times; ++number) defaults.store({{key, std::int64_t{number}}});
  return 0;
}

int run(const std::vector<std::string>& arguments) {
  const std::string& command = arguments.at(0);
  if (command == "load-or-create") return loadOrCreate();
  if (command == "post") return post(arguments.at(1));
  if (command == "silent-service") return silentService(arguments.at(1));
  if (command == "write-wal") return writeWal(arguments.at(1), std::stoi(arguments.at(2)));
  if (command == "store-defaults") return storeDefaults(arguments.at(1), arguments.at(2), std::stoi(arguments.at(3)));
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  return argc < 2 ? 2 : run(std::vector<std::string>(argv + 1, argv + argc));
}
