#pragma once

// The shipped scenarios: the demos and the corpus of desktops the collapse is checked on.

#include <filesystem>
#include <string_view>
#include <vector>

#include "harness/Scenario.h"

namespace tarvolo::scenario {

// The repository's scenarios/ folder (the build passes the source directory in).
std::filesystem::path scenariosDirectory();

// The corpus of desktops, sorted by file name.
std::vector<std::filesystem::path> corpusFiles();
std::vector<Scenario> loadCorpus();
// One desktop of the corpus by its file's stem ("laptop-13-os14").
Scenario loadCorpusDesktop(std::string_view name);

// Every shipped scenario file, the corpus included, sorted by path.
std::vector<std::filesystem::path> shippedScenarioFiles();

}  // namespace tarvolo::scenario
