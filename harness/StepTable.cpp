#include "harness/StepTable.h"

#include <algorithm>

#include "harness/AppSteps.h"
#include "harness/InputSteps.h"
#include "harness/Scenario.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

using json = nlohmann::json;

const std::vector<StepKind>& stepKinds() {
  static const std::vector<StepKind> kinds = [] {
    std::vector<StepKind> all = inputStepKinds();
    for (auto& kind : appStepKinds()) all.push_back(kind);
    for (const WindowEntry* entry : windowEntries()) all.insert(all.end(), entry->steps.begin(), entry->steps.end());
    return all;
  }();
  return kinds;
}

namespace {

const StepKind* kindOf(std::string_view key) {
  const auto& kinds = stepKinds();
  auto found = std::find_if(kinds.begin(), kinds.end(), [&](const StepKind& kind) { return kind.key == key; });
  return found == kinds.end() ? nullptr : &*found;
}

// The fields some kind of step takes besides its key, in the order the table first names them.
const std::vector<std::string_view>& stepParameters() {
  static const std::vector<std::string_view> parameters = [] {
    std::vector<std::string_view> all;
    for (const StepKind& kind : stepKinds()) {
      for (std::string_view parameter : kind.parameters) {
        if (std::find(all.begin(), all.end(), parameter) == all.end()) all.push_back(parameter);
      }
    }
    return all;
  }();
  return parameters;
}

bool takes(const StepKind& kind, std::string_view parameter) {
  return std::find(kind.parameters.begin(), kind.parameters.end(), parameter) != kind.parameters.end();
}

// A parameter on a step that does not take it names the steps that do.
void rejectForeignParameters(const Field& field, const StepKind& kind) {
  for (std::string_view parameter : stepParameters()) {
    if (!field.has(parameter) || takes(kind, parameter)) continue;
    std::vector<std::string> takers;
    for (const StepKind& other : stepKinds()) {
      if (takes(other, parameter)) takers.emplace_back(other.key);
    }
    field.required(parameter).fail("only a " + joined(takers, " or ") + " step takes this field");
  }
}

Step parseStep(const Field& field, const Scenario& scenario) {
  std::vector<std::string> actions;
  for (const auto& [key, value] : field.object()) {
    const bool isAction = kindOf(key) != nullptr;
    const auto& parameters = stepParameters();
    const bool isParameter = key == "at" || key == "note" ||
                             std::find(parameters.begin(), parameters.end(), key) != parameters.end();
    if (isAction) actions.push_back(key);
    if (!isAction && !isParameter) {
      std::vector<std::string> names;
      for (const StepKind& kind : stepKinds()) names.emplace_back(kind.key);
      throw ScenarioError(field.childPath(key),
                          "unknown field (a step has \"at\", an optional \"note\" and one of " + joined(names) + ")");
    }
  }
  if (actions.empty()) field.fail("has no action");
  if (actions.size() > 1) field.fail("has more than one action (" + joined(actions) + ")");
  const std::string& key = actions.front();
  const StepKind& kind = *kindOf(key);
  rejectForeignParameters(field, kind);

  Step step;
  step.at = field.required("at").nonNegative();
  if (auto note = field.optional("note")) step.note = note->string();
  Field value = field.required(key);
  step.action = kind.parse(StepInput{.step = field, .value = value, .key = key, .scenario = scenario});
  return step;
}

}  // namespace

std::vector<Step> parseSteps(const Field& field, const Scenario& scenario) {
  std::vector<Step> steps;
  for (const Field& element : field.array()) {
    if (!steps.empty() && steps.back().action->endsTheRun()) {
      element.fail("comes after a step that quits Tarvolo, which ends the run");
    }
    element.object();
    Step step = parseStep(element, scenario);
    if (!steps.empty() && step.at < steps.back().at) {
      element.required("at").fail("steps must not go back in time: " + json(step.at).dump() +
                                  " comes after a step at " + json(steps.back().at).dump());
    }
    steps.push_back(std::move(step));
  }
  return steps;
}

}  // namespace tarvolo::scenario
