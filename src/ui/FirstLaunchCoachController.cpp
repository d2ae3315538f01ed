#include "ui/FirstLaunchCoachController.h"

#include "base/Log.h"
#include "localization/LocalizationManager.h"
#include "permissions/AccessibilityPermission.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace {
constexpr std::string_view kCoachWindow = "coach";
}  // namespace

FirstLaunchCoachController::FirstLaunchCoachController(Dependencies dependencies)
    : platform_(dependencies.platform),
      statusBar_(dependencies.statusBar),
      permission_(dependencies.permission),
      localization_(dependencies.localization),
      anchorWork_(dependencies.platform.mainQueue()) {
  auto weak = weakFactory_.handle();
  cancellables_.push_back(permission_.isTrusted.subscribe(
      [call = bindWeak(weak, &FirstLaunchCoachController::refresh)](const bool&) { call(); }));
  auto& queue = platform_.mainQueue();
  auto onMain = [&queue, weak](void (FirstLaunchCoachController::*method)()) {
    return onMainQueue(queue, [call = bindWeak(weak, method)](const Notification&) { call(); });
  };
  auto& center = dependencies.defaultCenter;
  cancellables_.push_back(
      center.addObserver(Notifications::appLanguageDidChange, onMain(&FirstLaunchCoachController::refresh)));
  // A new arrangement of screens moves the toggle; the coach follows once it has settled.
  cancellables_.push_back(center.addObserver(Notifications::applicationDidChangeScreenParameters,
                                             onMain(&FirstLaunchCoachController::screenParametersChanged)));
}

FirstLaunchCoachController::~FirstLaunchCoachController() {
  auto& window = platform_.userInterface().firstLaunchCoach();
  if (window.isShown()) window.close();
}

void FirstLaunchCoachController::present() {
  mainThread_.check();
  if (!isShown() && !anchorWork_.isScheduled()) model_.restart();
  anchorWhenStable();
}

void FirstLaunchCoachController::screenParametersChanged() {
  if (isShown() || anchorWork_.isScheduled()) anchorWhenStable();
}

void FirstLaunchCoachController::anchorWhenStable() {
  const auto generation = ++anchorGeneration_;
  readAnchor(generation, 1, statusBar_.ownItems().coachAnchor());
}

void FirstLaunchCoachController::readAnchor(unsigned long long generation, int reads, std::optional<Rect> previous) {
  if (generation != anchorGeneration_) return;
  anchorWork_.schedule(anchorReadInterval, [weak = weakFactory_.handle(), generation, reads, previous] {
    auto* self = weak.get();
    if (!self || generation != self->anchorGeneration_) return;
    auto current = self->statusBar_.ownItems().coachAnchor();
    const bool stable = current && previous && *current == *previous;
    if (stable || reads + 1 >= anchorReadLimit) {
      self->placeAt(current);
      return;
    }
    self->readAnchor(generation, reads + 1, current);
  });
}

void FirstLaunchCoachController::placeAt(std::optional<Rect> anchor) {
  anchor_ = anchor;
  auto& window = platform_.userInterface().firstLaunchCoach();
  if (window.isShown()) {
    window.update(viewState());
    return;
  }
  MenuBarLog::log(LogLine("coach shown").add("step", model_.step()).add("anchored", anchor.has_value()));
  window.show(viewState(), actions());
  permission_.setAsking(kCoachWindow, !permission_.isTrusted.get());
}

void FirstLaunchCoachController::refresh() {
  if (!isShown()) return;
  platform_.userInterface().firstLaunchCoach().update(viewState());
  permission_.setAsking(kCoachWindow, !permission_.isTrusted.get());
}

void FirstLaunchCoachController::next() {
  mainThread_.check();
  if (!isShown()) return;
  if (!model_.advance()) {
    finish(Finish::done);
    return;
  }
  refresh();
}

void FirstLaunchCoachController::done() { finish(Finish::done); }

void FirstLaunchCoachController::dismiss() { finish(Finish::dismiss); }

void FirstLaunchCoachController::requestPermission() {
  mainThread_.check();
  permission_.requestAccess();
  refresh();
}

void FirstLaunchCoachController::finish(Finish how) {
  mainThread_.check();
  if (!isShown()) return;
  ++anchorGeneration_;
  anchorWork_.cancel();
  std::string_view action;
  switch (how) {
    case Finish::done: action = "done"; break;
    case Finish::dismiss: action = "dismiss"; break;
  }
  MenuBarLog::log(LogLine("coach finished").add("action", action).add("step", model_.step()));
  platform_.userInterface().firstLaunchCoach().close();
  permission_.setAsking(kCoachWindow, false);
  statusBar_.completeOnboarding();
}

platform::FirstLaunchCoachViewState FirstLaunchCoachController::viewState() const {
  return model_.viewState({
      .localization = localization_,
      .access = permission_.isTrusted.get() ? AccessibilityAccess::granted : AccessibilityAccess::missing,
      .anchor = anchor_,
  });
}

platform::FirstLaunchCoachActions FirstLaunchCoachController::actions() {
  auto weak = weakFactory_.handle();
  return {
      .next = bindWeak(weak, &FirstLaunchCoachController::next),
      .done = bindWeak(weak, &FirstLaunchCoachController::done),
      .dismiss = bindWeak(weak, &FirstLaunchCoachController::dismiss),
      .requestPermission = bindWeak(weak, &FirstLaunchCoachController::requestPermission),
  };
}

}  // namespace tarvolo
