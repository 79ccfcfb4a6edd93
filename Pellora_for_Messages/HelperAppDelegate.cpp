#include "Pellora_for_Messages/HelperAppDelegate.h"

#include <QGuiApplication>
#include <QSessionManager>

namespace pellora {

HelperAppDelegate::HelperAppDelegate(QGuiApplication& application) {
  QGuiApplication::setQuitOnLastWindowClosed(shouldTerminateAfterLastWindowClosed());
  // Nothing needs saving at the end of a session: files are whole at every moment and an abandoned read is repeated.
  connect(&application, &QGuiApplication::commitDataRequest, this,
          [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
}

}  // namespace pellora
