#include <gtest/gtest.h>

#include "ui/UpdatePolicy.h"

namespace tarvolo {
namespace {

TEST(UpdatePolicy, VersionsCompareNumericallyPartByPart) {
  EXPECT_LT(UpdatePolicy::compareVersions("1.9", "1.10"), 0);
  EXPECT_GT(UpdatePolicy::compareVersions("2.0", "1.99.9"), 0);
  EXPECT_EQ(UpdatePolicy::compareVersions("2", "2.0.0"), 0);
  EXPECT_EQ(UpdatePolicy::compareVersions("1.02", "1.2"), 0);
  EXPECT_LT(UpdatePolicy::compareVersions("1.0", "1.0.1"), 0);
  // Longer than any integer type: compared as digits, not converted.
  EXPECT_LT(UpdatePolicy::compareVersions("1.99999999999999999999", "1.100000000000000000000"), 0);
  // A part that is not a number compares as text.
  EXPECT_LT(UpdatePolicy::compareVersions("1.0b1", "1.0b2"), 0);
}

TEST(UpdatePolicy, OnlyVersionsAboveTheSkippedOneAreOffered) {
  EXPECT_TRUE(UpdatePolicy::isOffered("1.1", std::nullopt));
  EXPECT_FALSE(UpdatePolicy::isOffered("1.1", std::string("1.1")));
  EXPECT_FALSE(UpdatePolicy::isOffered("1.0.5", std::string("1.1")));
  EXPECT_TRUE(UpdatePolicy::isOffered("1.1.1", std::string("1.1")));
}

TEST(UpdatePolicy, ABackgroundCheckIsDueADayAfterTheLastOne) {
  const double day = UpdatePolicy::checkInterval;
  UpdatePolicy::BackgroundInput input{.now = 10 * day, .lastCheck = 9 * day + 1};
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::notDue);
  EXPECT_DOUBLE_EQ(UpdatePolicy::secondsUntilDue(input.lastCheck, input.now), 1);
  input.lastCheck = 9 * day;
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::check);
  input.lastCheck.reset();
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::check) << "never checked: due";
  // A clock set back leaves a last check in the future, which is not trusted.
  input.lastCheck = 11 * day;
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::check);
}

TEST(UpdatePolicy, SwitchedOffComesFirstThenTheCoachThenABusyUpdater) {
  UpdatePolicy::BackgroundInput input{.now = 100, .automaticChecks = false, .coachRunning = true, .sessionRunning = true};
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::switchedOff);
  input.automaticChecks = true;
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::coachRunning);
  input.coachRunning = false;
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::busy);
  input.sessionRunning = false;
  EXPECT_EQ(UpdatePolicy::backgroundVerdict(input), UpdatePolicy::Verdict::check);
}

TEST(UpdatePolicy, MegabytesRoundToATenthInTheLanguagesDecimalMark) {
  EXPECT_EQ(UpdatePolicy::megabytes(0, "en"), "0.0");
  EXPECT_EQ(UpdatePolicy::megabytes(49'999, "en"), "0.0");
  EXPECT_EQ(UpdatePolicy::megabytes(50'000, "en"), "0.1");
  EXPECT_EQ(UpdatePolicy::megabytes(12'345'678, "en"), "12.3");
  EXPECT_EQ(UpdatePolicy::megabytes(12'345'678, "de"), "12,3");
  EXPECT_EQ(UpdatePolicy::megabytes(12'345'678, "fr"), "12,3");
  EXPECT_EQ(UpdatePolicy::megabytes(12'345'678, "ja"), "12.3");
}

}  // namespace
}  // namespace tarvolo
