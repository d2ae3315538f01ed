#pragma once

// Simulated desktops the benchmarks start the app on.

#include <memory>

#include "platform/sim/SimDesktop.h"

namespace tarvolo::bench {

// A 4K display with an editor in front and `applications` accessory apps with `itemsEach` icons
// each, named so that attribution needs both names and identifiers. The app's own items are
// placed as on a settled machine and its onboarding is done.
std::unique_ptr<sim::SimDesktop> crowdedDesktop(int applications, int itemsEach);

}  // namespace tarvolo::bench
