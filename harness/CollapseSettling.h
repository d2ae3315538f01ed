#pragma once

// How the first collapse after start-up settles on a scenario's desktop: what the corpus
// checks and the benchmark measures.

#include <string>
#include <vector>

#include "harness/Scenario.h"
#include "platform/sim/SimDefaultsStore.h"
#include "platform/sim/SimDesktop.h"

namespace tarvolo::scenario {

// What a working collapse looks like: the toggle and the separator on screen, every icon of the
// hidden zones off screen, every always-visible icon on screen, the frontmost app's menus whole.
// Zones follow the stored positions of the icons and of Tarvolo's own items. Returns what is
// wrong, empty when nothing is.
std::vector<std::string> collapseProblems(sim::SimDesktop& desktop);

// What is wrong with the normal expanded bar: every icon of the always-hidden zone must stay
// off screen or undrawn, the frontmost app's menus whole and the always-hidden separator in the
// bar.
std::vector<std::string> shelfProblems(sim::SimDesktop& desktop);

// How many log lines contain `needle`, counting from line `from`.
int countLogLines(const sim::SimDesktop& desktop, const std::string& needle, std::size_t from = 0);

struct CollapseSettling {
  // The collapse stood verified and working at the end of the run.
  bool settled = false;
  // Virtual seconds from launch until it first stood verified and working.
  double seconds = 0;
  int probes = 0;
  int searches = 0;
  // Seconds from launch until the first verification judged the collapse laid out.
  std::optional<double> verifiedAfter;
  std::vector<std::string> problems;  // at the end of the run
  // Once settled, the bar is expanded to the normal shelf: what is wrong with it then.
  std::vector<std::string> shelfProblems;
  // Then everything is shown and the bar steps back to the normal expanded one: what is wrong.
  std::vector<std::string> steppedDownShelfProblems;
  // Probes of the always-hidden length's search on the expanded bars.
  int shelfProbes = 0;
  // Menu titles the bar dropped during the run, read right after launch and at every watch step
  // of 0.05 s: the most at once and for how long any were dropped. A probe past the menus' end
  // drops one on purpose, as that is how the search learns the menus limit it: those are kept
  // apart, as long as the probe is the one long item in the bar.
  struct TitlesDropped {
    int most = 0;
    double seconds = 0;
  };
  TitlesDropped titlesDropped;          // outside the search's probes
  TitlesDropped titlesDroppedByProbes;  // while a search was probing
  std::size_t timersRun = 0;
  std::size_t timersPending = 0;      // at the end of the run
  sim::SimDefaultsStore defaults;     // what Tarvolo stored, for a second launch
};

// Seconds a desktop's system costs before the own separators may hide: one that never answers
// the allow-list's activation is waited for until its time-out.
double nativeTimeoutAllowance(const Scenario& scenario);

// Launches Tarvolo on the scenario's desktop with `defaults` as its store and runs `limit`
// seconds of virtual time, watching the first collapse. The scenario's steps are not run.
CollapseSettling settleFirstCollapse(const Scenario& scenario, sim::SimDefaultsStore defaults, double limit);

}  // namespace tarvolo::scenario
