// org.freedesktop.Application on the session bus: what desktops and second launches call to make the helper show
// itself. There are no files to open and no actions; those calls show the window too.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QVariantMap>
#include <functional>

namespace pellora {

class ApplicationInterface : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  ApplicationInterface(QObject* parent, std::function<void()> activated)
      : QDBusAbstractAdaptor(parent), _activated(std::move(activated)) {}

 public Q_SLOTS:
  void Activate(const QVariantMap&) { _activated(); }
  void Open(const QStringList&, const QVariantMap&) { _activated(); }
  void ActivateAction(const QString&, const QVariantList&, const QVariantMap&) { _activated(); }

 private:
  std::function<void()> _activated;
};

}  // namespace pellora
