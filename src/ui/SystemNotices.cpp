#include "ui/SystemNotices.h"

#include <vector>

#include "base/Log.h"
#include "discovery/owners/MenuBarWindowProbe.h"
#include "localization/LocalizationManager.h"
#include "platform/windows/UserInterface.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace Policy = SystemNoticePolicy;

SystemNotices::SystemNotices(Dependencies dependencies)
    : platform_(dependencies.platform),
      localization_(dependencies.localization),
      bar_(dependencies.bar),
      placementWork_(dependencies.platform.mainQueue()),
      readingWork_(dependencies.platform.mainQueue()) {
  const int os = platform_.system().osMajorVersion();
  if (os >= Policy::menuBarSwitchFromOSMajor) {
    placementWork_.schedule(Policy::placementReadInterval,
                            bindWeak(weakFactory_.handle(), &SystemNotices::readPlacement, 1));
  }
  // From the single bar surface on there are no item windows to measure.
  const auto stored = platform_.defaults().object(otherHidingToolToldKey);
  const bool told = stored && stored->asBool().value_or(false);
  if (told || os >= Policy::singleBarSurfaceFromOSMajor) return;
  MainQueue& queue = platform_.mainQueue();
  auto changed = onMainQueue(queue, [weak = weakFactory_.handle()](const Notification&) {
    if (auto* self = weak.get()) self->scheduleBarReading(readingDelay);
  });
  subscriptions_.push_back(dependencies.workspaceCenter.addObserver(Notifications::didActivateApplication, changed));
  subscriptions_.push_back(dependencies.defaultCenter.addObserver(Notifications::menuBarCatalogDidChange, changed));
  subscriptions_.push_back(bar_.observe([weak = weakFactory_.handle()](const StatusBarEvent& event) {
    auto* self = weak.get();
    if (!self) return;
    if (std::holds_alternative<BarEvent::StateChanged>(event) || std::holds_alternative<BarEvent::GapsChanged>(event)) {
      self->scheduleBarReading(readingDelay);
    }
  }));
  scheduleBarReading(startupReadingDelay);
}

SystemNotices::~SystemNotices() = default;

// --- kept out of the bar ---------------------------------------------------------------------

void SystemNotices::readPlacement(int read) {
  mainThread_.check();
  std::vector<Rect> screens;
  for (const auto& screen : platform_.screens().screens()) screens.push_back(screen.frame);
  const auto where = Policy::placement(bar_.ownItems().toggleFrame(), screens);
  if (where != Policy::Placement::offEveryScreen) return;
  if (read < Policy::placementReads) {
    placementWork_.schedule(Policy::placementReadInterval,
                            bindWeak(weakFactory_.handle(), &SystemNotices::readPlacement, read + 1));
    return;
  }
  MenuBarLog::log(LogLine("system notice").add("kind", menuBarNotAllowedKind).add("reads", read));
  platform_.userInterface().presentNotice(platform::NoticeRequest{
      .message = localization_.tr("notice_menu_bar_not_allowed"),
      .actionTitle = localization_.tr("notice_open_menu_bar_settings"),
      .kind = menuBarNotAllowedKind,
      .onAction = [&workspace = platform_.workspace()] { workspace.openURL(menuBarSettingsURL); },
  });
}

// --- another tool in the same bar ------------------------------------------------------------

void SystemNotices::scheduleBarReading(double delay) {
  readingWork_.schedule(delay, bindWeak(weakFactory_.handle(), &SystemNotices::readBar));
}

SystemNoticePolicy::BarReading SystemNotices::barReading() const {
  const OwnStatusItems& items = bar_.ownItems();
  std::vector<Rect> own;
  for (const auto& frame : {items.toggleFrame(), items.separatorFrame(), items.alwaysHiddenSeparatorFrame()}) {
    if (frame) own.push_back(*frame);
  }
  auto listed = platform_.windowList().onScreenWindows(platform::DesktopElements::exclude);
  if (!listed) return {};
  std::erase_if(*listed, [](const platform::WindowInfo& window) { return window.layer != Policy::statusItemWindowLayer; });
  const auto windows = MenuBarWindowProbe::menuBarWindows(*listed, platform_.screens().screens());
  return Policy::BarReading{.windows = Policy::withoutOwnItems(windows, own)};
}

void SystemNotices::readBar() {
  mainThread_.check();
  auto reading = barReading();
  const auto sign = Policy::anotherHider(lastReading_, reading);
  lastReading_ = std::move(reading);
  if (!sign) return;
  MenuBarLog::log(LogLine("system notice").add("kind", otherHidingToolKind).add("sign", Policy::rawValue(*sign)));
  platform_.defaults().set(otherHidingToolToldKey, DefaultsValue(true));
  platform_.userInterface().presentNotice(platform::NoticeRequest{
      .message = localization_.tr("notice_other_hiding_tool"),
      .kind = otherHidingToolKind,
  });
  stopWatchingForOtherTools();
}

void SystemNotices::stopWatchingForOtherTools() {
  subscriptions_.clear();
  readingWork_.cancel();
  lastReading_.reset();
}

}  // namespace tarvolo
