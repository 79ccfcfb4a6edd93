#include "Companion/Commands/ModelTry.h"

#include <chrono>
#include <nlohmann/json.hpp>

namespace pellora {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kPlainInstructions =
    "You write one short sentence that says what a text conversation is about. Use only what is in it.";
constexpr const char* kPlainPrompt =
    "<messages>\nYou: Did the tomatoes on the balcony make it through the storm?\n"
    "Robin: All of them! The basil is gone though.\n</messages>\n\nWrite the sentence now.";
constexpr const char* kGuidedInstructions =
    "You read a text conversation and name the message that mentions a plant, with the plant's name copied from it.";
constexpr const char* kGuidedPrompt =
    "<messages>\n[1] Me: Good morning!\n[2] Robin: The basil is gone.\n</messages>\n\nAnswer now.";

const GenerationSchema& guidedSchema() {
  static const GenerationSchema kSchema{
      "FoundPlant",
      {{"message", "The number of the message", GeneratedInteger{}}, {"plant", "The plant's name", GeneratedText{}}}};
  return kSchema;
}

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

bool followsSchema(const std::string& answer) {
  const auto object = nlohmann::json::parse(answer, nullptr, false);
  return object.is_object() && object.size() == 2 && object.contains("message") && object.contains("plant") &&
         object["message"].is_number_integer() && object["plant"].is_string();
}

}  // namespace

Task<ModelTry> ModelTry::plain(LanguageModel& model) {
  ModelTry result;
  result.kind = "plain";
  const Clock::time_point start = Clock::now();
  try {
    const LanguageModel::Answer answer = co_await model.respond(kPlainInstructions, kPlainPrompt);
    result.answer = answer.text;
  } catch (const LanguageModelError& error) {
    result.error = error.what();
  }
  result.seconds = secondsSince(start);
  co_return result;
}

Task<ModelTry> ModelTry::guided(LanguageModel& model) {
  ModelTry result;
  result.kind = "guided";
  const Clock::time_point start = Clock::now();
  try {
    const LanguageModel::Answer answer = co_await model.respond(kGuidedInstructions, kGuidedPrompt, guidedSchema());
    result.answer = answer.text;
    if (!followsSchema(answer.text)) result.error = "gave an answer that does not follow its schema";
  } catch (const LanguageModelError& error) {
    result.error = error.what();
  }
  result.seconds = secondsSince(start);
  co_return result;
}

}  // namespace pellora
