#include "harness/CollapseSettling.h"

#include <algorithm>
#include <optional>

#include "harness/ScenarioRunner.h"
#include "harness/SimSession.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "native/owners/VisibilityAssertionSession.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::scenario {

namespace {

// The clock advances in steps this small while the collapse is watched.
constexpr double kWatchStep = 0.05;
// How long an expanded bar is given to settle before it is checked: a measurement and, the
// first time on a desktop, a search of the always-hidden length.
constexpr double kShelfSettle = 3.0;

std::optional<double> ownPosition(sim::SimDesktop& desktop, const char* autosaveName) {
  return desktop.defaults().getDouble(OwnStatusItems::preferredPositionKey(autosaveName));
}

// The system's engine stands verified once the system holds the list; the own separators once
// their collapse was judged laid out.
bool collapseConfirmed(const StatusBarController& controller) {
  if (controller.hidingEngines().hidingEngine() == MenuBarHidingEngine::nativeAllowList) {
    return controller.hidingEngines().nativeEngine().state() == NativeEngineState::active;
  }
  const CollapseEngine& engine = controller.collapseEngine();
  return !engine.cliff().cliffSearchInFlight() &&
         engine.verifier().lastCollapseVerdict() == MenuBarVisibilityPolicy::SeparatorLayoutVerdict::laidOut;
}

bool standsVerified(sim::SimDesktop& desktop, const StatusBarController* controller) {
  return controller && !controller->state().isExpanded && collapseConfirmed(*controller) &&
         collapseProblems(desktop).empty();
}

}  // namespace

std::vector<std::string> collapseProblems(sim::SimDesktop& desktop) {
  std::vector<std::string> problems;
  const auto* toggle = desktop.bar().ownItem(OwnStatusItems::toggleAutosaveName);
  const auto* separator = desktop.bar().ownItem(OwnStatusItems::separatorAutosaveName);
  if (!toggle || !toggle->onScreen) problems.push_back("toggle off screen");
  // Under the system's allow-list the separators take no room and may stand anywhere.
  const bool systemHides = desktop.assessmentMode().restriction().has_value();
  if (!systemHides && (!separator || !separator->onScreen)) problems.push_back("separator off screen");
  if (desktop.bar().menuTitlesDropped() > 0) {
    problems.push_back(std::to_string(desktop.bar().menuTitlesDropped()) + " menu titles dropped");
  }
  auto fold = ownPosition(desktop, OwnStatusItems::separatorAutosaveName);
  if (!fold) {
    problems.push_back("separator has no stored position");
    return problems;
  }
  for (const auto* item : desktop.bar().allItems()) {
    if (item->ownerPid == sim::kOwnPid) continue;
    const bool alwaysVisible = item->preferredPosition && *item->preferredPosition < *fold;
    if (alwaysVisible == item->onScreen) continue;
    std::string who = desktop.processes().bundleIdOfPid(item->ownerPid).value_or("?") + "/" + item->autosaveName;
    problems.push_back(who + (alwaysVisible ? " (always visible) off screen" : " (hidden) on screen"));
  }
  return problems;
}

std::vector<std::string> shelfProblems(sim::SimDesktop& desktop) {
  std::vector<std::string> problems;
  auto deep = ownPosition(desktop, OwnStatusItems::alwaysHiddenAutosaveName);
  if (!deep) return {"always-hidden separator has no stored position"};
  if (desktop.bar().menuTitlesDropped() > 0) {
    problems.push_back(std::to_string(desktop.bar().menuTitlesDropped()) + " menu titles dropped");
  }
  const auto* hidden = desktop.bar().ownItem(OwnStatusItems::alwaysHiddenAutosaveName);
  if (hidden && hidden->rejected) problems.push_back("always-hidden separator ejected");
  for (const auto* item : desktop.bar().allItems()) {
    if (item->ownerPid == sim::kOwnPid || !item->onScreen) continue;
    if (!item->preferredPosition || *item->preferredPosition <= *deep) continue;
    problems.push_back(desktop.processes().bundleIdOfPid(item->ownerPid).value_or("?") + "/" + item->autosaveName +
                       " (always hidden) on screen");
  }
  return problems;
}

int countLogLines(const sim::SimDesktop& desktop, const std::string& needle, std::size_t from) {
  int count = 0;
  const auto& lines = desktop.logSink().lines();
  for (std::size_t i = from; i < lines.size(); ++i) {
    if (lines[i].message.find(needle) != std::string::npos) ++count;
  }
  return count;
}

double nativeTimeoutAllowance(const Scenario& scenario) {
  const auto& mode = scenario.settings.assessmentMode;
  const bool silent = mode.offered && mode.activation == sim::SimActivation::neverCompletes;
  return silent ? VisibilityAssertionSession::activationTimeout : 0;
}

CollapseSettling settleFirstCollapse(const Scenario& scenario, sim::SimDefaultsStore defaults, double limit) {
  auto desktop = makeDesktop(scenario);
  desktop->replaceDefaults(std::move(defaults));
  sim::SimSession session(std::move(desktop));
  CollapseSettling result;
  const double start = session.now();
  const std::size_t timersBefore = session.queue().executedCount();
  session.launch();
  // Counted in whole steps: a drop seen at one reading counts until the next.
  auto watchTitles = [&](double step) {
    const int dropped = session.desktop().bar().menuTitlesDropped();
    const auto* controller = session.controller();
    // The probe is the one long item only while the always-hidden separator stands short.
    const auto* deep = session.desktop().bar().ownItem(OwnStatusItems::alwaysHiddenAutosaveName);
    const bool probing = controller && controller->collapseEngine().cliff().cliffSearchInFlight() &&
                         (!deep || deep->length <= StatusBarController::expandedSeparatorLength);
    auto& tally = probing ? result.titlesDroppedByProbes : result.titlesDropped;
    tally.most = std::max(tally.most, dropped);
    if (dropped > 0) tally.seconds += step;
  };
  std::optional<double> settledAt;
  while (session.now() - start < limit - 1e-9) {
    const double step = std::min(kWatchStep, limit - (session.now() - start));
    watchTitles(step);
    session.runFor(step);
    auto* controller = session.controller();
    if (!result.verifiedAfter && controller && controller->collapseEngine().verifier().collapseVerifiedAt()) {
      result.verifiedAfter = *controller->collapseEngine().verifier().collapseVerifiedAt() - start;
    }
    if (!result.verifiedAfter && controller && !controller->state().isExpanded && collapseConfirmed(*controller)) {
      result.verifiedAfter = session.now() - start;
    }
    if (!settledAt && standsVerified(session.desktop(), controller)) settledAt = session.now() - start;
  }
  auto* controller = session.controller();
  result.settled = standsVerified(session.desktop(), controller);
  result.seconds = settledAt.value_or(limit);
  if (controller) {
    result.probes = controller->collapseEngine().cliff().cliffProbesMade();
    result.searches = controller->collapseEngine().cliff().cliffSearchesStarted();
  }
  result.problems = collapseProblems(session.desktop());
  result.timersRun = session.queue().executedCount() - timersBefore;
  result.timersPending = session.queue().pendingCount();
  if (controller && result.settled) {
    controller->expandBar(ExpandDepth::normal, Initiator::user);
    session.runFor(kShelfSettle);
    result.shelfProblems = shelfProblems(session.desktop());
    // Everything shown, then back to the normal expanded bar.
    controller->expandBar(ExpandDepth::deep, Initiator::user);
    session.runFor(kShelfSettle);
    controller->expandBar(ExpandDepth::normal, Initiator::user);
    session.runFor(kShelfSettle);
    result.steppedDownShelfProblems = shelfProblems(session.desktop());
    result.shelfProbes = controller->collapseEngine().shelf().probesMade();
  }
  // What the expanded bars learnt is kept for the next launch too.
  result.defaults = session.desktop().defaults();
  return result;
}

}  // namespace tarvolo::scenario
