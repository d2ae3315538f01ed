#include "ui/ReviewPromptController.h"

#include "base/Log.h"
#include "localization/LocalizationManager.h"
#include "ui/ReviewPrompt.h"

namespace tarvolo {

using ReviewPromptPolicy::Answer;
using ReviewPromptPolicy::Surroundings;
using ReviewPromptPolicy::Verdict;

ReviewPromptController::ReviewPromptController(Dependencies dependencies)
    : platform_(dependencies.platform),
      localization_(dependencies.localization),
      version_(std::move(dependencies.version)),
      anchor_(std::move(dependencies.anchor)),
      presentWork_(dependencies.platform.mainQueue()) {
  auto weak = weakFactory_.handle();
  auto& center = dependencies.defaultCenter;
  cancellables_.push_back(center.addObserver(Notifications::menuDidBeginTracking, [weak](const auto&) {
    if (auto* self = weak.get()) self->menuTracking_ = true;
  }));
  cancellables_.push_back(center.addObserver(Notifications::menuDidEndTracking, [weak](const auto&) {
    if (auto* self = weak.get()) self->menuTracking_ = false;
  }));
  cancellables_.push_back(center.addObserver(Notifications::appLanguageDidChange, [weak](const auto&) {
    auto* self = weak.get();
    if (self && self->isShown()) self->platform_.userInterface().reviewPrompt().update(self->viewState());
  }));
}

ReviewPromptController::~ReviewPromptController() {
  presentWork_.cancel();
  if (isShown()) platform_.userInterface().reviewPrompt().close();
}

Answer ReviewPromptController::storedAnswer() const {
  auto& defaults = platform_.defaults();
  if (!defaults.contains(answerKey)) return Answer::none;
  auto raw = defaults.getString(answerKey);
  auto answer = raw ? ReviewPromptPolicy::answerFromRaw(*raw) : std::nullopt;
  // An answer that cannot be read may have been "don't ask again": do not risk asking. The
  // value stays as it is.
  return answer.value_or(Answer::declined);
}

Surroundings ReviewPromptController::surroundings() const {
  auto& ui = platform_.userInterface();
  const bool busy = menuTracking_ || ui.iconShelfPanel().isShown() || ui.placementGuide().isShown() ||
                    ui.firstLaunchCoach().isShown() || ui.newAppNotice().isShown() || ui.preferences().isShown() ||
                    ui.reviewPrompt().isShown();
  return busy ? Surroundings::busy : Surroundings::calm;
}

Verdict ReviewPromptController::verdict(Surroundings surroundings) const {
  const auto& defaults = platform_.defaults();
  return ReviewPromptPolicy::verdict({
      .now = platform_.clock().currentDate(),
      .installDate = defaults.getDouble(ReviewPrompt::installDateKey),
      .daysOfUse = ReviewPrompt::daysOfUse(defaults),
      .version = version_,
      .askedVersion = defaults.getString(askedVersionKey),
      .askedDate = defaults.getDouble(askedDateKey),
      .answer = storedAnswer(),
      .surroundings = surroundings,
  });
}

void ReviewPromptController::noteEngagement(std::string_view moment) {
  mainThread_.check();
  ReviewPrompt::noteUse(platform_.defaults(), platform_.clock().currentDate());
  // The window that made the moment may still be closing: what else is up counts only when the
  // prompt would show. Most moments end here quietly; only a real chance is worth a line.
  if (verdict(Surroundings::calm) != Verdict::offer) return;
  Diag::log(LogLine("review prompt moment").add("moment", moment).add("delay", ReviewPromptPolicy::settleDelay));
  presentWork_.schedule(ReviewPromptPolicy::settleDelay,
                        bindWeak(weakFactory_.handle(), &ReviewPromptController::presentIfStillCalm, std::string(moment)));
}

void ReviewPromptController::presentIfStillCalm(const std::string& moment) {
  const Verdict now = verdict(surroundings());
  if (now != Verdict::offer) {
    Diag::log(LogLine("review prompt withheld").add("moment", moment).add("reason", ReviewPromptPolicy::rawValue(now)));
    return;
  }
  auto& defaults = platform_.defaults();
  defaults.set(askedVersionKey, DefaultsValue(version_));
  defaults.set(askedDateKey, DefaultsValue(platform_.clock().currentDate()));
  Diag::log(LogLine("review prompt shown").add("moment", moment).add("version", version_));
  auto weak = weakFactory_.handle();
  platform_.userInterface().reviewPrompt().show(viewState(), platform::ReviewPromptCallbacks{
                                                                 .rate = bindWeak(weak, &ReviewPromptController::rate),
                                                                 .later = bindWeak(weak, &ReviewPromptController::later),
                                                                 .never = bindWeak(weak, &ReviewPromptController::never),
                                                             });
}

void ReviewPromptController::rate() {
  answer(Answer::rated);
  platform_.application().openURL(ratingURL);
}

void ReviewPromptController::later() { answer(Answer::later); }
void ReviewPromptController::never() { answer(Answer::declined); }

void ReviewPromptController::answer(Answer answer) {
  mainThread_.check();
  Diag::log(LogLine("review prompt answered").add("answer", ReviewPromptPolicy::rawValue(answer)));
  platform_.defaults().set(answerKey, DefaultsValue(std::string(ReviewPromptPolicy::rawValue(answer))));
  if (isShown()) platform_.userInterface().reviewPrompt().close();
}

platform::ReviewPromptViewState ReviewPromptController::viewState() const {
  return platform::ReviewPromptViewState{
      .message = localization_.tr("review_message"),
      .rateTitle = localization_.tr("menu_rate_tarvolo"),
      .laterTitle = localization_.tr("review_later"),
      .neverTitle = localization_.tr("review_never"),
      .anchor = anchor_ ? anchor_() : std::nullopt,
  };
}

}  // namespace tarvolo
