// Where a history takes place: a store, what the helper keeps about it, and a clock. One stage is the engine with fakes
// behind its ports, the other is the real programs in a home folder of their own.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "PelloraMessagesCore/HelperExchange.h"
#include "Tests/Support/EngineWorld.h"
#include "Tests/Support/PreloadedLibrary.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora::support {

class HistoryStage {
 public:
  enum class Model { off, answers, fails };
  using Records = ScratchHome::Records;

  virtual ~HistoryStage() = default;

  // One read in a new process, by whatever time the clock shows. False when it failed.
  virtual bool read() = 0;

  // What a read leaves that knows of no earlier one and of no model.
  virtual Records fresh() = 0;

  virtual void keepSettings() = 0;
  virtual void restoreSettings() = 0;  // those that were kept, if any were
  virtual void loseSettings() = 0;
  virtual void setModel(Model model) = 0;

  // The files that every stage has.
  virtual std::filesystem::path shared() const = 0;
  virtual const ExchangeKey& key() const = 0;
  virtual std::filesystem::path scratch() const = 0;
  virtual std::unique_ptr<SmallStore>& store() = 0;

  // The true time, and by how much the clock is wrong.
  virtual Instant now() const = 0;
  virtual void pass(Nanoseconds time) = 0;
  virtual void setClockError(Nanoseconds error) = 0;

  std::string zone = "UTC";

  Records records() const;
};

// Reads by engines with fakes, in virtual time.
class EngineStage : public HistoryStage {
 public:
  EngineStage();

  bool read() override;
  Records fresh() override;
  void keepSettings() override { _kept = std::make_unique<InMemoryUserDefaults>(world.defaults); }
  void restoreSettings() override;
  void loseSettings() override { world.defaults = InMemoryUserDefaults(); }
  void setModel(Model model) override;
  std::filesystem::path shared() const override { return world.shared; }
  const ExchangeKey& key() const override { return world.key; }
  std::filesystem::path scratch() const override { return world.folder.path(); }
  std::unique_ptr<SmallStore>& store() override { return world.store; }
  Instant now() const override { return world.scheduler.now() - _error; }
  void pass(Nanoseconds time) override { world.scheduler.advance(time); }
  void setClockError(Nanoseconds error) override;

  EngineWorld world;

 private:
  Nanoseconds _error{0};
  std::unique_ptr<InMemoryUserDefaults> _kept;
};

// Reads by `pellora-for-messages --read-once` in a home of its own. The clock is one that a preloaded library shows, so
// not under the sanitizers. Without a model.
class ProgramStage : public HistoryStage {
 public:
  // `helper` is the program, `clock` the library.
  ProgramStage(std::string helper, const std::filesystem::path& clock);

  bool read() override;
  Records fresh() override;
  void keepSettings() override;
  void restoreSettings() override;
  void loseSettings() override;
  void setModel(Model) override {}
  std::filesystem::path shared() const override { return _home.shared(); }
  const ExchangeKey& key() const override { return _home.key(); }
  std::filesystem::path scratch() const override { return _home.path(); }
  std::unique_ptr<SmallStore>& store() override { return _home.ownStore(); }
  Instant now() const override { return _now; }
  void pass(Nanoseconds time) override { _now += time; }
  void setClockError(Nanoseconds error) override { _error = error; }

  const std::string& errors() const { return _errors; }  // of the last read

 private:
  bool readInto(const std::filesystem::path& data, const std::filesystem::path& config);
  std::filesystem::path settings() const { return _home.path() / "config/app.pellora.messages"; }

  ScratchHome _home;
  std::string _helper;
  PreloadedLibrary _clock;
  std::string _errors;
  Instant _now = EngineWorld::kStart;
  Nanoseconds _error{0};
};

}  // namespace pellora::support
