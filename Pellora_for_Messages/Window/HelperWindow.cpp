#include "Pellora_for_Messages/Window/HelperWindow.h"

#include <QEvent>
#include <QIcon>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

namespace {

constexpr int kTitleBar = 48;  // device-independent pixels kept free for the title bar that the desktop adds

}  // namespace

HelperWindow::HelperWindow(HelperEngine& engine, HelperView::Actions actions)
    : QDialog(nullptr, Qt::Window), _scroller(new QScrollArea(this)) {
  setObjectName(QStringLiteral("main"));
  setWindowTitle(tr("Pellora for Messages"));
  QIcon icon;
  for (const int size : {16, 32, 48, 128}) icon.addFile(QStringLiteral(":/app.pellora.Messages-%1.png").arg(size));
  setWindowIcon(icon);
  for (const auto& [keys, deed] : {std::pair(QStringLiteral("Ctrl+W"), std::function<void()>([this] { close(); })),
                                   std::pair(QStringLiteral("Ctrl+Q"), actions.quit)})
    connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, this, deed);
  _view = new HelperView(engine, std::move(actions));
  _scroller->setFrameShape(QFrame::NoFrame);
  _scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  _scroller->setWidgetResizable(true);
  _scroller->setWidget(_view);
  _scroller->viewport()->setAutoFillBackground(false);
  _view->setAutoFillBackground(false);
  _view->installEventFilter(this);
  _view->focusFirst();
  fit();
}

bool HelperWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == _view && event->type() == QEvent::LayoutRequest) fit();
  return QDialog::eventFilter(watched, event);
}

void HelperWindow::showEvent(QShowEvent* event) {
  fit();
  QDialog::showEvent(event);
}

void HelperWindow::fit() {
  const int needed = _view->contentHeight();
  const int most = qMax(kTitleBar, screen()->availableGeometry().height() - kTitleBar);
  const bool scrolls = needed > most;
  // Arrow keys have something to do only where there is something to scroll.
  _scroller->setFocusPolicy(scrolls ? Qt::StrongFocus : Qt::NoFocus);
  const int bar = scrolls ? _scroller->verticalScrollBar()->sizeHint().width() : 0;
  setFixedSize(HelperLook::kContentWidth + bar, qMin(needed, most));
  _scroller->resize(size());
}

void HelperWindow::present() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
}

}  // namespace pellora
