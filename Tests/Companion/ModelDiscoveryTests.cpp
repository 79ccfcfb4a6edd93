// What `pellora-companion model` finds when nothing is set up: servers at the usual ports and at the default socket.
// Run in a network of their own, where these ports are free.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/ModelServerProcess.h"
#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/ScratchHome.h"

namespace pellora {
namespace {

using nlohmann::json;
using support::ModelServerProcess;
using testing::HasSubstr;
using testing::Not;

// A network in which nothing listens but what the caller starts.
bool enterOwnNetwork() {
  if (unshare(CLONE_NEWNET) != 0) return false;
  const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq loopback{};
  std::string_view("lo").copy(loopback.ifr_name, sizeof loopback.ifr_name - 1);
  loopback.ifr_flags = IFF_UP;
  const bool isUp = ioctl(control, SIOCSIFFLAGS, &loopback) == 0;
  close(control);
  return isUp;
}

struct Server {
  std::string place;
  QStringList options;
};

class ModelDiscovery : public testing::Test {
 protected:
  ModelDiscovery() {
    for (const auto& [name, value] : _home.environment()) _environment.set(name, value);
    _environment.unset("PELLORA_MODEL_URL");
    _environment.unset("PELLORA_MODEL");
    std::filesystem::create_directory(socketFolder());
  }

  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a network of its own";
  }

  std::filesystem::path socketFolder() const { return _home.path() / "runtime/app.pellora.messages"; }

  // Asks the companion while these servers run; the questions that they got are counted.
  void look(const std::vector<Server>& servers, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "model");
    const std::filesystem::path report = _home.path() / "report";
    support::ForkedProcess inOwnNetwork([&] {
      if (!enterOwnNetwork()) return 1;
      std::deque<ModelServerProcess> running;
      for (const Server& server : servers) running.emplace_back(server.place, server.options);
      support::ProgramRun program({PELLORA_COMPANION_PROGRAM, arguments, {}});
      json found{{"status", program.wait()}, {"output", program.output()}, {"errors", program.errors()}};
      found["requests"] = json::array();
      found["questions"] = 0;
      for (const ModelServerProcess& server : running) {
        found["requests"].push_back(server.count("/v1/models"));
        for (const char* path : {"/v1/chat/completions", "/api/chat"})
          found["questions"] = found["questions"].get<std::size_t>() + server.count(path);
      }
      std::ofstream(report) << found.dump(-1, ' ', false, json::error_handler_t::replace);
      running.clear();
      return 0;
    });
    ASSERT_EQ(inOwnNetwork.wait(), 0);
    std::ifstream file(report);
    const json found = json::parse(file);
    status = found["status"];
    output = found["output"];
    errors = found["errors"];
    requests = found["requests"].get<std::vector<std::size_t>>();
    EXPECT_EQ(found["questions"], 0U) << "looking asks for lists and nothing else";
  }

  support::ScratchHome _home;
  support::ScopedEnvironment _environment;
  int status = -1;
  std::string output;
  std::string errors;
  std::vector<std::size_t> requests;
};

TEST_F(ModelDiscovery, TellsNothingWhereNothingListens) {
  look({}, {});
  EXPECT_EQ(status, 1);
  EXPECT_THAT(output, Not(HasSubstr("Found on this machine")));
  EXPECT_THAT(errors, HasSubstr("there is no socket at"));
}

TEST_F(ModelDiscovery, LooksAtTheUsualPortsAndProposesTheFirstThatCanBeUsed) {
  const QString model = QStringLiteral("--model");
  look({{"127.0.0.1:11434", {QStringLiteral("--ollama"), model, QStringLiteral("first:4b")}},
        {"127.0.0.1:9931", {model, QStringLiteral("newest")}},
        {"127.0.0.1:8080", {model, QStringLiteral("second")}},
        {"127.0.0.1:1234", {model, QStringLiteral("third"), model, QStringLiteral("bge-m3")}},
        {"127.0.0.1:8000", {model, QStringLiteral("big-cloud")}}},
       {});
  EXPECT_EQ(status, 1) << "none of them is set up";
  EXPECT_THAT(output, HasSubstr("Found on this machine:\n  http://127.0.0.1:11434  of root: first:4b\n"
                                "  http://127.0.0.1:9931  of root: newest\n"
                                "  http://127.0.0.1:8080  of root: second\n"
                                "  http://127.0.0.1:1234  of root: third, bge-m3\n"
                                "  http://127.0.0.1:8000  of root: runs the model big-cloud on another machine"));
  EXPECT_THAT(output, HasSubstr("\n  pellora-companion model use http://127.0.0.1:11434 --model first:4b\n"));
  look({{"127.0.0.1:8080", {model, QStringLiteral("second")}}}, {"--json"});
  const json found = json::parse(output)["found"];
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]["url"], "http://127.0.0.1:8080");
  EXPECT_EQ(found[0]["models"], json::array({"second"}));
}

TEST_F(ModelDiscovery, ServersOfOthersAreShownAndGetNothing) {
  look({{"127.0.0.1:11434", {QStringLiteral("--user"), QStringLiteral("4242")}},
        {"127.0.0.1:8000", {QStringLiteral("--model"), QStringLiteral("own")}}},
       {});
  EXPECT_THAT(output, HasSubstr("http://127.0.0.1:11434  of 4242: at http://127.0.0.1:11434 belongs to another user"));
  EXPECT_THAT(output, HasSubstr("\n  pellora-companion model use http://127.0.0.1:8000 --model own\n"));
  EXPECT_EQ(requests.at(0), 0U);
}

TEST_F(ModelDiscovery, TheDefaultSocketNeedsNoChoice) {
  const std::string socket = "unix:" + (socketFolder() / "model.sock").string();
  look({{socket, {QStringLiteral("--model"), QStringLiteral("here")}}, {"127.0.0.1:8080", {}}}, {});
  EXPECT_EQ(status, 0) << errors;
  EXPECT_THAT(output, HasSubstr("Model      here\nWhere      " + socket));
  EXPECT_THAT(output, Not(HasSubstr("Found on this machine")));
  EXPECT_EQ(requests.at(1), 0U);
}

TEST_F(ModelDiscovery, ARuntimeFolderOfSomebodyElseIsNotLookedInto) {
  ASSERT_EQ(chown(socketFolder().c_str(), 4242, 4242), 0);
  look({{"unix:" + (socketFolder() / "model.sock").string(), {}}}, {});
  EXPECT_EQ(status, 1);
  EXPECT_THAT(errors, HasSubstr("belongs to somebody else"));
  EXPECT_EQ(requests.at(0), 0U);
}

}  // namespace
}  // namespace pellora
