#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace tarvolo::scenario {

// The built-in texts as JSON for translators and reviewers: key → text for one language, or
// language → (key → text) for all of them. Absent for an unknown language code.
std::optional<nlohmann::ordered_json> stringsAsJson(const std::optional<std::string>& language);

}  // namespace tarvolo::scenario
