#include "Pellora_for_Messages/Window/NoticeCard.h"

#include <QVBoxLayout>

#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

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
