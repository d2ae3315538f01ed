// One keystroke in the Icon Shelf: every row ranked against the query, as the rows are
// recomputed on each change of the search text. The rows are folded once when they change (as
// the shelf's model does), so a keystroke only compares. Target: well under 100 µs for 500 rows.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "shelf/DrawerSearch.h"

namespace {

struct Row {
  std::string name;
  std::string bundleID;
};

// 500 rows: Latin, accented and Chinese names in turn.
std::vector<Row> makeRows() {
  const std::vector<std::string> latin = {"Dropbox", "Spotify", "Slack", "Raycast", "Docker Desktop", "Magnet"};
  const std::vector<std::string> accented = {"Café Timer", "Überwachung", "Ñandú Notes", "Crème Sync", "Öffi", "Señal"};
  const std::vector<std::string> chinese = {"微信", "网易云音乐", "百度网盘", "阿里云", "腾讯会议", "日历备忘录"};
  std::vector<Row> rows;
  for (int i = 0; rows.size() < 500; ++i) {
    const auto& names = i % 3 == 0 ? latin : i % 3 == 1 ? accented : chinese;
    const std::string& name = names[static_cast<std::size_t>(i / 3) % names.size()];
    rows.push_back({name + " " + std::to_string(i), "com.example.app" + std::to_string(i)});
  }
  return rows;
}

std::vector<tarvolo::DrawerSearch::SearchKey> prepare(const std::vector<Row>& rows) {
  std::vector<tarvolo::DrawerSearch::SearchKey> keys;
  keys.reserve(rows.size());
  for (const auto& row : rows) keys.push_back(tarvolo::DrawerSearch::searchKey(row.name, row.bundleID));
  return keys;
}

void BM_RankFiveHundredRowsPerKeystroke(benchmark::State& state, const char* query) {
  const auto rows = makeRows();
  const auto keys = prepare(rows);
  for (auto _ : state) {
    auto matches = tarvolo::DrawerSearch::ordered(rows, keys, query);
    benchmark::DoNotOptimize(matches);
  }
  state.SetLabel("500 rows per iteration");
}
BENCHMARK_CAPTURE(BM_RankFiveHundredRowsPerKeystroke, latin, "sla")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_RankFiveHundredRowsPerKeystroke, accented, "cafe")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_RankFiveHundredRowsPerKeystroke, pinyin, "wx")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_RankFiveHundredRowsPerKeystroke, noMatch, "zzq")->Unit(benchmark::kMicrosecond);

// Paid once per change of the rows (a refresh), not per keystroke.
void BM_PrepareFiveHundredRows(benchmark::State& state) {
  const auto rows = makeRows();
  for (auto _ : state) {
    auto keys = prepare(rows);
    benchmark::DoNotOptimize(keys);
  }
}
BENCHMARK(BM_PrepareFiveHundredRows)->Unit(benchmark::kMicrosecond);

}  // namespace
