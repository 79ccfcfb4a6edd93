// Answers that a small instruct model might give to the four questions, made up by looking for words in the
// question: a day's sentence, meetups, news, the summary of the last weeks. Any other question gets a harmless
// answer of the wanted form. Deterministic, so that runs can be compared.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace pellora::modelserver {

namespace MadeUpAnswers {

// To a plain question.
std::string plain(const std::string& instructions, const std::string& prompt);

// To a question about one of the `cases` (objects as the companion's evaluation describes them): the truth, or, when
// it is not to be perfect, news of every line. Empty when the question is about none of them.
std::string known(const nlohmann::ordered_json& cases, bool isPerfect, const std::string& schemaText,
                  const std::string& prompt);

// To a guided question whose schema is `schemaText`: an object, as JSON text.
std::string guided(const std::string& schemaText, const std::string& instructions, const std::string& prompt);

}  // namespace MadeUpAnswers

}  // namespace pellora::modelserver
