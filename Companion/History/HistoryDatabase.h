// A connection to a database file of a backup or a copy, where ChatDatabase, which reads messages, has no part: whole
// files are copied and checked, a backup's list of files is looked up. One thread. Failures throw
// HistoryDatabase::Error, with SQLite's code and words.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

struct sqlite3;

namespace pellora {

class HistoryDatabase {
 public:
  class Error : public std::runtime_error {
   public:
    Error(int code, const std::string& words) : std::runtime_error(words), _code(code) {}
    // Another program holds the file.
    bool isBusy() const;

   private:
    int _code;
  };

  enum class Mode {
    read,      // with the log and everybody else's locks
    write,     // the file must be there
    create,    // a new file
    asItLies,  // read without the log and without locks: for finding out what is wrong, never for content
  };

  HistoryDatabase(const std::filesystem::path& file, Mode mode);
  ~HistoryDatabase();
  HistoryDatabase(const HistoryDatabase&) = delete;
  HistoryDatabase& operator=(const HistoryDatabase&) = delete;

  void execute(const std::string& sql);
  // The first column of the first row; 0 or empty when there is none.
  std::int64_t integer(const std::string& sql, const std::string& parameter = {});
  std::string text(const std::string& sql);
  std::optional<std::string> blob(const std::string& sql, const std::string& parameter);

  // All of `source` as it is at one moment, its log included. `proceed` is told how much is done, in hundredths, and
  // stops the copy with false.
  void copyFrom(HistoryDatabase& source, const std::function<bool(int)>& proceed);

 private:
  sqlite3* _database = nullptr;
};

}  // namespace pellora
