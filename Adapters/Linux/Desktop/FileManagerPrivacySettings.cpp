#include "Adapters/Linux/Desktop/FileManagerPrivacySettings.h"

#include <fcntl.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QUrl>
#include <QVariantMap>

#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

namespace {

void askPortal(const QDBusConnection& bus, const std::filesystem::path& folder) {
  const FileDescriptor descriptor = FileDescriptor::open(folder, O_PATH | O_DIRECTORY);
  if (!descriptor.isOpen()) return;
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
      QStringLiteral("org.freedesktop.portal.OpenURI"), QStringLiteral("OpenFile"));
  call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(descriptor.number())) << QVariantMap();
  bus.send(call);
}

}  // namespace

std::filesystem::path FileManagerPrivacySettings::nearestFolder(const std::filesystem::path& database) {
  std::error_code error;
  std::filesystem::path folder = database.parent_path();
  while (!std::filesystem::is_directory(folder, error) && folder.has_relative_path()) folder = folder.parent_path();
  return folder;
}

void FileManagerPrivacySettings::show(const std::filesystem::path& database) {
  if (!SessionBusAddress::find()) return;
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  const std::filesystem::path folder = nearestFolder(database);
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowFolders"));
  const QUrl url = QUrl::fromLocalFile(QString::fromStdString(folder.string()));
  call << QStringList{url.toString(QUrl::FullyEncoded)} << QString();
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, bus, folder] {
    const QDBusPendingReply<> reply = *watcher;
    if (reply.isError()) askPortal(bus, folder);
    watcher->deleteLater();
  });
}

}  // namespace pellora
