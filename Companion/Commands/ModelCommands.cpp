#include <QCoroTask>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <vector>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/ModelWork.h"
#include "Companion/Evaluation/Evaluation.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/Terminal.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"

namespace pellora {

namespace {

using display::printable;
using platform_adapters::FoundModelServer;

// Fewer than this do not hold a long day's messages, the instructions and the answer.
constexpr std::int64_t kRoomyContextTokens = 4096;
constexpr std::size_t kColumn = 11;

// Everything that the command found out.
struct Findings {
  ModelReport report;
  std::vector<ModelTry> tries;
  std::vector<FoundModelServer> elsewhere;  // at the usual places
  std::optional<ModelAccount> work;
};

std::string secondsText(double seconds) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.1f s", seconds);
  return digits;
}

std::string contextText(const std::optional<std::int64_t>& tokens) {
  if (!tokens) return "unknown";
  const std::string text = std::to_string(*tokens) + " tokens";
  return *tokens < kRoomyContextTokens ? text + " (small: long conversations will go without notes)" : text;
}

std::string row(const std::string& name, const std::string& value) {
  return value.empty() ? "" : display::padded(name, kColumn) + value + "\n";
}

std::string listOf(const std::vector<std::string>& models) {
  std::string text;
  for (const std::string& model : models) text += (text.empty() ? "" : ", ") + printable(model);
  return text.empty() ? "no model" : text;
}

// The servers that listen at the usual places, and the line that sets the first usable one up.
std::string elsewhereText(const std::vector<FoundModelServer>& servers) {
  std::string text;
  std::string proposal;
  for (const FoundModelServer& server : servers) {
    text += "  " + server.url + "  of " + printable(server.owner) + ": " +
            (server.report.isAvailable ? listOf(server.report.models) : printable(server.report.trouble)) + "\n";
    if (proposal.empty() && server.report.isAvailable)
      proposal = "pellora-companion model use " + server.url + " --model " + printable(server.report.model);
  }
  if (text.empty()) return {};
  return "\nFound on this machine:\n" + text + (proposal.empty() ? "" : "\nTo use it:\n  " + proposal + "\n");
}

std::string table(const Findings& found, Instant now) {
  const ModelReport& report = found.report;
  std::string text = row("Available", report.isAvailable ? "yes" : "no") + row("Model", printable(report.model)) +
                     row("Where", printable(report.where));
  if (report.isAvailable) text += row("Server", report.server) + row("Context", contextText(report.contextTokens));
  if (found.work) {
    text += row("Last read", model_work::cost(found.work->lastRead)) +
            row("Waiting", model_work::waiting(*found.work, now)) + row("Will take", model_work::estimate(*found.work));
  }
  for (const ModelTry& made : found.tries) {
    text += "\n" + std::string(made.kind == "plain" ? "Plain question, " : "Guided question, ") +
            secondsText(made.seconds) + "\n";
    if (!made.answer.empty()) text += "  " + printable(made.answer) + "\n";
    if (!made.verdict.empty()) text += "  " + printable(made.verdict) + "\n";
    if (!made.isAnswered()) text += "  no answer: the model server " + printable(made.error) + "\n";
  }
  return text + elsewhereText(found.elsewhere);
}

JsonValue json(const ModelTry& made) {
  JsonValue item = JsonValue::object({{"kind", made.kind}, {"answered", made.isAnswered()}, {"seconds", made.seconds}});
  if (!made.answer.empty()) item.set("answer", printable(made.answer));
  if (!made.verdict.empty()) item.set("verdict", printable(made.verdict));
  if (!made.isAnswered()) item.set("reason", printable(made.error));
  return item;
}

JsonValue json(const FoundModelServer& server) {
  JsonValue item = JsonValue::object({{"url", server.url},
                                      {"owner", printable(server.owner)},
                                      {"available", server.report.isAvailable},
                                      {"models", JsonValue::array(server.report.models, [](const std::string& model) {
                                         return JsonValue(printable(model));
                                       })}});
  if (!server.report.isAvailable) item.set("reason", printable(server.report.reason));
  return item;
}

std::string jsonText(const Findings& found) {
  const ModelReport& report = found.report;
  JsonValue object = JsonValue::object({{"available", report.isAvailable}});
  if (!report.model.empty()) object.set("model", printable(report.model));
  if (!report.where.empty()) object.set("where", printable(report.where));
  if (!report.server.empty()) object.set("server", report.server);
  if (report.contextTokens) object.set("contextTokens", *report.contextTokens);
  if (!report.reason.empty()) object.set("reason", printable(report.reason));
  if (!found.tries.empty())
    object.set("tries", JsonValue::array(found.tries, [](const ModelTry& made) { return json(made); }));
  if (!found.elsewhere.empty())
    object.set("found", JsonValue::array(found.elsewhere, [](const FoundModelServer& server) { return json(server); }));
  if (found.work) object.set("work", model_work::json(*found.work));
  return object.dump(JsonValue::Order::sorted) + "\n";
}

// The obstacles between the stored choice and the helper, as further sentences; empty without any.
std::string whatToDoNow() {
  std::string text;
  if (platform_adapters::helperPresence() == platform_adapters::HelperPresence::running)
    text += " It is running: quit it and start it again.";
  if (ModelAddress::current().source == ModelAddress::Source::environment)
    text += " PELLORA_MODEL_URL is set here and wins over the choice where it is set.";
  return text;
}

}  // namespace

CommandResult ModelCommand::run(const CompanionContext& context) const {
  const Progress progress("Asking the language model");
  const auto model = platform_adapters::languageModel();
  Findings found;
  found.report = QCoro::waitFor(model->report());
  if (found.report.isAvailable && tries) {
    found.tries.push_back(QCoro::waitFor(ModelTry::plain(*model)));
    found.tries.push_back(QCoro::waitFor(ModelTry::guided(*model)));
  }
  const bool isSetUp = ModelAddress::current().source != ModelAddress::Source::defaultSocket;
  if (!found.report.isAvailable && !isSetUp) found.elsewhere = platform_adapters::modelServersAtUsualPlaces();
  found.work = model_work::load(context);
  std::string wrong = found.report.reason;
  for (const ModelTry& one : found.tries) {
    if (wrong.empty() && !one.isAnswered())
      wrong = "The " + one.kind + " question failed: the model server " + one.error + ".";
  }
  return {json ? jsonText(found) : table(found, context.now), printable(wrong)};
}

CommandResult ModelUseCommand::run(const CompanionContext&) const {
  ModelSettings settings{url, model, keyFile.empty() ? "" : std::filesystem::absolute(keyFile).string()};
  const ModelEndpoint endpoint = settings.endpoint();
  if (!endpoint.isUsable()) throw CompanionFailure(printable(endpoint.refusal));
  ModelReport report;
  {
    const Progress progress("Asking the model server");
    ChatCompletionsLanguageModel asked(endpoint, model);
    report = QCoro::waitFor(asked.report());
  }
  // A model that is pulled later must not take the place of the one that was chosen now.
  if (settings.model.empty()) settings.model = report.model;
  settings.save();
  const std::string what = settings.model.empty() ? "whichever model fits" : printable(settings.model);
  std::string text = "The helper will ask " + what + " at " + printable(endpoint.where) + " from its next start on.";
  text += whatToDoNow() + "\n";
  if (!report.isAvailable) text += "Not available now: " + printable(report.reason) + "\n";
  if (!json) return {text, {}};
  JsonValue object = JsonValue::object({{"available", report.isAvailable}, {"where", printable(endpoint.where)}});
  if (!settings.model.empty()) object.set("model", printable(settings.model));
  if (!report.isAvailable) object.set("reason", printable(report.reason));
  return {object.dump(JsonValue::Order::sorted) + "\n", {}};
}

CommandResult ModelForgetCommand::run(const CompanionContext&) const {
  const bool wasKept = ModelSettings::forget();
  if (json) return {JsonValue::object({{"forgotten", wasKept}}).dump() + "\n", {}};
  return {wasKept
              ? "The helper will look for a model at the default socket from its next start on." + whatToDoNow() + "\n"
              : "No model server had been chosen.\n",
          {}};
}

namespace {

constexpr std::size_t kLargestCasesFile = std::size_t{64} << 20;  // bytes

std::vector<EvaluationCase> casesOf(const std::string& file) {
  if (file.empty()) return EvaluationCase::builtIn();
  const auto text = AtomicFile::read(file, kLargestCasesFile);
  if (!text) throw CompanionFailure("The file " + display::printable(file) + " cannot be read.");
  try {
    std::vector<EvaluationCase> cases = EvaluationCase::parseAll(*text);
    if (cases.empty()) throw CompanionFailure("The file " + display::printable(file) + " holds no cases.");
    return cases;
  } catch (const std::invalid_argument& error) {
    throw CompanionFailure(display::printable(file) + ": " + error.what());
  }
}

CommandResult withoutModelResult(const std::vector<EvaluationCase>& cases, bool json) {
  const EvaluationFigures ceiling = Evaluation::ceiling(cases);
  const EvaluationFigures random = Evaluation::randomFloor(cases);
  const EvaluationFigures empty = Evaluation::emptyFloor(cases);
  if (json)
    return {JsonValue::object({{"ceiling", ceiling.json()}, {"empty", empty.json()}, {"random", random.json()}})
                    .dump(JsonValue::Order::sorted) +
                "\n",
            {}};
  return {
      "True answers\n" + ceiling.table() + "\nRandom answers\n" + random.table() + "\nEmpty answers\n" + empty.table(),
      {}};
}

}  // namespace

CommandResult ModelEvaluateCommand::run(const CompanionContext&) const {
  const std::vector<EvaluationCase> cases = casesOf(casesFile);
  if (withoutModel) return withoutModelResult(cases, json);
  const Progress progress("Asking the language model about " + std::to_string(cases.size()) + " invented days");
  const auto model = platform_adapters::languageModel();
  const ModelReport report = QCoro::waitFor(model->report());
  if (!report.isAvailable) throw CompanionFailure(display::printable(report.reason));
  const EvaluationFigures figures = QCoro::waitFor(Evaluation::run(*model, cases, repeats));
  if (!figures.failure.empty()) throw CompanionFailure("The model server " + display::printable(figures.failure) + ".");
  const std::string name = display::printable(report.model);
  JsonValue object = figures.json();
  object.set("model", name);
  return {json ? object.dump(JsonValue::Order::sorted) + "\n" : "Model " + name + "\n" + figures.table(),
          figures.isGoodEnough() ? "" : "The model " + name + " is not good enough for notes about people."};
}

}  // namespace pellora
