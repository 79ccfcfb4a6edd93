#include "Pellora_for_Messages/Window/HelperWindow.h"

#include <QIcon>
#include <QShortcut>
#include <QVBoxLayout>

namespace pellora {

HelperWindow::HelperWindow(HelperEngine& engine, HelperView::Actions actions) : QDialog(nullptr, Qt::Window) {
  setObjectName(QStringLiteral("main"));
  setWindowTitle(tr("Pellora for Messages"));
  QIcon icon;
  for (const int size : {16, 32, 48, 128}) icon.addFile(QStringLiteral(":/app.pellora.Messages-%1.png").arg(size));
  setWindowIcon(icon);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  auto* view = new HelperView(engine, std::move(actions), this);
  layout->addWidget(view);
  view->focusFirst();
  connect(new QShortcut(QKeySequence(QStringLiteral("Ctrl+W")), this), &QShortcut::activated, this, &QDialog::close);
}

void HelperWindow::present() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
}

}  // namespace pellora
