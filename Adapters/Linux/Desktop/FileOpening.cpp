#include "Adapters/Linux/Desktop/FileOpening.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QEventLoop>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <QVariantMap>
#include <array>
#include <chrono>
#include <string>

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

namespace {

constexpr uint kSuccess = 0;
constexpr uint kCanceled = 1;                   // by the user, who may be asked which program to use
constexpr std::chrono::seconds kPatience{120};  // for that question

// Where the portal will announce its answer; known before it is asked, so that no answer is missed.
QString requestPath(const QDBusConnection& bus, const QString& token) {
  QString sender = bus.baseService().mid(1);
  sender.replace(QLatin1Char('.'), QLatin1Char('_'));
  return DesktopPortal::kPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

bool hasDisplay() {
  return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || !qEnvironmentVariableIsEmpty("DISPLAY");
}

std::optional<std::string> openWithoutPortal(const std::function<bool()>& startXdgOpen) {
  if (!hasDisplay()) return "there is no desktop";
  if (QStandardPaths::findExecutable(QStringLiteral("xdg-open")).isEmpty()) return "there is no portal and no xdg-open";
  return startXdgOpen() ? std::nullopt : std::optional<std::string>("xdg-open finds no program for it");
}

}  // namespace

void PortalFileOpener::answered(uint code, const QVariantMap&) {
  _answer = code;
  Q_EMIT hasAnswer();
}

PortalFileOpener::Outcome PortalFileOpener::ask(const std::filesystem::path& file) {
  const auto address = SessionBusAddress::find();
  if (!address) return Outcome::noPortal;
  PrivateBusConnection connection(*address);
  if (!connection.isConnected()) return Outcome::noPortal;
  const FileDescriptor descriptor = FileDescriptor::open(file, O_RDONLY);
  if (!descriptor.isOpen()) return Outcome::refused;
  QDBusConnection& bus = connection.bus();
  const QString token = QStringLiteral("pellora%1").arg(getpid());
  const QString interface = QStringLiteral("org.freedesktop.portal.Request");
  const QString signal = QStringLiteral("Response");
  bus.connect(DesktopPortal::kService, requestPath(bus, token), interface, signal, this,
              SLOT(answered(uint, QVariantMap)));
  QDBusMessage call =
      QDBusMessage::createMethodCall(DesktopPortal::kService, DesktopPortal::kPath,
                                     QStringLiteral("org.freedesktop.portal.OpenURI"), QStringLiteral("OpenFile"));
  call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(descriptor.number()))
       << QVariantMap{{QStringLiteral("handle_token"), token}};
  const QDBusReply<QDBusObjectPath> reply = bus.call(call, QDBus::BlockWithGui);
  if (!reply.isValid()) return Outcome::noPortal;
  if (!_answer) {
    QEventLoop loop;
    connect(this, &PortalFileOpener::hasAnswer, &loop, &QEventLoop::quit);
    QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
    loop.exec();
  }
  return !_answer || *_answer == kSuccess || *_answer == kCanceled ? Outcome::opened : Outcome::refused;
}

std::optional<std::string> PortalFileOpener::open(const std::filesystem::path& file,
                                                  const std::function<bool()>& startXdgOpen) {
  PortalFileOpener opener;
  if (opener.ask(file) == Outcome::opened) return std::nullopt;
  return openWithoutPortal(startXdgOpen);
}

}  // namespace pellora

namespace pellora::XdgOpen {

namespace {

constexpr char kProgram[] = "xdg-open";
constexpr char kNothing[] = "/dev/null";
constexpr int kFirstOfTheLibrary = 32;  // signals from here on are the C library's and of real time

// The descriptors and signals of a started program: nothing to read or write, every signal at its default.
class Surroundings {
 public:
  Surroundings() {
    posix_spawn_file_actions_init(&files);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      posix_spawn_file_actions_addopen(&files, descriptor, kNothing, O_RDWR, 0);
    posix_spawnattr_init(&attributes);
    sigset_t signals{};
    sigemptyset(&signals);
    for (int signal = 1; signal < kFirstOfTheLibrary; ++signal) sigaddset(&signals, signal);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
  }
  ~Surroundings() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  posix_spawn_file_actions_t files{};
  posix_spawnattr_t attributes{};
};

// Whether the process failed in this time. One whose end cannot be waited for has not.
bool hasFailed(pid_t process, std::chrono::milliseconds patience) {
  const FileDescriptor end(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
  pollfd waiting{end.number(), POLLIN, 0};
  if (!end.isOpen() || retried([&] { return poll(&waiting, 1, static_cast<int>(patience.count())); }) != 1)
    return false;
  int status = 0;
  return waitpid(process, &status, 0) == process && status != 0;
}

}  // namespace

bool start(const std::filesystem::path& file, std::chrono::milliseconds timeToFail) {
  const Surroundings surroundings;
  std::string program = kProgram;
  std::string argument = file.string();
  const std::array<char*, 3> arguments{program.data(), argument.data(), nullptr};
  pid_t process = 0;
  return posix_spawnp(&process, kProgram, &surroundings.files, &surroundings.attributes, arguments.data(), environ) ==
             0 &&
         !hasFailed(process, timeToFail);
}

}  // namespace pellora::XdgOpen
