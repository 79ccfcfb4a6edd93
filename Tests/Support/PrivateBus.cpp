#include "PrivateBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <atomic>
#include <fstream>
#include <memory>

namespace pellora::support {

namespace {

constexpr char kConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateBus::PrivateBus() {
  const std::string folder = _folder.path().string();
  for (const char* name : {"data", "config", "cache", "runtime"}) {
    std::filesystem::create_directory(_folder / name);
    std::filesystem::permissions(_folder / name, std::filesystem::perms::owner_all);
  }
  std::string configuration = kConfiguration;
  configuration.replace(configuration.find('@'), 1, folder);
  std::ofstream(_folder / "bus.conf") << configuration;
  _environment.set("HOME", folder);
  _environment.set("XDG_DATA_HOME", folder + "/data");
  _environment.set("XDG_CONFIG_HOME", folder + "/config");
  _environment.set("XDG_CACHE_HOME", folder + "/cache");
  _environment.set("XDG_RUNTIME_DIR", folder + "/runtime");
  _daemon = std::make_unique<ChildProcess>(
      "dbus-daemon", std::vector<std::string>{"--config-file=" + folder + "/bus.conf", "--nofork", "--nopidfile",
                                              "--nosyslog", "--print-address=1"});
  _address = _daemon->readLine();
  _environment.set("DBUS_SESSION_BUS_ADDRESS", _address);
}

bool PrivateBus::hasName(const std::string& name) const {
  static std::atomic<int> counter = 0;
  const QString connectionName = QStringLiteral("private-bus-%1").arg(++counter);
  bool result = false;
  {
    const QDBusConnection connection = QDBusConnection::connectToBus(QString::fromStdString(_address), connectionName);
    result = connection.isConnected() && connection.interface()->isServiceRegistered(QString::fromStdString(name));
  }
  QDBusConnection::disconnectFromBus(connectionName);
  return result;
}

}  // namespace pellora::support
