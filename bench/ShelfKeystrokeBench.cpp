// One keystroke in the Icon Shelf as the app takes it: the panel's search field hands the text
// to the shelf's controller, which filters the rows, moves the selection to the best match and
// updates the panel. 500 rows: 100 applications with five icons each, read through
// Accessibility as the shelf opens.

#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "BenchDesktops.h"
#include "app/AppEnvironment.h"
#include "discovery/owners/CategoryStore.h"
#include "harness/SimSession.h"
#include "shelf/owners/MenuBarAccessController.h"

namespace {

using namespace tarvolo;

// Typing a name letter by letter, then clearing the field.
constexpr std::array<const char*, 6> kKeystrokes = {"u", "ut", "uti", "util", "utility 4", ""};

void BM_ShelfKeystroke(benchmark::State& state, std::optional<MenuBarAccessTier> tier) {
  sim::SimSession session(bench::crowdedDesktop(100, 5));
  session.launch();
  session.runFor(3.0);
  AppEnvironment* environment = session.delegate() ? session.delegate()->environment() : nullptr;
  MenuBarAccessController* shelf = environment ? environment->iconShelf() : nullptr;
  if (!shelf) {
    state.SkipWithError("the app did not start");
    return;
  }
  // Every third application saved as hidden, so a tier filter has rows to show.
  for (int i = 0; i < 100; i += 3) {
    environment->categoryStore().setCategory("com.vendor" + std::to_string(i % 17) + ".utility" + std::to_string(i),
                                             ItemCategory::hidden);
  }
  shelf->showShelf(tier);
  session.runFor(3.0);
  const std::size_t rows = shelf->model().items.get().size();
  if (rows == 0) {
    state.SkipWithError("the shelf read no rows");
    return;
  }
  std::size_t next = 0;
  for (auto _ : state) {
    shelf->setQuery(kKeystrokes[next]);
    next = (next + 1) % kKeystrokes.size();
  }
  state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK_CAPTURE(BM_ShelfKeystroke, allTiers, std::nullopt)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_ShelfKeystroke, hiddenTier, MenuBarAccessTier::hidden)->Unit(benchmark::kMicrosecond);

}  // namespace
