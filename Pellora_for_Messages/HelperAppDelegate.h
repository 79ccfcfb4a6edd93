// Keeps the process alive when the window is closed, and out of the session's list of programs to start again: the
// login item does that.
#pragma once

#include <QObject>

class QGuiApplication;

namespace pellora {

class HelperAppDelegate : public QObject {
  Q_OBJECT

 public:
  explicit HelperAppDelegate(QGuiApplication& application);

  bool shouldTerminateAfterLastWindowClosed() const { return false; }
};

}  // namespace pellora
