#include "discovery/owners/NewAppLaunchCenter.h"

#include "base/Log.h"
#include "base/Text.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "discovery/owners/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "localization/StringFormat.h"

namespace tarvolo {

namespace Policy = NewAppNoticePolicy;

NewAppLaunchCenter::NewAppLaunchCenter(Dependencies dependencies)
    : platform_(dependencies.platform),
      catalog_(dependencies.catalog),
      notices_(dependencies.notices),
      localization_(dependencies.localization),
      arrangeWork_(dependencies.platform.mainQueue()),
      dismissWork_(dependencies.platform.mainQueue()) {
  auto weakSelf = weak();
  cancellables_.push_back(dependencies.workspaceCenter.addObserver(
      Notifications::didLaunchApplication,
      onMainQueue(platform_.mainQueue(), [weakSelf](const Notification& notification) {
        auto* self = weakSelf.get();
        const auto* app = notification.objectAs<platform::RunningApplication>();
        if (self && app) self->noteLaunch(*app);
      })));
}

NewAppLaunchCenter::~NewAppLaunchCenter() {
  // The panel's buttons call back into this object.
  if (platform_.userInterface().newAppNotice().isShown()) platform_.userInterface().newAppNotice().close();
}

void NewAppLaunchCenter::noteLaunch(const platform::RunningApplication& app) {
  mainThread_.check();
  if (!app.bundleIdentifier) return;
  const std::string id = text::lowercased(*app.bundleIdentifier);
  if (id.empty()) return;
  // Known before this launch: it ran before, so its icon is no news.
  const bool alreadySeen = notices_.launchNoticeAlreadySeen(id) || notices_.isKnown(id);
  const auto action = Policy::launchAction({.kind = activationKind(app.activationPolicy),
                                            .bundlePath = app.bundlePath,
                                            .alreadySeen = alreadySeen,
                                            .noticesEnabled = notices_.newAppNoticesEnabled(),
                                            .homeDirectory = platform_.system().homeDirectory()});
  MenuBarLog::log(LogLine("newApp launch").add("bundle", id).add("action", rawValue(action)));
  names_[id] = app.localizedName;
  switch (action) {
    case NewAppLaunchAction::skip:
      return;
    case NewAppLaunchAction::scheduleAccessory:
      schedule(id, Policy::accessoryDelay, &NewAppLaunchCenter::offer);
      return;
    case NewAppLaunchAction::watchRegularForGap:
      watches_[id] = Watch{.name = app.localizedName, .startedAt = platform_.clock().now()};
      schedule(id, Policy::recheckDelay(0, Policy::recheckDebounce, Policy::regularWindow).value_or(0),
               &NewAppLaunchCenter::recheckRegular);
      return;
  }
}

void NewAppLaunchCenter::schedule(const std::string& bundleID, double delay,
                                  void (NewAppLaunchCenter::*step)(const std::string&)) {
  auto& work = pendingWork_[bundleID];
  if (!work) work = std::make_unique<WorkItem>(platform_.mainQueue());
  work->schedule(delay, bindWeak(weak(), step, bundleID));
}

void NewAppLaunchCenter::cancelWork(const std::string& bundleID) { pendingWork_.erase(bundleID); }

void NewAppLaunchCenter::noteGapChange() {
  mainThread_.check();
  const double now = platform_.clock().now();
  for (auto& [id, watch] : watches_) {
    if (watch.gapChanged) continue;
    watch.gapChanged = true;
    // Past the debounce the notice need not wait for the next recheck.
    if (now - watch.startedAt >= Policy::recheckDebounce) schedule(id, 0, &NewAppLaunchCenter::recheckRegular);
  }
}

void NewAppLaunchCenter::recheckRegular(const std::string& bundleID) {
  auto found = watches_.find(bundleID);
  if (found == watches_.end()) return;
  const double age = platform_.clock().now() - found->second.startedAt;
  switch (Policy::showDecision(MenuBarActivationKind::regular, age, found->second.gapChanged)) {
    case NewAppShowDecision::skip:
      cancelWork(bundleID);
      watches_.erase(found);
      markNoticed(bundleID, "expired");
      return;
    case NewAppShowDecision::show:
      cancelWork(bundleID);
      watches_.erase(found);
      offer(bundleID);
      return;
    case NewAppShowDecision::wait:
      break;
  }
  if (auto delay = Policy::recheckDelay(age, Policy::recheckDebounce, Policy::regularWindow)) {
    schedule(bundleID, *delay, &NewAppLaunchCenter::recheckRegular);
    return;
  }
  cancelWork(bundleID);
  watches_.erase(bundleID);
  markNoticed(bundleID, "expired");
}

void NewAppLaunchCenter::offer(const std::string& bundleID) {
  mainThread_.check();
  cancelWork(bundleID);
  // An icon the user can already see needs no word.
  if (catalog_.iconInZone(bundleID, PlacementZone::alwaysVisible) == true) {
    markNoticed(bundleID, "visible");
    return;
  }
  if (auto now = queue_.enqueue(bundleID)) {
    present(*now);
    return;
  }
  MenuBarLog::log(LogLine("newApp queued").add("bundle", bundleID).add("waiting", queue_.pending.size()));
}

void NewAppLaunchCenter::present(const std::string& bundleID) {
  markNoticed(bundleID, "shown");
  const std::string name = displayName(bundleID);
  const MenuBarAppItem* item = catalog_.item(bundleID);
  platform::NewAppNoticeViewState state{
      .bundleId = bundleID,
      .title = name,
      .message = formatText(localization_.tr("new_app_maybe_hidden"), {name}),
      .iconPath = item ? item->iconPath : std::nullopt,
      .arrangeTitle = localization_.tr("new_app_show_arrange"),
      .ignoreTitle = localization_.tr("new_app_ignore"),
  };
  platform_.userInterface().newAppNotice().show(
      state, platform::NewAppNoticeCallbacks{.arrange = bindWeak(weak(), &NewAppLaunchCenter::arrangeClicked),
                                             .ignore = bindWeak(weak(), &NewAppLaunchCenter::ignoreClicked)});
  dismissWork_.schedule(Policy::panelLifetime, bindWeak(weak(), &NewAppLaunchCenter::panelTimedOut));
}

void NewAppLaunchCenter::closePanel() {
  dismissWork_.cancel();
  auto& panel = platform_.userInterface().newAppNotice();
  if (panel.isShown()) panel.close();
}

void NewAppLaunchCenter::panelTimedOut() {
  MenuBarLog::log(LogLine("newApp dismissed").add("bundle", queue_.showing).add("reason", "timeout"));
  closePanel();
  presentNext();
}

void NewAppLaunchCenter::arrangeClicked() {
  mainThread_.check();
  if (!queue_.showing) return;
  const std::string bundleID = *queue_.showing;
  MenuBarLog::log(LogLine("newApp arrange").add("bundle", bundleID));
  closePanel();
  // The queue keeps this notice as current while the user arranges, so later ones wait.
  holdingForArrange_ = startArrange_ && startArrange_(bundleID);
  if (!holdingForArrange_) presentNext();
}

void NewAppLaunchCenter::ignoreClicked() {
  mainThread_.check();
  if (!queue_.showing) return;
  MenuBarLog::log(LogLine("newApp ignore").add("bundle", *queue_.showing));
  closePanel();
  presentNext();
}

void NewAppLaunchCenter::noteGuideEnded() {
  mainThread_.check();
  if (!holdingForArrange_) return;
  holdingForArrange_ = false;
  presentNext();
}

void NewAppLaunchCenter::presentNext() {
  arrangeWork_.schedule(nextNoticeDelay, bindWeak(weak(), [](NewAppLaunchCenter& self) {
                          if (self.holdingForArrange_) return;
                          if (auto next = self.queue_.finishCurrent()) self.present(*next);
                        }));
}

void NewAppLaunchCenter::markNoticed(const std::string& bundleID, std::string_view outcome) {
  notices_.markLaunchNoticeSeen(bundleID);
  MenuBarLog::log(LogLine("newApp noticed").add("bundle", bundleID).add("outcome", outcome));
}

std::string NewAppLaunchCenter::displayName(const std::string& bundleID) const {
  if (const MenuBarAppItem* item = catalog_.item(bundleID)) return item->name;
  auto found = names_.find(bundleID);
  return found != names_.end() && !found->second.empty() ? found->second : bundleID;
}

}  // namespace tarvolo
