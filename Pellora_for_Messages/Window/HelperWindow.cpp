#include "Pellora_for_Messages/Window/HelperWindow.h"

#include <QCheckBox>
#include <QEvent>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>

#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Pellora_for_Messages/Window/HelperLook.h"
#include "Pellora_for_Messages/Window/NoticeCard.h"
#include "Pellora_for_Messages/Window/Widgets.h"

namespace pellora {

namespace {

SecondaryLabel* makeCaption(const QString& text, QWidget* parent) {
  auto* caption = new SecondaryLabel(text, parent);
  caption->setFont(HelperLook::captionFont());
  return caption;
}

}  // namespace

HelperView::HelperView(HelperEngine& engine, Actions actions, QWidget* parent)
    : QWidget(parent), _engine(engine), _actions(std::move(actions)), _ticker(engine, [this] { refresh(); }) {
  setFixedWidth(HelperLook::kContentWidth);
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(HelperLook::kSpacing);
  layout->setContentsMargins(HelperLook::kContentMargin, HelperLook::kContentMargin, HelperLook::kContentMargin,
                             HelperLook::kContentMargin);
  layout->addWidget(makeHeader());
  layout->addWidget(makeProgress());
  _card = new NoticeCard(this);
  layout->addWidget(_card);
  layout->addWidget(makeLoginSection());
  layout->addWidget(makeFooter());
  layout->addWidget(makePrivacyParagraph());
  connect(_card, &NoticeCard::pressed, this, &HelperView::act);
  setTabOrder(_card->button(), _toggle);
  setTabOrder(_toggle, _quit);
  refresh();
}

QWidget* HelperView::makeHeader() {
  auto* header = new QWidget(this);
  auto* mark = new QLabel(header);
  mark->setObjectName(QStringLiteral("headerMark"));
  QIcon icon;
  for (const int scale : {1, 2, 3})
    icon.addFile(QStringLiteral(":/HeaderMark-%1.png").arg(HelperLook::kMarkSize * scale));
  mark->setPixmap(icon.pixmap(QSize(HelperLook::kMarkSize, HelperLook::kMarkSize), devicePixelRatioF()));
  mark->setAccessibleName(tr("Pellora for Messages"));
  auto* title = new QLabel(tr("Pellora for Messages"), header);
  title->setObjectName(QStringLiteral("title"));
  title->setTextFormat(Qt::PlainText);
  title->setWordWrap(true);
  title->setFont(HelperLook::titleFont());
  _status = new SecondaryLabel({}, header);
  _status->setObjectName(QStringLiteral("status"));
  auto* words = new QVBoxLayout;
  words->setSpacing(2);
  words->addStretch();
  words->addWidget(title);
  words->addWidget(_status);
  words->addStretch();
  auto* row = new QHBoxLayout(header);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(HelperLook::kSpacing);
  row->addWidget(mark, 0, Qt::AlignVCenter);
  row->addLayout(words, 1);
  return header;
}

QWidget* HelperView::makeProgress() {
  _progress = new ProgressLine(this);
  _progress->setObjectName(QStringLiteral("progress"));
  _progress->setAccessibleName(tr("Days read"));
  return _progress;
}

QWidget* HelperView::makeLoginSection() {
  auto* section = new RoundedPanel(this);
  section->setObjectName(QStringLiteral("loginSection"));
  section->setAccessibleName(tr("Open at login"));
  _toggle = new QCheckBox(HelperLook::withMnemonic(tr("Open at login"), u'O'), section);
  _toggle->setObjectName(QStringLiteral("opensAtLogin"));
  auto* caption = makeCaption(tr("Pellora for Messages only reads new messages while it's open."), section);
  caption->setObjectName(QStringLiteral("loginCaption"));
  _toggle->setAccessibleDescription(caption->text());
  auto* layout = new QVBoxLayout(section);
  layout->setSpacing(HelperLook::kCardSpacing);
  layout->setContentsMargins(HelperLook::kLoginPadding, HelperLook::kLoginPadding, HelperLook::kLoginPadding,
                             HelperLook::kLoginPadding);
  layout->addWidget(_toggle);
  layout->addWidget(caption);
  connect(_toggle, &QCheckBox::clicked, this, &HelperView::chooseOpensAtLogin);
  return section;
}

QWidget* HelperView::makeFooter() {
  auto* footer = new QWidget(this);
  auto* caption =
      makeCaption(tr("Pellora for Messages keeps running in the menu bar when you close this window."), footer);
  caption->setObjectName(QStringLiteral("footerCaption"));
  _quit = new QPushButton(HelperLook::withMnemonic(tr("Quit"), u'Q'), footer);
  _quit->setObjectName(QStringLiteral("quit"));
  // Return presses the card's button wherever the focus is, but not when it is here.
  _quit->setAutoDefault(false);
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    auto* shortcut = new QShortcut(QKeySequence(key), _quit);
    shortcut->setContext(Qt::WidgetShortcut);
    connect(shortcut, &QShortcut::activated, _quit, &QPushButton::click);
  }
  connect(_quit, &QPushButton::clicked, this, [this] { _actions.quit(); });
  auto* row = new QHBoxLayout(footer);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(HelperLook::kSpacing);
  row->addWidget(caption, 1);
  row->addWidget(_quit, 0, Qt::AlignVCenter);
  return footer;
}

QWidget* HelperView::makePrivacyParagraph() {
  auto* paragraph = makeCaption(
      tr("Your messages never leave this Mac. For the people already in Pellora, it writes a short summary of your "
         "last 30 days of texts, the day you last wrote, and any big news for you to add; only that reaches your "
         "other devices, through your iCloud. Group chats, numbers and people who aren't in Pellora are skipped and "
         "never saved."),
      this);
  paragraph->setObjectName(QStringLiteral("privacy"));
  return paragraph;
}

void HelperView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  _ticker.setActive(true);
}

void HelperView::hideEvent(QHideEvent* event) {
  _ticker.setActive(false);
  QWidget::hideEvent(event);
}

void HelperView::focusFirst() {
  if (_card->isVisibleTo(this))
    _card->button()->setFocus();
  else
    setFocus();
}

int HelperView::contentHeight() const {
  return layout()->totalHeightForWidth(HelperLook::kContentWidth);
}

void HelperView::refresh() {
  const QString line = StatusTicker::line(_engine);
  if (_status->text() != line) _status->setText(line);
  _toggle->setChecked(_engine.opensAtLogin());
  refreshCard();
  refreshProgress();
}

void HelperView::refreshCard() {
  const auto notice = HelperNotice::forState(_engine.state());
  const bool wasShown = _card->isVisibleTo(this);
  if (notice) _card->showNotice(*notice, _engine.state().kind == HelperEngine::State::Kind::failed);
  // A card that goes away must not leave the keyboard on the next control, nor a new one be out of the keyboard's
  // reach.
  const QWidget* focused = window()->focusWidget();
  const bool isOnCard = focused != nullptr && _card->isAncestorOf(focused);
  const bool isNowhere = focused == nullptr || focused == this || focused == window();
  if (wasShown && !notice && isOnCard) setFocus();
  _card->setVisible(notice.has_value());
  _card->button()->setDefault(notice.has_value());
  if (!wasShown && notice && isNowhere) _card->button()->setFocus();
}

void HelperView::refreshProgress() {
  const bool isShown = _engine.state().kind == HelperEngine::State::Kind::reading && _engine.daysToAnalyze() > 0;
  _progress->setVisible(isShown);
  if (!isShown) return;
  _progress->setRange(0, static_cast<int>(_engine.daysToAnalyze()));
  _progress->setValue(static_cast<int>(_engine.daysAnalyzed()));
}

void HelperView::act(HelperNotice::Action action) {
  switch (action) {
    case HelperNotice::Action::openFullDiskAccess:
      _actions.openFullDiskAccess();
      break;
    case HelperNotice::Action::read:
      _engine.requestRead();
      break;
  }
}

void HelperView::chooseOpensAtLogin(bool on) {
  _engine.setOpensAtLogin(on);
  _toggle->setChecked(_engine.opensAtLogin());
}

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
  _scroller->setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
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
