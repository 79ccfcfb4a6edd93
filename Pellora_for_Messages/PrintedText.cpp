#include "Pellora_for_Messages/PrintedText.h"

#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <system_error>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

bool printText(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = retried([&] { return ::write(STDOUT_FILENO, text.data(), text.size()); });
    if (written < 0) {
      std::cerr << "The output cannot be written: " << std::generic_category().message(errno) << ".\n";
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace pellora
