#include "ui/ReviewPromptPolicy.h"

#include <gtest/gtest.h>

namespace tarvolo {
namespace {

using namespace ReviewPromptPolicy;

constexpr double kDay = 86400;
constexpr double kNow = 1'800'000'000;

// A user of three weeks with ten days of use, never asked, nothing on screen.
Input seasoned() {
  return Input{.now = kNow,
               .installDate = kNow - 21 * kDay,
               .daysOfUse = 10,
               .version = "1.0",
               .askedVersion = std::nullopt,
               .askedDate = std::nullopt,
               .answer = Answer::none,
               .surroundings = Surroundings::calm};
}

TEST(ReviewPromptPolicy, AsksOnlyAfterTwoWeeksAndSevenDaysOfUse) {
  EXPECT_EQ(verdict(seasoned()), Verdict::offer);
  Input young = seasoned();
  young.installDate = kNow - minimumAge + 60;
  EXPECT_EQ(verdict(young), Verdict::tooNew);
  young.installDate = kNow - minimumAge;
  EXPECT_EQ(verdict(young), Verdict::offer);
  Input unknownInstall = seasoned();
  unknownInstall.installDate.reset();
  EXPECT_EQ(verdict(unknownInstall), Verdict::tooNew);
  Input light = seasoned();
  light.daysOfUse = minimumDaysOfUse - 1;
  EXPECT_EQ(verdict(light), Verdict::tooFewDays);
  light.daysOfUse = minimumDaysOfUse;
  EXPECT_EQ(verdict(light), Verdict::offer);
}

TEST(ReviewPromptPolicy, NeverWhileSomethingElseIsUp) {
  Input busy = seasoned();
  busy.surroundings = Surroundings::busy;
  EXPECT_EQ(verdict(busy), Verdict::busy);
}

TEST(ReviewPromptPolicy, AnAnswerEndsItForGoodAndLaterWaitsForTheNextVersion) {
  for (Answer answer : {Answer::rated, Answer::declined}) {
    Input answered = seasoned();
    answered.answer = answer;
    answered.askedVersion = "0.9";
    answered.askedDate = kNow - 400 * kDay;
    EXPECT_EQ(verdict(answered), Verdict::answered) << rawValue(answer);
  }
  Input later = seasoned();
  later.answer = Answer::later;
  later.askedVersion = "1.0";
  later.askedDate = kNow - 100 * kDay;
  EXPECT_EQ(verdict(later), Verdict::askedThisVersion);
  // An update alone is not enough: two questions stay two months apart.
  later.version = "1.1";
  later.askedDate = kNow - minimumInterval + kDay;
  EXPECT_EQ(verdict(later), Verdict::askedRecently);
  later.askedDate = kNow - minimumInterval;
  EXPECT_EQ(verdict(later), Verdict::offer);
}

TEST(ReviewPromptPolicy, AnswersReadBackFromTheirStoredText) {
  for (Answer answer : {Answer::none, Answer::later, Answer::rated, Answer::declined}) {
    EXPECT_EQ(answerFromRaw(rawValue(answer)), answer);
  }
  EXPECT_EQ(answerFromRaw("Rated"), std::nullopt);
  EXPECT_EQ(answerFromRaw(""), std::nullopt);
}

}  // namespace
}  // namespace tarvolo
