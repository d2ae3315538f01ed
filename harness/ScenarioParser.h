#pragma once

// Reading a scenario. Parsing validates every field and names the one at fault, so a typo never
// runs as something else.

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>

#include "harness/Scenario.h"

namespace tarvolo::scenario {

// All throw ScenarioError.
Scenario parseScenario(const nlohmann::json& document);
Scenario parseScenarioText(std::string_view text);
// The scenario's name defaults to the file's stem.
Scenario loadScenario(const std::filesystem::path& file);

}  // namespace tarvolo::scenario
