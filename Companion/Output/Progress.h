// Tells on standard error what takes so long: one line that comes after a second, counts the seconds and goes when
// the work is done. Nothing when standard error is no terminal.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace pellora {

class Progress {
 public:
  // `activity` as in "Reading contacts.vcf".
  explicit Progress(const std::string& activity);
  ~Progress();

  // How much is done, in hundredths, told from then on.
  void setDone(int hundredths);

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void tell();

  std::string _activity;
  std::mutex _mutex;
  std::condition_variable _done;
  bool _isDone = false;
  int _hundredths = -1;  // not known
  std::thread _thread;
};

}  // namespace pellora
