// What `pellora-companion model` is asked to do.
#pragma once

namespace pellora {

struct ModelCommandOptions {
  bool tries = false;   // ask two harmless questions and show the answers
  bool asJson = false;  // one JSON object for scripts instead of a table
};

}  // namespace pellora
