#include "Pellora_for_Messages/Window/NoticeCard.h"

#include <QEvent>
#include <QTextBlock>
#include <QTextLayout>
#include <QVBoxLayout>
#include <cmath>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

std::optional<HelperNotice> HelperNotice::forState(const HelperEngineState& state) {
  using Kind = HelperEngineState::Kind;
  switch (state.kind) {
    case Kind::needsFullDiskAccess:
      return HelperNotice{
          QStringLiteral("Allow Full Disk Access"),
          QStringLiteral("macOS keeps your Messages history private. Turn on Pellora for Messages in Full Disk Access "
                         "so it can read it on this Mac."),
          QStringLiteral("Open Full Disk Access"), u'F', Action::openFullDiskAccess};
    case Kind::waitingForPellora:
      return HelperNotice{
          QStringLiteral("Open Pellora on this Mac"),
          QStringLiteral("Pellora tells this helper who to look for. Open Pellora once, then come back."),
          QStringLiteral("Check Again"), u'C', Action::read};
    case Kind::failed:
      return HelperNotice{QStringLiteral("Couldn't read Messages"), QString::fromStdString(state.failure),
                          QStringLiteral("Try Again"), u'T', Action::read};
    case Kind::starting:
    case Kind::reading:
    case Kind::idle:
      break;
  }
  return std::nullopt;
}

FailureText::FailureText(QWidget* parent) : QPlainTextEdit(parent) {
  setReadOnly(true);
  setFrameStyle(QFrame::NoFrame);
  setTextInteractionFlags(Qt::TextSelectableByMouse);
  setTabChangesFocus(true);
  setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  document()->setDocumentMargin(0);
  viewport()->setAutoFillBackground(false);
  adoptColor();
}

void FailureText::showText(const QString& text) {
  if (toPlainText() != text) setPlainText(text);
  fitHeight();
}

void FailureText::resizeEvent(QResizeEvent* event) {
  QPlainTextEdit::resizeEvent(event);
  fitHeight();
}

void FailureText::changeEvent(QEvent* event) {
  QPlainTextEdit::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) adoptColor();
  if (event->type() == QEvent::FontChange) fitHeight();
}

void FailureText::fitHeight() {
  int lines = 0;
  double height = 0;  // of as many whole lines as are shown
  for (QTextBlock block = document()->begin(); block.isValid() && lines <= kMostLines; block = block.next()) {
    blockBoundingRect(block);  // lays the block out
    const QTextLayout& layout = *block.layout();
    for (int line = 0; line < layout.lineCount() && lines <= kMostLines; ++line)
      if (++lines <= kMostLines) height += layout.lineAt(line).height();
  }
  // Keys have something to do here only where there is something to scroll.
  setFocusPolicy(lines > kMostLines ? Qt::StrongFocus : Qt::ClickFocus);
  setFixedHeight(static_cast<int>(std::ceil(qMax(height, QFontMetricsF(font()).height()))) + 2);
}

void FailureText::adoptColor() {
  const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QPalette();
  const QColor color = HelperLook::secondary(surroundings);
  if (palette().color(QPalette::Text) == color) return;
  QPalette own;
  own.setColor(QPalette::Text, color);
  own.setColor(QPalette::Base, Qt::transparent);
  setPalette(own);
}

NoticeCard::NoticeCard(QWidget* parent)
    : RoundedPanel(parent),
      _title(new QLabel(this)),
      _body(new SecondaryLabel({}, this)),
      _failure(new FailureText(this)),
      _button(new ProminentButton(this)) {
  setObjectName(QStringLiteral("card"));
  _title->setObjectName(QStringLiteral("cardTitle"));
  _title->setTextFormat(Qt::PlainText);
  _title->setFont(HelperLook::headlineFont());
  _title->setWordWrap(true);
  _body->setObjectName(QStringLiteral("cardBody"));
  _failure->setObjectName(QStringLiteral("cardFailure"));
  _button->setObjectName(QStringLiteral("cardButton"));
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(HelperLook::kCardSpacing);
  layout->setContentsMargins(HelperLook::kCardPadding, HelperLook::kCardPadding, HelperLook::kCardPadding,
                             HelperLook::kCardPadding);
  layout->addWidget(_title);
  layout->addWidget(_body);
  layout->addWidget(_failure);
  layout->addWidget(_button, 0, Qt::AlignLeft);
  connect(_button, &QPushButton::clicked, this, [this] { Q_EMIT pressed(_action); });
}

void NoticeCard::showNotice(const HelperNotice& notice, bool isFailure) {
  _action = notice.action;
  setAccessibleName(notice.title);
  _title->setText(notice.title);
  _body->setVisible(!isFailure);
  _failure->setVisible(isFailure);
  if (isFailure) {
    _failure->setAccessibleName(notice.title);
    _failure->showText(notice.body);
  } else {
    _body->setText(notice.body);
  }
  _button->setText(HelperLook::withMnemonic(notice.button, notice.mnemonic));
  _button->setAccessibleDescription(isFailure ? QString() : notice.body);
  _button->updateGeometry();
}

}  // namespace pellora
