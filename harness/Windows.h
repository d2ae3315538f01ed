#pragma once

// The app's own windows on the simulated desktop as the report and the renderings show them:
// what each one last drew, in JSON and as a few lines of text.

#include <nlohmann/json.hpp>
#include <string>

#include "platform/windows/UserInterface.h"

namespace tarvolo::scenario {

nlohmann::ordered_json toJson(const platform::PreferencesViewState& state);
nlohmann::ordered_json toJson(const platform::NewAppNoticeViewState& state);
nlohmann::ordered_json toJson(const platform::PlacementGuideViewState& state);
nlohmann::ordered_json toJson(const platform::ReviewPromptViewState& state);

// Indented lines, each ending in a newline.
std::string renderWindow(const platform::PreferencesViewState& state);
std::string renderWindow(const platform::NewAppNoticeViewState& state);
std::string renderWindow(const platform::PlacementGuideViewState& state);
std::string renderWindow(const platform::ReviewPromptViewState& state);

}  // namespace tarvolo::scenario
