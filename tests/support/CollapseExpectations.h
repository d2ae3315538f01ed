#pragma once

#include <string>
#include <vector>

#include "platform/sim/SimDesktop.h"

namespace tarvolo::testing {

// What a working collapse looks like on the simulated desktop: the toggle and the separator on
// screen, every icon of the hidden zones off screen, every always-visible icon on screen, the
// frontmost app's menus whole. Zones follow the stored positions of the icons and of the app's
// own items. Returns what is wrong, empty when nothing is.
std::vector<std::string> collapseProblems(sim::SimDesktop& desktop);

// How many lines of the log contain `needle`, counting from line `from`.
int countLogLines(const sim::SimDesktop& desktop, const std::string& needle, std::size_t from = 0);

}  // namespace tarvolo::testing
