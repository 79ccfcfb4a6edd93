// A contract suite: the same tests for every adapter of a port. A world holds one adapter and what it needs around it;
// the test names its worlds, and each gets every test of the suite.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace pellora::support {

template <class World>
struct ContractParty {
  const char* name;
  std::unique_ptr<World> (*make)();
};

// A party of the contract whose world is a `Type`, which derives from `World`.
template <class World, class Type>
ContractParty<World> party(const char* name) {
  return {name, []() -> std::unique_ptr<World> { return std::make_unique<Type>(); }};
}

// The fixture. A world that has a `problem()`, a sentence when its adapter cannot be tried here, skips the test then.
template <class World>
class Contract : public testing::TestWithParam<ContractParty<World>> {
 protected:
  void SetUp() override {
    if constexpr (requires { world->problem(); })
      if (const std::string problem = world->problem(); !problem.empty()) GTEST_SKIP() << problem;
  }

  std::unique_ptr<World> world = this->GetParam().make();
};

inline constexpr auto kPartyName = [](const auto& info) { return std::string(info.param.name); };

}  // namespace pellora::support
