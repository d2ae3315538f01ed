// Cost of reading where icons sit, through the catalogue as the app does it: one window-list
// probe, every catalogued application tied to its icons, and the observed zone of each, as a
// zone refresh does after each length change. And the start-up of a desktop crowded with
// applications, where that refresh runs against thousands of them.

#include <benchmark/benchmark.h>

#include <memory>

#include "BenchDesktops.h"
#include "discovery/owners/StatusItemManager.h"
#include "harness/SimSession.h"
#include "statusbar/StatusBarController.h"

namespace {

using namespace tarvolo;
using bench::crowdedDesktop;

// 100 applications with five icons each: 500 windows in the bar. The bar stands expanded, so
// every icon is read and placed.
void BM_ProbeAndZonesThroughTheCatalogue(benchmark::State& state) {
  sim::SimSession session(crowdedDesktop(100, 5));
  session.launch();
  session.runFor(3.0);
  StatusBarController* controller = session.controller();
  StatusItemManager* catalog = session.statusItemManager();
  if (!controller || !catalog) {
    state.SkipWithError("the app did not start");
    return;
  }
  controller->expandBar(ExpandDepth::deep, Initiator::automatic);
  session.runFor(1.0);
  for (auto _ : state) {
    catalog->refreshObservedZones();
    benchmark::DoNotOptimize(catalog->observedZones.get());
  }
  state.counters["observed"] = static_cast<double>(catalog->observedZones.get().size());
  state.counters["attributed"] = static_cast<double>(catalog->attributedBundleIDs.get().size());
}
BENCHMARK(BM_ProbeAndZonesThroughTheCatalogue)->Unit(benchmark::kMicrosecond);

// A whole start-up on a desktop of 4,000 applications, one icon each, to the first collapse
// settled: the catalogue scan, attribution and zone refreshes against all of them included.
void BM_FirstCollapseOnACrowdedDesktop(benchmark::State& state) {
  const int applications = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto desktop = crowdedDesktop(applications, 1);
    state.ResumeTiming();
    sim::SimSession session(std::move(desktop));
    session.launch();
    session.runFor(3.0);
    const StatusBarController* controller = session.controller();
    if (!controller || controller->state().isExpanded) {
      state.SkipWithError("the crowded desktop did not collapse at start-up");
      break;
    }
    benchmark::DoNotOptimize(controller);
  }
}
BENCHMARK(BM_FirstCollapseOnACrowdedDesktop)->Arg(1000)->Arg(4000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
