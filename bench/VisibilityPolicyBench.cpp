// Cost of building a visibility plan, which the controller does on every expand and collapse.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "visibility/MenuBarVisibilityPolicy.h"

namespace {

using namespace tarvolo;
namespace P = MenuBarVisibilityPolicy;

// ~40 tracked apps over three tiers and ~80 running ids: each app plus a helper, a few
// families that pull in related ids, and unrelated background processes.
P::PlanInput sampleInput(MenuBarHidingEngine engine, MenuBarPresentation presentation) {
  P::PlanInput input{.engine = engine,
                     .presentation = presentation,
                     .expandedLength = P::defaultExpandedSeparatorLength,
                     .collapsedLength = 688,
                     .ownBundleIDs = {"com.ostrand.tarvolo"},
                     .publicCollapseSizing = P::PublicCollapseSizing::statusRegion,
                     .hiddenDividerDistance = 120};
  const ItemCategory tiers[] = {ItemCategory::alwaysVisible, ItemCategory::hidden, ItemCategory::alwaysHidden};
  for (int i = 0; i < 37; ++i) {
    const std::string id = "com.vendor" + std::to_string(i % 9) + ".App" + std::to_string(i);
    input.apps.push_back({id, tiers[i % 3]});
    input.runningBundleIDs.push_back(i % 2 == 0 ? id + "Helper" : id + ".LoginItem");
  }
  input.apps.push_back({"com.ostrand.zt-corvanta", ItemCategory::alwaysVisible});
  input.apps.push_back({"cn.better365.iShotPro", ItemCategory::hidden});
  input.apps.push_back({"com.tencent.inputmethod.wetype", ItemCategory::alwaysVisible});
  for (int i = 0; i < 43; ++i) input.runningBundleIDs.push_back("com.background.Daemon" + std::to_string(i));
  return input;
}

void planBenchmark(benchmark::State& state, MenuBarHidingEngine engine, MenuBarPresentation presentation) {
  const P::PlanInput input = sampleInput(engine, presentation);
  for (auto _ : state) {
    MenuBarVisibilityPlan result = P::plan(input);
    benchmark::DoNotOptimize(result);
  }
  state.counters["running"] = static_cast<double>(input.runningBundleIDs.size());
}

void BM_PlanPublicSpacerCollapsed(benchmark::State& state) {
  planBenchmark(state, MenuBarHidingEngine::publicSpacer, MenuBarPresentation::collapsed);
}
void BM_PlanPublicSpacerShelf(benchmark::State& state) {
  planBenchmark(state, MenuBarHidingEngine::publicSpacer, MenuBarPresentation::shelfExpanded);
}
void BM_PlanNativeCollapsed(benchmark::State& state) {
  planBenchmark(state, MenuBarHidingEngine::nativeAllowList, MenuBarPresentation::collapsed);
}
void BM_PlanNativeShelf(benchmark::State& state) {
  planBenchmark(state, MenuBarHidingEngine::nativeAllowList, MenuBarPresentation::shelfExpanded);
}

BENCHMARK(BM_PlanPublicSpacerCollapsed)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_PlanPublicSpacerShelf)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_PlanNativeCollapsed)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlanNativeShelf)->Unit(benchmark::kMicrosecond);

}  // namespace
