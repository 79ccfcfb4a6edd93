// An engine that a test puts into any of its states, with everything around it in memory, and what the app needs of
// a desktop.
#pragma once

#include <QString>
#include <filesystem>
#include <fstream>

#include "Adapters/InMemory/InMemoryDesktop.h"
#include "Adapters/InMemory/InMemoryEvents.h"
#include "Pellora_for_Messages/HelperApp.h"
#include "Tests/Support/EngineWorld.h"
#include "Tests/Support/GatedLanguageModel.h"

namespace pellora::support {

class WindowWorld : public EngineWorld {
 public:
  using Kind = HelperEngineState::Kind;

  WindowWorld() : EngineWorld(&gated) { gated.setAvailable(false); }
  // Reads that nobody waits for any more still end.
  ~WindowWorld() {
    gated.setAvailable(false);
    while (gated.waiting() > 0) gated.answerAll();
  }
  WindowWorld(const WindowWorld&) = delete;
  WindowWorld& operator=(const WindowWorld&) = delete;

  // Leaves the engine in that state. `reading` waits for the language model with one day of two done.
  void bring(HelperEngine& engine, Kind kind) {
    switch (kind) {
      case Kind::starting:
        return;
      case Kind::needsFullDiskAccess:
        std::filesystem::rename(database, folder / "away.db");
        break;
      case Kind::waitingForPellora:
        writePeople({});
        break;
      case Kind::failed:
        store->execute("DROP TABLE chat_handle_join");
        break;
      case Kind::idle:
        break;
      case Kind::reading:
        startReading(engine);
        return;
    }
    engine.requestRead();
  }

  void startReading(HelperEngine& engine) {
    using namespace std::chrono_literals;
    fromAnna(48h, "We went to the lake yesterday and it was lovely");
    fromAnna(1h, "The weather is so nice here today, you should come");
    gated.setAvailable(true);
    engine.requestRead();
    for (int questions = 0; engine.daysAnalyzed() == 0 && gated.waiting() > 0 && questions < 20; ++questions)
      gated.answerOne();
  }

  HelperDesktop desktop() {
    return {trayHost,
            privacySettings,
            appearance,
            quitRequests,
            sleepNotice,
            windowActivation,
            [this] { ++memoryReleases; }};
  }

  GatedLanguageModel gated;
  InMemoryTrayHost trayHost;
  InMemoryPrivacySettings privacySettings;
  InMemoryAppearance appearance;
  InMemoryQuitRequests quitRequests;
  InMemorySleepNotice sleepNotice;
  InMemoryWindowActivation windowActivation;
  int memoryReleases = 0;
};

}  // namespace pellora::support
