#include "Companion/Commands/UsageText.h"

#include <string_view>

#include "Companion/Output/DisplayText.h"

namespace pellora::UsageText {

namespace {

class PlainHelp : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    std::string value =
        option->get_items_expected_max() == 0 || option->get_positional() ? "" : " " + option->get_type_name();
    if (!option->get_default_str().empty()) value += " (" + option->get_default_str() + " by default)";
    return value;
  }
};

std::string quoted(const std::string& argument) {
  return "\"" + display::printable(argument) + "\"";
}

template <class Error>
bool is(const CLI::ParseError& error) {
  return dynamic_cast<const Error*>(&error) != nullptr;
}

bool hasSubcommands(const CLI::App& command) {
  return !command.get_subcommands([](const CLI::App*) { return true; }).empty();
}

// The library begins what it says with the option's name, as in "--count: Value x not in range".
std::string optionOf(const std::string& sentence) {
  return sentence.substr(0, sentence.find_first_of(": "));
}

// What was given and belongs to nothing.
std::string whatIsExtra(const CLI::App& command, const std::string& argument) {
  if (argument.starts_with("-") && argument != "-") return "There is no option " + quoted(argument) + ".";
  if (hasSubcommands(command)) return "There is no command " + quoted(argument) + ".";
  return "There is one argument too many: " + quoted(argument) + ".";
}

}  // namespace

std::shared_ptr<CLI::FormatterBase> plainHelp() {
  return std::make_shared<PlainHelp>();
}

std::string whatIsWrong(const CLI::App& command, const CLI::ParseError& error) {
  const std::string sentence = display::printable(error.what());
  const auto rest = command.remaining(true);
  // An option that does not exist explains what is missing better than what is missing does.
  if ((is<CLI::ExtrasError>(error) || is<CLI::RequiredError>(error)) && !rest.empty())
    return whatIsExtra(command, rest.front());
  if (is<CLI::RequiredError>(error) && hasSubcommands(command)) return "A command is missing.";
  if (is<CLI::ExcludesError>(error)) {
    const std::string other = sentence.substr(sentence.rfind(' ') + 1);
    return optionOf(sentence) + " and " + other + " cannot be used together.";
  }
  if (is<CLI::ArgumentMismatch>(error)) {
    const std::string option = optionOf(sentence);
    if (sentence.find("flag override") == std::string::npos) return option + " needs a value.";
    return (option.starts_with("-") ? "" : "--") + option + " takes no value.";
  }
  if (is<CLI::ValidationError>(error)) {
    const auto colon = sentence.find(": ");
    return colon == std::string::npos ? sentence : sentence.substr(0, colon) + sentence.substr(colon + 1);
  }
  return sentence.ends_with('.') ? sentence : sentence + ".";
}

}  // namespace pellora::UsageText
