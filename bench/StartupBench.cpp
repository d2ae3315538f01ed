// CPU time of a whole simulated start-up on the demo laptop: the desktop with its twelve icons,
// the app's launch and three seconds of virtual time, by which the first collapse has settled.

#include <benchmark/benchmark.h>

#include <filesystem>

#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"
#include "harness/Corpus.h"
#include "harness/SimSession.h"
#include "statusbar/StatusBarController.h"

namespace {

using namespace tarvolo;

void BM_StartupToFirstCollapse(benchmark::State& state) {
  const scenario::Scenario demo =
      scenario::loadScenario(scenario::scenariosDirectory() / "demo-laptop-14.json");
  for (auto _ : state) {
    auto desktop = scenario::makeDesktop(demo);
    desktop->replaceDefaults(scenario::startingDefaults(demo, std::nullopt, nullptr));
    sim::SimSession session(std::move(desktop));
    session.launch();
    session.runUntil(3.0);
    const StatusBarController* controller = session.controller();
    if (!controller || controller->state().isExpanded) {
      state.SkipWithError("the demo desktop did not collapse at start-up");
      break;
    }
    benchmark::DoNotOptimize(controller);
  }
}
BENCHMARK(BM_StartupToFirstCollapse)->Unit(benchmark::kMicrosecond);

}  // namespace
