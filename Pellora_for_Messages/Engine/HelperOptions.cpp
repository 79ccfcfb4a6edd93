#include "Pellora_for_Messages/Engine/HelperOptions.h"

namespace pellora {

std::optional<HelperOptions> HelperOptions::parse(const std::vector<std::string>& arguments, std::string& problem) {
  HelperOptions options;
  for (const std::string& argument : arguments) {
    if (argument == "--background") {
      options.background = true;
    } else if (argument == "--read-once") {
      options.mode = Mode::readOnce;
    } else if (argument == "--version" || argument == "-v") {
      options.mode = Mode::version;
      return options;
    } else if (argument == "--help" || argument == "-h") {
      options.mode = Mode::help;
      return options;
    } else {
      problem = (argument.starts_with("-") ? "There is no option \"" : "There is one argument too many: \"") +
                argument + "\".";
      return std::nullopt;
    }
  }
  if (options.background && options.mode == Mode::readOnce) {
    problem = "--background and --read-once exclude each other.";
    return std::nullopt;
  }
  return options;
}

std::string HelperOptions::helpText() {
  return R"(Usage: pellora-for-messages [--background] [--read-once] [--version] [--help]

Reads the local Messages history, read-only, and keeps short notes about the
people in Pellora. Without options it shows its window and stays in the tray.

Options:
  --background  start without a window (as at login)
  --read-once   read once without a display, print the status and exit
  --version     print the version and exit
  --help        print this help and exit

Exit codes of --read-once:
  0  read             3  the Messages database cannot be read
  2  wrong usage      4  Pellora has not shared a key and people yet
  6  already running  5  the read failed; the reason is on standard error

Examples:
  pellora-for-messages --read-once
  PELLORA_MODEL_URL=http://127.0.0.1:8080 pellora-for-messages --read-once

Environment: PELLORA_MODEL_URL, PELLORA_MODEL (the language model's server and
name), PELLORA_SECRET_STORE=file (the key in a file instead of the keyring).
)";
}

}  // namespace pellora
