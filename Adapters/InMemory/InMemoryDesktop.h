// The desktop and the session as a test plays them.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "PelloraMessagesCore/Ports/Desktop.h"
#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

// A preference that a test changes; unknown until it does.
class InMemoryAppearance : public Appearance {
 public:
  void observe(std::function<void(bool prefersDark)> changed) override {
    _changed = std::move(changed);
    if (_prefersDark) _changed(*_prefersDark);
  }

  void prefer(bool dark) {
    _prefersDark = dark;
    if (_changed) _changed(dark);
  }

 private:
  std::optional<bool> _prefersDark;
  std::function<void(bool)> _changed;
};

// A place for tray items that a test opens when it likes.
class InMemoryTrayHost : public TrayHost {
 public:
  void observe(std::function<void()> appeared) override {
    _appeared = std::move(appeared);
    if (_isThere) appear();
  }

  void appear() {
    _isThere = true;
    const std::function<void()> appeared = std::exchange(_appeared, nullptr);
    if (appeared) appeared();
  }

 private:
  std::function<void()> _appeared;
  bool _isThere = false;
};

// Remembers what the app asked for.
class InMemoryWindowActivation : public WindowActivation {
 public:
  void useToken(const std::string& token) override { _tokens.push_back(token); }
  void bringToFront(std::uint64_t window) override { _windows.push_back(window); }

  const std::vector<std::string>& tokens() const { return _tokens; }
  const std::vector<std::uint64_t>& windows() const { return _windows; }

 private:
  std::vector<std::string> _tokens;
  std::vector<std::uint64_t> _windows;
};

// Remembers for which databases the privacy settings were shown.
class InMemoryPrivacySettings : public PrivacySettings {
 public:
  void show(const std::filesystem::path& database) override { _shown.push_back(database); }

  const std::vector<std::filesystem::path>& shown() const { return _shown; }

 private:
  std::vector<std::filesystem::path> _shown;
};

// Requests to quit that a test makes.
class InMemoryQuitRequests : public QuitRequests {
 public:
  void observe(std::function<void()> quit) override { _quit = std::move(quit); }

  void request() {
    if (_quit) _quit();
  }

 private:
  std::function<void()> _quit;
};

// A login item that a test looks at and may make refuse.
class InMemoryLoginItem : public LoginItem {
 public:
  bool isEnabled() const override { return _enabled; }
  void enable() override {
    ++_enableCalls;
    if (!_refusing) _enabled = true;
  }
  void disable() override {
    if (!_refusing) _enabled = false;
  }

  void observe(std::function<void()> changed) override { _changed = std::move(changed); }

  // As another program does it.
  void changeElsewhere(bool enabled) {
    _enabled = enabled;
    if (_changed) _changed();
  }
  void setRefusing(bool refusing) { _refusing = refusing; }
  int enableCalls() const { return _enableCalls; }

 private:
  bool _enabled = false;
  bool _refusing = false;
  int _enableCalls = 0;
  std::function<void()> _changed;
};

}  // namespace pellora
