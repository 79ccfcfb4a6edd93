// One line of a made-up conversation.
#pragma once

#include <string>

namespace pellora {

struct SampleLine {
  bool fromMe = false;
  std::string text;
  bool isAttachment = false;  // nothing but a picture
};

}  // namespace pellora
