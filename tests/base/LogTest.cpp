#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "base/Log.h"

namespace tarvolo {
namespace {

TEST(LogLine, WritesKeyValueFieldsWithNumbersAndAbsentValuesAsTheLogShowsThem) {
  const LogLine line = LogLine("collapse")
                           .add("reason", "menu")
                           .add("length", 718.0)
                           .add("gap", 0.1254)
                           .add("probes", 3)
                           .add("menuLimited", false)
                           .add("next", std::optional<double>())
                           .add("screen", std::optional<std::string>("1512x982@0,0"))
                           .integer("low", 723.9)
                           .integer("edge", -0.5)
                           .raw("verdict=shared-host");
  EXPECT_EQ(line.text(),
            "collapse reason=menu length=718 gap=0.125 probes=3 menuLimited=false next=none "
            "screen=1512x982@0,0 low=723 edge=-1 verdict=shared-host");
}

TEST(LogLine, ASetJoinsWithCommasInOrderAndAnEmptyOneIsNone) {
  EXPECT_EQ(LogLine("catalog attributed").add("bundles", std::set<std::string>{"com.b", "com.a"}).text(),
            "catalog attributed bundles=com.a,com.b");
  EXPECT_EQ(LogLine("catalog attributed").add("bundles", std::set<std::string>{}).text(),
            "catalog attributed bundles=none");
}

TEST(LogLine, NumbersKeepUpToThreeDecimalsWithoutTrailingZeros) {
  EXPECT_EQ(numberText(2.5), "2.5");
  EXPECT_EQ(numberText(-0.25), "-0.25");
  EXPECT_EQ(numberText(1.0004), "1");
  EXPECT_EQ(numberText(1e15), "1000000000000000");
  EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "inf");
}

struct RecordingSink final : LogSink {
  std::vector<std::pair<LogCategory, std::string>> lines;
  void write(LogCategory category, std::string_view message) override { lines.emplace_back(category, message); }
  void writeStandardOutput(std::string_view) override {}
  void writeSystemLog(std::string_view) override {}
};

TEST(Logging, MenuBarLinesCarryTheAppsPrefixAndNothingIsWrittenWithoutASink) {
  RecordingSink sink;
  MenuBarLog::log("dropped");
  Logging::setSink(&sink);
  MenuBarLog::log("collapse reason=menu");
  Diag::log("toggleBar(deep: false)");
  Logging::setSink(nullptr);
  MenuBarLog::log("dropped too");
  EXPECT_EQ(sink.lines, (std::vector<std::pair<LogCategory, std::string>>{
                            {LogCategory::menubar, "tarvolo collapse reason=menu"},
                            {LogCategory::state, "toggleBar(deep: false)"}}));
}

}  // namespace
}  // namespace tarvolo
