// A card with a title, a body and one button, the window's default button.
#pragma once

#include <QLabel>
#include <functional>

#include "Pellora_for_Messages/Window/FailureText.h"
#include "Pellora_for_Messages/Window/HelperNotice.h"
#include "Pellora_for_Messages/Window/ProminentButton.h"
#include "Pellora_for_Messages/Window/RoundedPanel.h"
#include "Pellora_for_Messages/Window/SecondaryLabel.h"

namespace pellora {

class NoticeCard : public RoundedPanel {
  Q_OBJECT

 public:
  explicit NoticeCard(QWidget* parent = nullptr);

  // A failure's text is bounded in height; the other bodies are known.
  void showNotice(const HelperNotice& notice, bool isFailure);

  ProminentButton* button() const { return _button; }

 Q_SIGNALS:
  void pressed(pellora::HelperNotice::Action action);

 private:
  HelperNotice::Action _action = HelperNotice::Action::read;
  QLabel* _title;
  SecondaryLabel* _body;
  FailureText* _failure;
  ProminentButton* _button;
};

}  // namespace pellora
