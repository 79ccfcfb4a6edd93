// How the model server behaves; see --help for what each means.
#pragma once

#include <string>
#include <vector>

namespace pellora::modelserver {

struct ServerOptions {
  std::string listen = "127.0.0.1:0";
  std::vector<std::string> models;        // listed in this order
  std::vector<std::string> remoteModels;  // of these, the ones that another machine runs
  std::vector<std::string> embeddings;    // of these, the ones that complete no text
  std::vector<std::string> loadedModels;  // of these, the ones in memory

  std::string answer;        // empty: made up
  std::string guidedAnswer;  // empty: made up
  bool echo = false;
  std::string casesFile;           // days of which the answers are known; empty: none
  std::string manner = "perfect";  // how they are answered

  int loadingRequests = 0;
  int loadingMilliseconds = 0;
  int delayMilliseconds = 0;
  int listDelayMilliseconds = 0;
  int tagsStatus = 200;

  int status = 200;         // of answers to questions
  int statusQuestions = 0;  // so many questions get that status; 0: all
  int brokenQuestions = 0;  // so many questions get no answer at all
  std::string brokenPage;   // requests for this page get no answer at all
  std::string exitPage;     // a request for this page ends the server
  std::string errorMessage = "told to fail";
  std::string key;  // that requests must bring; empty: none
  std::string errorForm = "object";
  std::vector<std::string> rejectFields;
  int rejectStatus = 400;
  int maximumPromptBytes = 0;  // 0: none

  std::string finishReason = "stop";
  std::string thinking = "none";
  std::string rawBody;      // sent verbatim instead of an answer
  long long cutAfter = -1;  // bytes of the body; negative: whole
  long long bodyBytes = 0;  // pads the body
  std::string redirectTo;
  int promptTokens = 0;  // 0: no usage is told
  int answerTokens = 0;
  bool endlessChunks = false;

  bool router = false;
  bool ollama = false;
  bool imitator = false;
  int contextTokens = 0;
  std::string contextStyle = "props";

  std::string logFile;
  bool logBodies = false;
  bool exitWithParent = false;
  int user = -1;  // account to run as; negative: the one that started it
};

}  // namespace pellora::modelserver
