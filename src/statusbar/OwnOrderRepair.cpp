#include "statusbar/OwnOrderRepair.h"

#include "base/Log.h"
#include "localization/LocalizationManager.h"
#include "platform/windows/UserInterface.h"
#include "statusbar/OwnStatusItems.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

namespace {
// The system lays re-created items out within a frame or two; the order is read after that.
constexpr double kVerifyDelay = 0.5;
constexpr int kVerifyAttempts = 3;
constexpr double kOrderCheckDelay = 1.0;
constexpr double kDoneNoticeDuration = 4;
constexpr double kBusyNoticeDuration = 3;
constexpr double kOfferNoticeDuration = 20;
}  // namespace

std::string_view OwnOrderRepair::noticeKindName(RepairNoticeKind kind) {
  switch (kind) {
    case RepairNoticeKind::offer: return "orderRepairOffer";
    case RepairNoticeKind::busy: return "orderRepairBusy";
    case RepairNoticeKind::done: return "orderRepairDone";
    case RepairNoticeKind::dragBack: return "orderRepairDragBack";
  }
  return "orderRepairOffer";
}

OwnOrderRepair::OwnOrderRepair(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      localization_(dependencies.localization),
      host_(dependencies.host),
      orderCheckWork_(dependencies.platform.mainQueue()),
      verifyWork_(dependencies.platform.mainQueue()),
      orderRepairNoticeWork_(dependencies.platform.mainQueue()) {}

std::string OwnOrderRepair::text(std::string_view key) const { return localization_.tr(key); }

bool OwnOrderRepair::repairOffered() const {
  return repairNoticeKind_ == RepairNoticeKind::offer || host_.readAlwaysVisibleAnchor() == false;
}

void OwnOrderRepair::scheduleOrderRepairCheck(Trigger trigger) {
  mainThread_.check();
  orderCheckWork_.schedule(kOrderCheckDelay,
                           bindWeak(weakFactory_.handle(), &OwnOrderRepair::considerOrderRepair, trigger));
}

void OwnOrderRepair::considerOrderRepair(Trigger trigger) {
  if (ownOrderRepairInFlight_ || host_.readAlwaysVisibleAnchor() != false) return;
  const bool automatic = trigger == Trigger::automatic;
  MenuBarLog::log(LogLine("own-order wrong").add("automatic", automatic));
  // The system hides by its list, not by where the separators stand: nothing to repair unasked.
  if (automatic && host_.systemHidesByList()) return;
  if (automatic && !didAutomaticOwnOrderRepairThisLaunch_) {
    didAutomaticOwnOrderRepairThisLaunch_ = true;
    beginOwnOrderRepair(Requester::automatic, Occasion::asked);
    return;
  }
  // Offered once per launch unasked; a withheld collapse or the menu offers it again.
  if (didAutoOfferOrderRepair_) return;
  didAutoOfferOrderRepair_ = true;
  presentOrderRepairNotice(text("order_repair_manual"), text("order_repair_action"), RepairNoticeKind::offer);
}

void OwnOrderRepair::considerRepairForUserCollapse() {
  const double now = platform_.clock().now();
  // A collapse right after a repair means the repair did not stick: say so rather than loop.
  bool tooSoon = lastUserOwnOrderRepairAt_ && now - *lastUserOwnOrderRepairAt_ < Policy::userOwnOrderRepairMinimumInterval;
  if (ownOrderRepairInFlight_ || tooSoon) {
    MenuBarLog::log(LogLine("own-order repair busy").add("inFlight", ownOrderRepairInFlight_));
    presentOrderRepairNotice(text("order_repair_busy"), std::nullopt, RepairNoticeKind::busy);
    return;
  }
  if (userOwnOrderRepairFailures_ >= Policy::userOwnOrderRepairFailureLimit) {
    handOverToManualPlacement();
    return;
  }
  beginOwnOrderRepair(Requester::user, Occasion::collapseAttempt);
}

void OwnOrderRepair::repairMenuBarOrder() {
  mainThread_.check();
  if (userOwnOrderRepairFailures_ >= Policy::userOwnOrderRepairFailureLimit) {
    handOverToManualPlacement();
    return;
  }
  beginOwnOrderRepair(Requester::user, Occasion::asked);
}

void OwnOrderRepair::beginOwnOrderRepair(Requester requester, Occasion occasion) {
  mainThread_.check();
  const bool automatic = requester == Requester::automatic;
  const bool openedByCollapseAttempt = occasion == Occasion::collapseAttempt;
  if (ownOrderRepairInFlight_) {
    MenuBarLog::log("own-order repair ignored inFlight=true");
    return;
  }
  lastRepairAutomatic_ = automatic;
  if (host_.systemHidesByList()) {
    MenuBarLog::log(LogLine("own-order repair by list").add("automatic", automatic));
    handOverToManualPlacement();
    return;
  }
  auto anchors = items_.ownItemRightEdges();
  auto& defaults = platform_.defaults();
  using Items = OwnStatusItems;
  Policy::OwnItemValues stored{
      .toggle = defaults.getDouble(Items::preferredPositionKey(Items::toggleAutosaveName)),
      .separator = defaults.getDouble(Items::preferredPositionKey(Items::separatorAutosaveName)),
      .alwaysHidden = defaults.getDouble(Items::preferredPositionKey(Items::alwaysHiddenAutosaveName)),
  };
  auto slots = Policy::positiveRepairSlots(stored, anchors);
  if (!slots) {
    MenuBarLog::log(LogLine("own-order repair no-slots").add("automatic", automatic));
    handOverToManualPlacement();
    return;
  }
  ownOrderRepairInFlight_ = true;
  ++ownOrderRepairAttempt_;
  lastRepairAutomatic_ = automatic;
  if (!automatic) lastUserOwnOrderRepairAt_ = platform_.clock().now();
  const auto positions = Policy::forcedRepairPositions(*slots);
  MenuBarLog::log(LogLine("own-order repair")
                      .add("arrow", positions.toggle)
                      .add("fold", positions.separator)
                      .add("hidden", positions.alwaysHidden)
                      .add("automatic", automatic)
                      .add("collapseAttempt", openedByCollapseAttempt));
  host_.recreateOwnItems(positions);
  const auto generation = ++generation_;
  verifyWork_.schedule(kVerifyDelay, bindWeak(weakFactory_.handle(), &OwnOrderRepair::verifyOrder, generation, 1));
}

void OwnOrderRepair::verifyOrder(unsigned long long generation, int attempt) {
  if (generation != generation_ || !ownOrderRepairInFlight_) return;
  auto order = host_.readAlwaysVisibleAnchor();
  if (!order && attempt < kVerifyAttempts) {
    verifyWork_.schedule(kVerifyDelay,
                         bindWeak(weakFactory_.handle(), &OwnOrderRepair::verifyOrder, generation, attempt + 1));
    return;
  }
  finish(order.value_or(false));
}

void OwnOrderRepair::finish(bool inOrder) {
  ownOrderRepairInFlight_ = false;
  MenuBarLog::log(LogLine("own-order repair verified").add("inOrder", inOrder).add("attempt", ownOrderRepairAttempt_));
  host_.orderRepairFinished(inOrder);
  if (inOrder) {
    userOwnOrderRepairFailures_ = 0;
    presentOrderRepairNotice(text("order_repair_done"), std::nullopt, RepairNoticeKind::done);
    return;
  }
  if (!lastRepairAutomatic_) ++userOwnOrderRepairFailures_;
  if (userOwnOrderRepairFailures_ >= Policy::userOwnOrderRepairFailureLimit) handOverToManualPlacement();
}

// Rewriting positions did not help: the guide shows the user how to drag the items back, and a
// notice says so where the guide cannot run.
void OwnOrderRepair::handOverToManualPlacement() {
  MenuBarLog::log(LogLine("own-order repair handover").add("failures", userOwnOrderRepairFailures_));
  if (host_.handAnchorRepairToGuide(lastRepairAutomatic_ ? Requester::automatic : Requester::user)) return;
  presentOrderRepairNotice(text("order_repair_drag_back"), std::nullopt, RepairNoticeKind::dragBack);
}

void OwnOrderRepair::presentOrderRepairNotice(const std::string& message, std::optional<std::string> actionTitle,
                                              RepairNoticeKind kind) {
  auto& ui = platform_.userInterface();
  if (repairNoticeKind_) ui.dismissNotice(std::string(noticeKindName(*repairNoticeKind_)));
  repairNoticeKind_ = kind;
  platform::NoticeRequest notice{.message = message, .actionTitle = std::move(actionTitle),
                                 .kind = std::string(noticeKindName(kind))};
  if (kind == RepairNoticeKind::offer) {
    notice.onAction = bindWeak(weakFactory_.handle(), &OwnOrderRepair::orderRepairNoticeClicked);
  }
  MenuBarLog::log(LogLine("order repair notice").add("kind", noticeKindName(kind)));
  ui.presentNotice(std::move(notice));
  std::optional<double> duration;
  switch (kind) {
    case RepairNoticeKind::offer: duration = kOfferNoticeDuration; break;
    case RepairNoticeKind::busy: duration = kBusyNoticeDuration; break;
    case RepairNoticeKind::done: duration = kDoneNoticeDuration; break;
    case RepairNoticeKind::dragBack: break;  // stays until read: it is the only way left
  }
  orderRepairNoticeWork_.cancel();
  if (!duration) return;
  orderRepairNoticeWork_.schedule(*duration, bindWeak(weakFactory_.handle(), [kind](OwnOrderRepair& self) {
                                    if (self.repairNoticeKind_ != kind) return;
                                    self.platform_.userInterface().dismissNotice(std::string(noticeKindName(kind)));
                                    self.repairNoticeKind_.reset();
                                  }));
}

}  // namespace tarvolo
