// The cliff search over the corpus of desktops: how many probes and how much virtual time the
// first collapse after start-up needs to settle (median and worst, as counters; a native
// time-out's own wait left out of the seconds), the most menu titles dropped at once on any
// desktop and for how long, and the CPU time of one whole search, from launch to the verified
// collapse.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "harness/CollapseSettling.h"
#include "harness/Corpus.h"
#include "harness/ScenarioRunner.h"

namespace {

using namespace tarvolo;
namespace fs = std::filesystem;

// Virtual seconds each run is given; the corpus settles well within, a system that never
// answers the allow-list after its 5 s time-out.
constexpr double kRunLimit = 10;

scenario::CollapseSettling firstCollapse(const scenario::Scenario& desktop) {
  return scenario::settleFirstCollapse(desktop, scenario::startingDefaults(desktop, std::nullopt, nullptr), kRunLimit);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

scenario::CollapseSettling::TitlesDropped worstOf(scenario::CollapseSettling::TitlesDropped a,
                                                 scenario::CollapseSettling::TitlesDropped b) {
  return {std::max(a.most, b.most), std::max(a.seconds, b.seconds)};
}

void BM_CorpusFirstCollapse(benchmark::State& state) {
  const auto scenarios = scenario::loadCorpus();
  std::vector<double> probes;
  std::vector<double> seconds;
  scenario::CollapseSettling::TitlesDropped dropped;
  scenario::CollapseSettling::TitlesDropped droppedByProbes;
  for (auto _ : state) {
    probes.clear();
    seconds.clear();
    dropped = {};
    droppedByProbes = {};
    for (const auto& desktop : scenarios) {
      auto settling = firstCollapse(desktop);
      if (!settling.settled) {
        state.SkipWithError(("the first collapse did not settle on " + desktop.name).c_str());
        return;
      }
      probes.push_back(settling.probes);
      seconds.push_back(settling.seconds - scenario::nativeTimeoutAllowance(desktop));
      dropped = worstOf(dropped, settling.titlesDropped);
      droppedByProbes = worstOf(droppedByProbes, settling.titlesDroppedByProbes);
    }
  }
  state.counters["desktops"] = static_cast<double>(scenarios.size());
  state.counters["probes_median"] = median(probes);
  state.counters["probes_worst"] = *std::max_element(probes.begin(), probes.end());
  state.counters["virtual_s_median"] = median(seconds);
  state.counters["virtual_s_worst"] = *std::max_element(seconds.begin(), seconds.end());
  state.counters["titles_dropped_most"] = dropped.most;
  state.counters["titles_dropped_s_worst"] = dropped.seconds;
  state.counters["probe_titles_dropped_most"] = droppedByProbes.most;
  state.counters["probe_titles_dropped_s_worst"] = droppedByProbes.seconds;
}
BENCHMARK(BM_CorpusFirstCollapse)->Unit(benchmark::kMillisecond);

// One whole search on a desktop: the narrowest and the widest screen of the corpus.
void BM_OneWholeSearch(benchmark::State& state, const char* name) {
  const scenario::Scenario desktop =
      scenario::loadCorpusDesktop(name);
  int probes = 0;
  for (auto _ : state) {
    auto settling = firstCollapse(desktop);
    if (!settling.settled || settling.searches != 1) {
      state.SkipWithError("expected one search that settles");
      return;
    }
    probes = settling.probes;
    benchmark::DoNotOptimize(settling);
  }
  state.counters["probes"] = probes;
}
BENCHMARK_CAPTURE(BM_OneWholeSearch, laptop_13_os14, "laptop-13-os14")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_OneWholeSearch, display_6016_os27, "display-6016-os27-wide-menus")->Unit(benchmark::kMicrosecond);

}  // namespace
