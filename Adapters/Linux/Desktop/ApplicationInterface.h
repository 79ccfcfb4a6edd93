// org.freedesktop.Application on the session bus: what desktops and second launches call to make the helper show
// itself. There are no files to open and no actions; those calls show the window too.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QVariantMap>

#include "PelloraMessagesCore/Ports/AppInstance.h"

namespace pellora {

class ApplicationInterface : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  // Keys of the data that come with every call.
  static constexpr char kActivationToken[] = "activation-token";
  static constexpr char kStartupId[] = "desktop-startup-id";

  ApplicationInterface(QObject* parent, AppInstance::Activated activated)
      : QDBusAbstractAdaptor(parent), _activated(std::move(activated)) {}

 public Q_SLOTS:
  void Activate(const QVariantMap& platformData) { _activated(token(platformData)); }
  void Open(const QStringList&, const QVariantMap& platformData) { _activated(token(platformData)); }
  void ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData) {
    _activated(token(platformData));
  }

 private:
  static std::string token(const QVariantMap& platformData) {
    for (const char* key : {kActivationToken, kStartupId})
      if (const QString value = platformData.value(QLatin1String(key)).toString(); !value.isEmpty())
        return value.toStdString();
    return {};
  }

  AppInstance::Activated _activated;
};

}  // namespace pellora
