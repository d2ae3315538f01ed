#include "harness/Corpus.h"

#include <algorithm>
#include <string>

#include "harness/ScenarioParser.h"

namespace tarvolo::scenario {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> jsonFiles(const fs::path& directory, bool recursive) {
  std::vector<fs::path> files;
  auto take = [&files](const fs::directory_entry& entry) {
    if (entry.is_regular_file() && entry.path().extension() == ".json") files.push_back(entry.path());
  };
  if (recursive) {
    for (const auto& entry : fs::recursive_directory_iterator(directory)) take(entry);
  } else {
    for (const auto& entry : fs::directory_iterator(directory)) take(entry);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

fs::path scenariosDirectory() { return fs::path(TARVOLO_SOURCE_DIR) / "scenarios"; }

std::vector<fs::path> corpusFiles() { return jsonFiles(scenariosDirectory() / "corpus", false); }

std::vector<Scenario> loadCorpus() {
  std::vector<Scenario> scenarios;
  for (const auto& file : corpusFiles()) scenarios.push_back(loadScenario(file));
  return scenarios;
}

Scenario loadCorpusDesktop(std::string_view name) {
  return loadScenario(scenariosDirectory() / "corpus" / (std::string(name) + ".json"));
}

std::vector<fs::path> shippedScenarioFiles() { return jsonFiles(scenariosDirectory(), true); }

}  // namespace tarvolo::scenario
