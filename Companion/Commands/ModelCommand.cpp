#include "Companion/Commands/ModelCommand.h"

#include <QCoroTask>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <sstream>
#include <vector>

#include "Companion/Commands/ModelTry.h"
#include "Companion/Output/Progress.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using nlohmann::ordered_json;

// Fewer than this do not hold a long day's messages, the instructions and the answer.
constexpr long long kRoomyContextTokens = 4096;

// What a model or a server wrote, fit for a terminal: valid, on one line, without control characters.
std::string shown(const std::string& foreign) {
  std::string line = text::repairedUtf8(foreign);
  for (char& c : line) c = static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
  return text::replacingAll(line, "\xC2\x9B", " ");  // the one-character form of a terminal's escape sequences
}

std::string secondsText(double seconds) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.1f s", seconds);
  return digits;
}

std::string contextText(const std::optional<long long>& tokens) {
  if (!tokens) return "unknown";
  const std::string text = std::to_string(*tokens) + " tokens";
  return *tokens < kRoomyContextTokens ? text + " (small: long conversations will go without notes)" : text;
}

void printRow(std::ostream& out, const char* name, const std::string& value) {
  std::string row = name;
  row.resize(11, ' ');
  out << row << value << '\n';
}

void printTable(std::ostream& out, const ModelReport& report, const std::vector<ModelTry>& tries) {
  printRow(out, "Available", report.isAvailable ? "yes" : "no");
  if (!report.model.empty()) printRow(out, "Model", shown(report.model));
  if (!report.where.empty()) printRow(out, "Where", shown(report.where));
  if (report.isAvailable) {
    printRow(out, "Server", report.server);
    printRow(out, "Context", contextText(report.contextTokens));
  }
  for (const ModelTry& made : tries) {
    out << '\n'
        << (made.kind == "plain" ? "Plain question, " : "Guided question, ") << secondsText(made.seconds) << '\n';
    if (!made.answer.empty()) out << "  " << shown(made.answer) << '\n';
  }
}

void printJson(std::ostream& out, const ModelReport& report, const std::vector<ModelTry>& tries) {
  ordered_json object;
  object["available"] = report.isAvailable;
  if (!report.model.empty()) object["model"] = report.model;
  if (!report.where.empty()) object["where"] = report.where;
  if (!report.server.empty()) object["server"] = report.server;
  if (report.contextTokens) object["contextTokens"] = *report.contextTokens;
  if (!report.reason.empty()) object["reason"] = report.reason;
  if (!tries.empty()) object["tries"] = ordered_json::array();
  for (const ModelTry& made : tries) {
    ordered_json item{{"kind", made.kind}, {"answered", made.isAnswered()}, {"seconds", made.seconds}};
    if (!made.answer.empty()) item["answer"] = made.answer;
    if (!made.isAnswered()) item["reason"] = made.error;
    object["tries"].push_back(std::move(item));
  }
  out << object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace

CommandResult ModelCommand::run(const CompanionContext&) const {
  const Progress progress("Asking the language model");
  const auto model = platform_adapters::languageModel();
  const ModelReport report = QCoro::waitFor(model->report());
  std::vector<ModelTry> made;
  if (report.isAvailable && tries) {
    made.push_back(QCoro::waitFor(ModelTry::plain(*model)));
    made.push_back(QCoro::waitFor(ModelTry::guided(*model)));
  }
  std::ostringstream output;
  json ? printJson(output, report, made) : printTable(output, report, made);
  std::string wrong = report.reason;
  for (const ModelTry& one : made) {
    if (wrong.empty() && !one.isAnswered())
      wrong = "The " + one.kind + " question failed: the model server " + one.error + ".";
  }
  return {output.str(), shown(wrong)};
}

}  // namespace pellora
