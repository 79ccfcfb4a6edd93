#include "Companion/Evaluation/ModelWitness.h"

#include <chrono>
#include <utility>

namespace pellora {

Task<LanguageModel::Answer> ModelWitness::respond(std::string instructions, std::string prompt) {
  return watched(_model.respond(std::move(instructions), std::move(prompt)));
}

Task<LanguageModel::Answer> ModelWitness::respond(std::string instructions, std::string prompt,
                                                  const GenerationSchema& schema) {
  return watched(_model.respond(std::move(instructions), std::move(prompt), schema));
}

std::optional<ModelWitness::Testimony> ModelWitness::take() {
  return std::exchange(_last, std::nullopt);
}

Task<LanguageModel::Answer> ModelWitness::watched(Task<Answer> question) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  Testimony testimony;
  Answer answer;
  try {
    answer = co_await question;
    testimony.answer = answer.text;
    testimony.tokens = answer.promptTokens + answer.answerTokens;
  } catch (const LanguageModelError& error) {
    testimony.error = error;
  }
  testimony.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  _last = testimony;
  if (testimony.error) throw LanguageModelError(*testimony.error);
  co_return answer;
}

}  // namespace pellora
