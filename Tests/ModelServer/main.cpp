// A small model server for tests, scripts and demonstrations: it speaks what local model servers speak, over a Unix
// socket or a loopback port, makes up plausible answers, and misbehaves on request.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <thread>

#include "Tests/ModelServer/HttpConnection.h"
#include "Tests/ModelServer/ModelBehavior.h"
#include "Tests/ModelServer/RequestLog.h"
#include "Tests/ModelServer/ServerOptions.h"

namespace pellora::modelserver {

namespace {

void addOptions(CLI::App& app, ServerOptions& options) {
  app.add_option("--listen", options.listen, "unix:/path.sock, 127.0.0.1:PORT or [::1]:PORT; port 0 chooses a free one")
      ->capture_default_str();
  app.add_option("--model", options.models, "A model to list; repeat for several (default: test-model)");
  app.add_option("--remote-model", options.remoteModels, "A listed model that counts as run by another machine");
  app.add_option("--embedding-model", options.embeddings, "A listed model that is made for embedding");
  app.add_option("--loaded-model", options.loadedModels, "A listed model that is in memory");
  app.add_option("--answer", options.answer, "The answer to every plain question instead of a made-up one");
  app.add_option("--guided-answer", options.guidedAnswer, "The answer to every guided question");
  app.add_option("--cases", options.casesFile,
                 "Days for judging models; questions about them are answered by what is known");
  app.add_option("--manner", options.manner, "How: telling the truth, or news of every line and every order obeyed")
      ->check(CLI::IsMember({"perfect", "bad"}));
  app.add_flag("--echo", options.echo, "Answer with what was asked, as JSON with instructions and prompt");
  app.add_option("--loading-requests", options.loadingRequests, "Answer 503 to the first N requests");
  app.add_option("--loading-ms", options.loadingMilliseconds, "Answer 503 for the first milliseconds");
  app.add_option("--delay-ms", options.delayMilliseconds, "Think this long before each answer");
  app.add_option("--list-delay-ms", options.listDelayMilliseconds, "Wait this long before every other page");
  app.add_option("--status", options.status, "Answer questions with this error status");
  app.add_option("--status-questions", options.statusQuestions, "Only the first N questions");
  app.add_option("--break-questions", options.brokenQuestions, "End the connection of the first N questions");
  app.add_option("--break-page", options.brokenPage, "End the connection of requests for this page");
  app.add_option("--exit-at-page", options.exitPage, "End when this page is asked for");
  app.add_option("--error-message", options.errorMessage, "What error answers say");
  app.add_option("--key", options.key, "Answer 401 to requests that do not bring this key");
  app.add_flag("--endless-chunks", options.endlessChunks, "Answer with a chunk whose extension never ends");
  app.add_option("--answer-tokens", options.answerTokens, "The number of answer tokens to tell");
  app.add_flag("--router", options.router, "Tell which models are in memory, and refuse questions to the others");
  app.add_flag("--imitator", options.imitator, "Imitate Ollama as LocalAI does: with a /readyz, without schemas");
  app.add_option("--user", options.user, "Run as this account");
  app.add_option("--error-form", options.errorForm, "How errors are told")
      ->check(CLI::IsMember({"object", "string", "none"}));
  app.add_option("--reject-field", options.rejectFields, "Refuse requests that have this field; repeat for several");
  app.add_option("--reject-status", options.rejectStatus, "The status for that (default: 400)");
  app.add_option("--max-prompt-bytes", options.maximumPromptBytes, "Refuse longer questions as too long");
  app.add_option("--finish-reason", options.finishReason, "Why answers end (default: stop)");
  app.add_option("--thinking", options.thinking,
                 "Where thinking shows: in tags, closing tag only, its own field, or "
                 "the whole answer in that field")
      ->check(CLI::IsMember({"none", "tags", "unopened", "field", "only"}));
  app.add_option("--raw-body", options.rawBody, "Send this as the whole body of every answer");
  app.add_option("--cut", options.cutAfter, "End the connection after so many bytes of an answer's body");
  app.add_option("--pad-bytes", options.bodyBytes, "Make every answer so much larger");
  app.add_option("--redirect", options.redirectTo, "Redirect everything to this address");
  app.add_option("--prompt-tokens", options.promptTokens, "The number of prompt tokens to tell");
  app.add_flag("--ollama", options.ollama, "Serve /api/version, /api/tags, /api/show and /api/chat too");
  app.add_option("--tags-status", options.tagsStatus, "Answer /api/tags with this status");
  app.add_option("--context", options.contextTokens, "The context size to tell");
  app.add_option("--context-style", options.contextStyle, "Where it is told: /props, the list, or /api/v0/models")
      ->check(CLI::IsMember({"props", "list", "detailed"}));
  app.add_option("--log", options.logFile, "Append a JSON line per request to this file");
  app.add_flag("--log-bodies", options.logBodies, "Log the bodies too");
  app.add_flag("--exit-with-parent", options.exitWithParent, "End when the process that started this one ends");
}

int fail(const std::string& what) {
  std::cerr << what << ": " << std::strerror(errno) << std::endl;
  return -1;
}

int listenOnSocket(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return fail("The socket's path is too long");
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  unlink(path.c_str());
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 64) != 0)
    return fail("Cannot listen on " + path);
  std::cout << "listening on unix:" << path << std::endl;
  return listener;
}

int listenOnPort(const std::string& where) {
  const std::size_t colon = where.rfind(':');
  const auto port =
      htons(static_cast<uint16_t>(std::atoi(where.c_str() + (colon == std::string::npos ? 0 : colon + 1))));
  const bool isV6 = where.starts_with("[");
  sockaddr_in v4{};
  v4.sin_family = AF_INET;
  v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  v4.sin_port = port;
  sockaddr_in6 v6{};
  v6.sin6_family = AF_INET6;
  v6.sin6_addr = in6addr_loopback;
  v6.sin6_port = port;
  auto* const address = isV6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
  socklen_t size = isV6 ? sizeof v6 : sizeof v4;
  const int listener = socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  if (bind(listener, address, size) != 0 || listen(listener, 64) != 0) return fail("Cannot listen on " + where);
  getsockname(listener, address, &size);
  std::cout << "listening on http://" << (isV6 ? "[::1]:" : "127.0.0.1:") << ntohs(isV6 ? v6.sin6_port : v4.sin_port)
            << std::endl;
  return listener;
}

void serve(int descriptor, ModelBehavior& behavior, RequestLog& log) {
  HttpConnection connection(descriptor);
  const auto request = connection.read();
  if (!request) return;
  log.received(*request);
  HttpResponse response;
  try {
    response = behavior.answer(*request);
  } catch (const std::exception&) {
    response.status = 500;
    response.body = R"({"error":"the request has another shape than expected"})";
  }
  if (!connection.send(response)) log.abandoned(*request);
}

int run(int argc, char** argv) {
  ServerOptions options;
  CLI::App app("A model server for tests and demonstrations. It prints one line with its address when it is ready.");
  addOptions(app, options);
  CLI11_PARSE(app, argc, argv);
  if (options.models.empty()) options.models = {"test-model"};
  if (options.exitWithParent) prctl(PR_SET_PDEATHSIG, SIGKILL);

  if (options.user >= 0 &&
      (setgid(static_cast<gid_t>(options.user)) != 0 || setuid(static_cast<uid_t>(options.user)) != 0))
    return fail("Cannot run as this account");
  const int listener =
      options.listen.starts_with("unix:") ? listenOnSocket(options.listen.substr(5)) : listenOnPort(options.listen);
  if (listener < 0) return 1;
  ModelBehavior behavior(options);
  RequestLog log(options.logFile, options.logBodies);
  while (true) {
    const int descriptor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor >= 0) std::thread(serve, descriptor, std::ref(behavior), std::ref(log)).detach();
  }
}

}  // namespace

}  // namespace pellora::modelserver

int main(int argc, char** argv) {
  return pellora::modelserver::run(argc, argv);
}
