// Tries from inside what a confined process must not be able to do. Each trial does nothing that would matter if it
// went through. True: it was refused as it should be.
#pragma once

#include <filesystem>

namespace pellora {

namespace ConfinementTrial {

bool writesNoCore();
bool isNotTraced();
bool startsNoProgram();
bool signalsNobody();
bool changesNoMode();
bool feedsNoTerminal();
bool makesNoSocket(bool mayUseTcp);
bool bindsNoPort();
// Reading and writing in a folder that is not among those named.
bool readsNot(const std::filesystem::path& folder);
bool writesNot(const std::filesystem::path& folder);

}  // namespace ConfinementTrial

}  // namespace pellora
