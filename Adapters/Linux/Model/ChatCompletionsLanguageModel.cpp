#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"

#include "Adapters/Linux/Model/ModelSettings.h"

namespace pellora {

ChatCompletionsLanguageModel::ChatCompletionsLanguageModel(ModelEndpoint endpoint, std::string model)
    : _server(std::make_shared<ModelServer>(std::move(endpoint), std::move(model))) {}

ChatCompletionsLanguageModel::~ChatCompletionsLanguageModel() {
  close();
}

std::unique_ptr<ChatCompletionsLanguageModel> ChatCompletionsLanguageModel::configured() {
  ModelAddress address = ModelAddress::current();
  return std::make_unique<ChatCompletionsLanguageModel>(std::move(address.endpoint), std::move(address.model));
}

void ChatCompletionsLanguageModel::close() {
  _server->close();
}

Task<bool> ChatCompletionsLanguageModel::isAvailable() {
  return ModelServer::isAvailable(_server);
}

Task<ModelReport> ChatCompletionsLanguageModel::report() {
  return ModelServer::report(_server);
}

Task<LanguageModel::Answer> ChatCompletionsLanguageModel::respond(std::string instructions, std::string prompt) {
  ModelQuestion question;
  question.instructions = std::move(instructions);
  question.prompt = std::move(prompt);
  return ModelServer::ask(_server, std::move(question));
}

Task<LanguageModel::Answer> ChatCompletionsLanguageModel::respond(std::string instructions, std::string prompt,
                                                                  const GenerationSchema& schema) {
  ModelQuestion question;
  question.instructions = std::move(instructions);
  question.prompt = std::move(prompt);
  question.schema = &schema;
  return ModelServer::ask(_server, std::move(question));
}

}  // namespace pellora
