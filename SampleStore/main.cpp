// pellora-sample-store: writes a Messages store with a made-up history, for trying things out.
#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>
#include <utility>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Time/Instant.h"
#include "SampleStore/PhoneBackupWriter.h"
#include "SampleStore/SampleDialogue.h"
#include "SampleStore/SampleStoreWriter.h"

namespace {

using namespace pellora;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr std::size_t kMostPeople = 40'000;
constexpr std::size_t kMostMessages = 10'000'000;
// The store counts nanoseconds from 2001 in 64 bits, and a history goes back from here.
constexpr Instant kEarliestNow = instantAtSeconds(1'262'304'000);  // 2010
constexpr Instant kLatestNow = instantAtSeconds(7'258'118'400);    // 2200

struct Arguments {
  SampleOptions options;
  std::string file;
  std::string peopleFile;
  std::string now;
  std::size_t append = 0;
  double rate = 0;  // messages per second; 0: as fast as possible
  bool force = false;
  bool asBackup = false;
  std::string passwordFile;
};

Instant currentTime() {
  return std::chrono::time_point_cast<Nanoseconds>(std::chrono::system_clock::now());
}

// A list with one person per line.
void writePeople(const Arguments& arguments) {
  std::ofstream file(arguments.peopleFile);
  const char* separator = "[\n";
  for (const SamplePerson& person : samplePeople(arguments.options.seed, arguments.options.people)) {
    JsonValue emails = JsonValue::array();
    if (!person.email.empty()) emails.append(person.email);
    const JsonValue entry = JsonValue::object({{"id", person.id.toString()},
                                               {"firstName", person.firstName},
                                               {"phones", JsonValue::Array{person.writtenPhone()}},
                                               {"emails", emails}});
    file << std::exchange(separator, ",\n") << entry.dump();
  }
  file << (arguments.options.people > 0 ? "\n]\n" : "[]\n");
  if (!file.flush()) throw std::runtime_error("The people file cannot be written: " + arguments.peopleFile);
}

void removeStore(const std::string& file) {
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(file + suffix);
}

void append(const Arguments& arguments) {
  const auto begin = std::chrono::steady_clock::now();
  SampleStoreWriter::append(
      arguments.file, arguments.append, arguments.options.seed, currentTime, [&](std::size_t written) {
        if (arguments.rate <= 0) return;
        std::this_thread::sleep_until(begin + std::chrono::duration_cast<std::chrono::nanoseconds>(
                                                  std::chrono::duration<double>(double(written) / arguments.rate)));
      });
  std::cout << "Added " << arguments.append << " messages to " << arguments.file << '\n';
}

// The file's first line.
std::string password(const Arguments& arguments) {
  if (arguments.passwordFile.empty()) return {};
  std::ifstream file(arguments.passwordFile);
  std::string line;
  std::getline(file, line);
  if (line.ends_with('\r')) line.pop_back();
  if (line.empty()) throw std::runtime_error("There is no password in " + arguments.passwordFile + ".");
  return line;
}

void createBackup(const Arguments& arguments) {
  PhoneBackupWriter::Options options;
  options.password = password(arguments);
  if (arguments.force)
    for (const char* name : {"Manifest.db", "Manifest.plist"})
      std::filesystem::remove(std::filesystem::path(arguments.file) / name);
  PhoneBackupWriter::create(arguments.file, arguments.options, options);
  std::cout << "Wrote " << (options.password.empty() ? "a" : "an encrypted") << " backup of "
            << arguments.options.messages << " messages with " << arguments.options.people << " people to "
            << arguments.file << '\n';
}

void create(Arguments& arguments) {
  if (arguments.asBackup) return createBackup(arguments);
  if (arguments.force) removeStore(arguments.file);
  SampleStoreWriter::create(arguments.file, arguments.options);
  std::cout << "Wrote " << arguments.options.messages << " messages with " << arguments.options.people << " people to "
            << arguments.file << '\n';
}

void declare(CLI::App& app, Arguments& arguments) {
  app.add_option("PATH", arguments.file, "The store to write, as in ~/Library/Messages/chat.db")->required();
  app.add_option("--seed", arguments.options.seed, "The same seed gives the same content")->capture_default_str();
  app.add_option("--messages", arguments.options.messages, "How many rows of messages")
      ->check(CLI::Range(std::size_t{1}, kMostMessages))
      ->capture_default_str();
  app.add_option("--people", arguments.options.people, "How many people the user knows")
      ->check(CLI::Range(std::size_t{0}, kMostPeople))
      ->capture_default_str();
  app.add_option("--chats", arguments.options.chats, "At least this many chats")
      ->check(CLI::Range(std::size_t{0}, kMostPeople));
  app.add_option("--days", arguments.options.days, "How far the history goes back")
      ->check(CLI::Range(1, 10'000))
      ->capture_default_str();
  app.add_option("--now", arguments.now, "Where it ends, as in 2026-03-10T12:00:00Z; otherwise now");
  app.add_option("--people-file", arguments.peopleFile, "Also write the people, for `pellora-companion people import`")
      ->type_name("FILE");
  CLI::Option* append =
      app.add_option("--append", arguments.append, "Add this many newer messages to an existing store")
          ->check(CLI::Range(std::size_t{1}, kMostMessages));
  app.add_option("--rate", arguments.rate, "With --append: messages a second")
      ->check(CLI::NonNegativeNumber)
      ->needs(append);
  CLI::Option* backup =
      app.add_flag("--as-backup", arguments.asBackup, "Write the folder of a phone's backup with the store in it");
  backup->excludes(append);
  app.add_option("--password-file", arguments.passwordFile,
                 "With --as-backup: encrypt the backup with the password in the first line of this file")
      ->needs(backup);
  app.add_flag("--force", arguments.force, "Replace an existing store");
  app.set_version_flag("--version", "pellora-sample-store " PELLORA_VERSION);
  app.footer(
      "Examples:\n"
      "  pellora-sample-store --messages 5000 --people-file people.json ~/Library/Messages/chat.db\n"
      "  pellora-sample-store --append 100 --rate 5 ~/Library/Messages/chat.db\n"
      "  pellora-sample-store --as-backup ~/backup/phone\n\n"
      "Exit codes: 0 done, 1 could not, 2 wrong usage.");
}

// What is wrong with the command line, and where to look.
int complain(std::string sentence) {
  if (!sentence.ends_with('.')) sentence += '.';
  std::cerr << "pellora-sample-store: " << sentence << "\nTry \"pellora-sample-store --help\".\n";
  return kWrongUsage;
}

}  // namespace

int main(int argc, char** argv) {
  StandardDescriptors::fillClosed();
  CLI::App app("Writes a Messages store with a made-up history.", "pellora-sample-store");
  Arguments arguments;
  declare(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return complain(error.what());
    app.exit(error);
    return std::cout.flush() ? 0 : kFailed;
  }
  arguments.options.now = currentTime();
  if (!arguments.now.empty()) {
    const auto now = IsoDate::parseSeconds(arguments.now);
    if (!now || *now < kEarliestNow || *now >= kLatestNow) {
      return complain("--now takes a time of the years 2010 to 2199, like 2026-03-10T12:00:00Z.");
    }
    arguments.options.now = *now;
  }
  try {
    if (arguments.append > 0)
      append(arguments);
    else
      create(arguments);
    if (!arguments.peopleFile.empty()) writePeople(arguments);
    if (!std::cout.flush()) throw std::runtime_error("The output cannot be written.");
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return kFailed;
  }
  return 0;
}
