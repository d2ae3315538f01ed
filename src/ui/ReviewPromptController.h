#pragma once

// Owns the rating prompt: keeps the days of use, and after a calm moment the user just brought
// about (settings closed, an icon placed) asks the policy whether to ask; shows the panel a
// little later if nothing else has come up meanwhile, and stores the answer. Main thread only.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Geometry.h"
#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "platform/windows/UserInterface.h"
#include "ui/ReviewPromptPolicy.h"

namespace tarvolo {

class LocalizationManager;

class ReviewPromptController {
 public:
  static constexpr const char* answerKey = "com.ostrand.tarvolo.review.answer";
  static constexpr const char* askedVersionKey = "com.ostrand.tarvolo.review.askedVersion";
  static constexpr const char* askedDateKey = "com.ostrand.tarvolo.review.askedDate";
  static constexpr const char* ratingURL = "https://tarvolo.app/review";

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    LocalizationManager& localization;
    std::string version;
    // The toggle's frame, for the panel to hang under.
    std::function<std::optional<Rect>()> anchor;
  };
  explicit ReviewPromptController(Dependencies dependencies);
  ~ReviewPromptController();
  ReviewPromptController(const ReviewPromptController&) = delete;
  ReviewPromptController& operator=(const ReviewPromptController&) = delete;

  // The user just finished something: a day of use, and perhaps the moment to ask.
  void noteEngagement(std::string_view moment);
  bool isShown() const { return platform_.userInterface().reviewPrompt().isShown(); }

  // --- the panel's buttons
  void rate();
  void later();
  void never();

 private:
  ReviewPromptPolicy::Verdict verdict(ReviewPromptPolicy::Surroundings surroundings) const;
  ReviewPromptPolicy::Answer storedAnswer() const;
  ReviewPromptPolicy::Surroundings surroundings() const;
  void presentIfStillCalm(const std::string& moment);
  void answer(ReviewPromptPolicy::Answer answer);
  platform::ReviewPromptViewState viewState() const;

  platform::Platform& platform_;
  LocalizationManager& localization_;
  std::string version_;
  std::function<std::optional<Rect>()> anchor_;
  MainThreadChecker mainThread_;
  bool menuTracking_ = false;
  WorkItem presentWork_;
  Cancellables cancellables_;
  WeakHandleFactory<ReviewPromptController> weakFactory_{this};
};

}  // namespace tarvolo
