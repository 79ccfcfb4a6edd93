// The user's preference for dark windows as the desktop portal tells it on the session bus
// (org.freedesktop.appearance, color-scheme). Needs the event loop of the main thread.
// Tested by Tests/Adapters/DesktopBusTests.cpp.
#pragma once

#include <QDBusVariant>
#include <QObject>

#include "PelloraMessagesCore/Ports/Desktop.h"

namespace pellora {

class PortalAppearance : public QObject, public Appearance {
  Q_OBJECT

 public:
  void observe(std::function<void(bool prefersDark)> changed) override;

 private:
  Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

  void ask();
  void take(const QVariant& value);

  std::function<void(bool)> _changed;
};

}  // namespace pellora
