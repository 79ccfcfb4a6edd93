#include <QCoroTask>
#include <stdexcept>

#include "Companion/Commands/Commands.h"
#include "Companion/Evaluation/Evaluation.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/Progress.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"

namespace pellora {

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
