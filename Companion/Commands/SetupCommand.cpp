#include "Companion/Commands/SetupCommand.h"

#include <unistd.h>

#include <QCoroTask>
#include <iostream>

#include "Companion/Commands/StatusReport.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/StandardOutput.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

struct Step {
  std::string name;
  bool isDone = false;
  std::string found;                 // what there is, or what is wrong
  std::string question;              // what to ask for when it is missing
  std::vector<std::string> command;  // which takes the answer as its last argument
};

Step historyStep(const StatusReport& report) {
  Step step{"History", report.store.messages.has_value(), {}, {}, {"history", "add"}};
  step.found = step.isDone ? display::counted(static_cast<std::size_t>(*report.store.messages), "message", "messages")
                           : report.store.reason;
  step.question = "Where is it (a database, a folder with chat.db, a phone backup)?";
  return step;
}

Step peopleStep(const StatusReport& report) {
  Step step{"People", report.people > 0, display::counted(report.people, "person", "people"), {}, {"people", "import"}};
  step.question = "Which address book (vCard, CSV or JSON)?";
  return step;
}

Step modelStep() {
  const auto model = platform_adapters::languageModel();
  const ModelReport report = QCoro::waitFor(model->report());
  Step step{
      "Language model", report.isAvailable, report.isAvailable ? report.model : report.reason, {}, {"model", "use"}};
  step.question = "Where does a model server listen (http://127.0.0.1:PORT or unix:/path)?";
  return step;
}

Step loginStep() {
  const bool opens = platform_adapters::opensAtLogin();
  return {"Start at login", opens, opens ? "on" : "off", "Start the helper at login (y)?", {}};
}

std::vector<Step> stepsNow(const CompanionContext& context) {
  const StatusReport report = StatusReport::gather(context, ChatDatabase::defaultURL());
  return {historyStep(report), peopleStep(report), modelStep(), loginStep()};
}

std::string lineOf(const Step& step) {
  return display::padded(step.name, 16) + (step.isDone ? "there: " : "missing: ") + display::printable(step.found) +
         "\n";
}

std::string jsonOf(const std::vector<Step>& steps) {
  return JsonValue::array(
             steps,
             [](const Step& step) {
               return JsonValue::object({{"step", step.name}, {"done", step.isDone}, {"found", step.found}});
             })
             .dump() +
         "\n";
}

// Empty to skip the step, and at the end of the input.
std::string answerTo(const std::string& question) {
  standard_output::write("  " + question + " Enter skips: ");
  std::string answer;
  if (!std::getline(std::cin, answer)) standard_output::write("\n");
  return std::string(text::trimmed(answer));
}

void take(const Step& step, const SetupCommand& setup) {
  const std::string answer = answerTo(step.question);
  if (answer.empty()) return;
  if (step.command.empty()) {
    const bool isYes = answer == "y" || answer == "Y" || answer == "yes";
    if (isYes && !platform_adapters::openAtLogin()) standard_output::write("  That could not be switched on.\n");
    return;
  }
  std::vector<std::string> command = step.command;
  command.push_back(answer);
  setup.runCommand(command);
}

}  // namespace

CommandResult SetupCommand::run(const CompanionContext& context) const {
  const bool isOnTerminal = ::isatty(STDOUT_FILENO) == 1 && !json && runCommand;
  std::vector<Step> steps = stepsNow(context);
  if (isOnTerminal) {
    for (std::size_t index = 0; index < steps.size(); ++index) {
      standard_output::write(lineOf(steps[index]));
      if (!steps[index].isDone) take(steps[index], *this);
    }
    steps = stepsNow(context);
  }
  std::vector<std::string> missing;
  for (const Step& step : steps)
    if (!step.isDone) missing.push_back(step.name);
  CommandResult result;
  if (json) {
    result.output = jsonOf(steps);
  } else if (!isOnTerminal) {
    for (const Step& step : steps) result.output += lineOf(step);
  }
  if (!missing.empty()) result.complaint = "Still missing: " + display::listed(missing) + ".";
  if (missing.empty() && !json) result.output += "Everything is in place; start the helper: pellora-for-messages\n";
  return result;
}

}  // namespace pellora
