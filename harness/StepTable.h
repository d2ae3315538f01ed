#pragma once

// The table of every kind of step, and reading a timeline with it.

#include <vector>

#include "harness/ScenarioFields.h"
#include "harness/Step.h"

namespace tarvolo::scenario {

struct Scenario;

// Every kind of step: the user's hands (InputSteps.h), the desktop and the app's process
// (AppSteps.h), then each window's (WindowEntry.h).
const std::vector<StepKind>& stepKinds();

// A timeline's steps, in order; throws ScenarioError.
std::vector<Step> parseSteps(const Field& field, const Scenario& scenario);

}  // namespace tarvolo::scenario
