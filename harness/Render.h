#pragma once

// The menu bar as terminal text: a scaled picture of each screen's bar, what is off screen,
// and every icon in order with its x range, grouped by the zone Tarvolo's items mark out.

#include <map>
#include <string>
#include <string_view>

#include "harness/Report.h"
#include "platform/sim/SimDesktop.h"

namespace tarvolo::scenario {

inline constexpr int kRenderColumns = 118;
// The bar picture's scale: a typical 30 pt icon takes two columns.
inline constexpr double kPointsPerColumn = 15;

// Two-character labels, one per app, stable for a whole run (taken from the app's name).
std::map<std::string, std::string> shortLabels(const std::vector<sim::SimAppSetup>& apps);

struct RenderBarInput {
  const sim::SimDesktop& desktop;
  const BarSnapshot& bar;
  std::string_view title;
  std::string_view note;  // a line under the title when not empty
  int columns = kRenderColumns;
};

// The bar, what is off screen, every icon by zone, then each window that is up.
std::string renderBar(const RenderBarInput& input);

}  // namespace tarvolo::scenario
