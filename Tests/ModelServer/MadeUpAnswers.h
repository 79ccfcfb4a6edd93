// Answers that a small instruct model might give to the four questions, made up by looking for words in the
// question: a day's sentence, meetups, news, the summary of the last weeks. Any other question gets a harmless
// answer of the wanted form. Deterministic, so that runs can be compared.
#pragma once

#include <string>

namespace pellora::modelserver {

namespace MadeUpAnswers {

// To a plain question.
std::string plain(const std::string& instructions, const std::string& prompt);

// To a guided question whose schema is `schemaText`: an object, as JSON text.
std::string guided(const std::string& schemaText, const std::string& instructions, const std::string& prompt);

}  // namespace MadeUpAnswers

}  // namespace pellora::modelserver
