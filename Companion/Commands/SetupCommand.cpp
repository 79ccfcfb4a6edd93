#include <unistd.h>

#include <QCoroTask>
#include <algorithm>
#include <string_view>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/StatusReport.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/Output/Terminal.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kStepWidth = 16;

struct Step {
  std::string name;
  bool isDone = false;
  std::string found;                                  // what there is, or what is wrong
  std::string remedy;                                 // how to do it some other time
  std::string question;                               // empty when there is nothing to ask
  std::function<bool(const std::string&)> take = {};  // the answer; false to ask again
};

bool isYes(const std::string& answer) {
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes";
}

// Programs like this one run as if they were called from a shell, which knows "~/" and takes off what a path that was
// dragged into the terminal is quoted with.
std::string typedPath(const std::string& answer, const std::filesystem::path& home) {
  std::string path;
  const char quote = answer.front();
  if (answer.size() > 2 && (quote == '\'' || quote == '"') && answer.back() == quote) {
    path = answer.substr(1, answer.size() - 2);
  } else {
    for (std::size_t index = 0; index < answer.size(); ++index) {
      if (answer[index] == '\\' && index + 1 < answer.size()) ++index;
      path += answer[index];
    }
  }
  if (path.starts_with("~/")) path = (home / path.substr(2)).string();
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

class Steps {
 public:
  Steps(const CompanionContext& context, const SetupCommand& setup) : _context(context), _setup(setup) {}

  // As things are now.
  std::vector<Step> look() {
    // The place of the key may have been chosen since.
    const auto secrets = platform_adapters::secretStore();
    const CompanionContext context{*secrets,          _context.folder, _context.runtime,  _context.now,
                                   _context.calendar, _context.style,  _context.settings, _context.store};
    StatusReport report = StatusReport::gather(context);
    report.presence = platform_adapters::helperPresence();
    _next = report.nextStep();
    std::vector<Step> steps{history(report), people(report), model(), login()};
    if (!report.key.key && report.key.kind != KeyState::Kind::none) steps.insert(steps.begin() + 1, key(report.key));
    return steps;
  }

  // The next step, as of the last look.
  const std::string& next() const { return _next; }

 private:
  bool runs(const Words& words) const { return _setup.runCommand(words) == 0; }

  // The store is Library/Messages/chat.db of the home folder.
  std::string pathOf(const std::string& answer) const {
    return typedPath(answer, _context.store.parent_path().parent_path().parent_path());
  }

  Step history(const StatusReport& report) const {
    Step step{"History", report.store.isReadable(), report.store.sentence(), report.store.nextStep(), {}};
    if (step.isDone)
      step.found = display::counted(static_cast<std::size_t>(*report.store.messages), "message", "messages");
    step.question = "Where is it (a database, a folder with chat.db, a phone backup)?";
    step.take = [this](const std::string& answer) { return runs({"history", "add", pathOf(answer)}); };
    return step;
  }

  Step key(const KeyState& state) const {
    Step step{"Exchange key", false, state.sentence(), {}, {}};
    if (!state.lacksKeyring()) return step;
    step.question = "Keep the key in a file (y)?";
    step.take = [this](const std::string& answer) { return !isYes(answer) || runs({"key", "use-file"}); };
    return step;
  }

  Step people(const StatusReport& report) const {
    Step step{"People", report.people > 0, report.peopleText(), "pellora-companion people import FILE", {}};
    step.question = "Which address book (vCard, CSV, LDIF, jCard or JSON)?";
    step.take = [this](const std::string& answer) { return runs({"people", "import", pathOf(answer)}); };
    return step;
  }

  Step model() const {
    const auto configured = platform_adapters::languageModel();
    const ModelReport report = QCoro::waitFor(configured->report());
    Step step{"Language model", report.isAvailable, report.isAvailable ? report.model : report.reason, {}, {}};
    step.remedy = "For sentences, news and meetups; everything else works without one: pellora-companion model use URL";
    step.question = "Where does a model server listen (http://127.0.0.1:PORT or unix:/path)?";
    std::string proposal;
    if (!report.isAvailable && ModelAddress::current().source == ModelAddress::Source::defaultSocket) {
      const auto servers = platform_adapters::modelServersAtUsualPlaces();
      const auto usable =
          std::find_if(servers.begin(), servers.end(), [](const auto& server) { return server.report.isAvailable; });
      if (usable != servers.end()) {
        proposal = usable->url;
        step.found = "none chosen yet; " + usable->url + " has " + usable->report.model;
        step.question = "Use it (y), or which other address (http://127.0.0.1:PORT or unix:/path)?";
      }
    }
    step.take = [this, proposal](const std::string& answer) {
      return runs({"model", "use", isYes(answer) && !proposal.empty() ? proposal : answer});
    };
    return step;
  }

  Step login() const {
    const bool opens = platform_adapters::opensAtLogin();
    Step step{"Start at login", opens, opens ? "on" : "off", "The helper's first start switches it on.", {}};
    step.question = "Start the helper at login (y)?";
    step.take = [](const std::string& answer) {
      if (isYes(answer) && !platform_adapters::openAtLogin()) terminal::show("That could not be switched on.\n");
      return true;
    };
    return step;
  }

  const CompanionContext& _context;
  const SetupCommand& _setup;
  std::string _next;
};

std::string row(const CompanionContext& context, const std::string& label, const std::string& value) {
  std::string text;
  for (const std::string& line : display::wrapped(display::printable(value), context.style.textWidth() - kStepWidth))
    text += display::padded(text.empty() ? label : "", kStepWidth) + line + "\n";
  return text;
}

std::string textOf(const Step& step, const CompanionContext& context) {
  return row(context, step.name, (step.isDone ? "there: " : "missing: ") + step.found);
}

std::string jsonOf(const std::vector<Step>& steps) {
  return JsonValue::array(
             steps,
             [](const Step& step) {
               return JsonValue::object(
                   {{"step", step.name}, {"done", step.isDone}, {"found", step.found}, {"remedy", step.remedy}});
             })
             .dump() +
         "\n";
}

// Asks until the answer is taken or skipped.
void ask(const Step& step) {
  while (!step.question.empty()) {
    const auto answer = terminal::line(step.question + " Enter skips:");
    if (!answer) terminal::show("\n");
    const std::string trimmed(text::trimmed(answer.value_or("")));
    if (trimmed.empty() || step.take(trimmed)) return;
  }
}

}  // namespace

CommandResult SetupCommand::run(const CompanionContext& context) const {
  Steps steps(context, *this);
  std::vector<Step> found = steps.look();
  const bool asks = terminal::isThere() && !json && runCommand;
  if (asks) {
    for (std::size_t index = 0; index < found.size(); ++index) {
      standard_output::write(textOf(found[index], context));
      if (!found[index].isDone) ask(found[index]);
    }
    found = steps.look();
  }
  std::vector<std::string> missing;
  CommandResult result;
  for (const Step& step : found) {
    if (!step.isDone) missing.push_back(step.name);
    if (asks || json) continue;
    result.output += textOf(step, context);
    if (!step.isDone && !step.remedy.empty()) result.output += row(context, "", step.remedy);
  }
  if (!missing.empty()) result.complaint = "Still missing: " + display::listed(missing) + ".";
  if (json) result.output = jsonOf(found);
  if (!json) result.output += row(context, "Next step", steps.next());
  return result;
}

}  // namespace pellora
