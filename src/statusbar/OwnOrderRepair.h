#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "statusbar/OrderRepairPolicy.h"

namespace tarvolo {

class LocalizationManager;
class OwnStatusItems;

// Puts the three own items back in order (always-hidden separator, separator, toggle from left
// to right) when a ⌘-drag or the system has mixed them up: rewrites their stored positions and
// re-creates them, then checks the order once they are laid out. Automatic at most once per
// launch; otherwise the user is offered the repair. Main thread only.
class OwnOrderRepair {
 public:
  // Which order-repair notice is on screen.
  enum class RepairNoticeKind {
    offer,     // the order is wrong; the action repairs it
    busy,      // a repair runs, or one just ran
    done,      // the repair put the items back in order
    dragBack,  // repairs did not help: how to drag the items back by hand
  };
  static std::string_view noticeKindName(RepairNoticeKind kind);

  enum class Trigger {
    automatic,  // start-up, wake, a space change: the system may have reordered the items
    detected,   // found after the user moved things: offer, do not undo their drag unasked
  };

  // Who asks for a repair, and on what occasion.
  enum class Requester { automatic, user };
  enum class Occasion {
    asked,            // the menu, the offer's action, or the app's own check
    collapseAttempt,  // a collapse the user asked for was withheld for the order
  };

  class Host {
   public:
    virtual ~Host() = default;
    virtual std::optional<bool> readAlwaysVisibleAnchor() const = 0;
    // The system hides by its allow-list: the separators take no room and their stored
    // positions are the user's arrangement, not something to rewrite.
    virtual bool systemHidesByList() const = 0;
    // Stops a running cliff search, removes the items, stores `positions` and creates the items
    // again as at start-up.
    virtual void recreateOwnItems(const MenuBarVisibilityPolicy::RepairPositions& positions) = 0;
    virtual void orderRepairFinished(bool inOrder) = 0;
    // Hands the repair to the placement guide, which shows the user how to drag the items back;
    // false when there is no guide to take it.
    virtual bool handAnchorRepairToGuide(Requester requester) = 0;
  };

  struct Dependencies {
    platform::Platform& platform;
    const OwnStatusItems& items;
    const LocalizationManager& localization;
    Host& host;
  };

  explicit OwnOrderRepair(Dependencies dependencies);
  OwnOrderRepair(const OwnOrderRepair&) = delete;
  OwnOrderRepair& operator=(const OwnOrderRepair&) = delete;

  // Looks at the order once the items have had time to settle.
  void scheduleOrderRepairCheck(Trigger trigger);
  void considerOrderRepair(Trigger trigger);
  // A collapse the user asked for was withheld for the order.
  void considerRepairForUserCollapse();
  void beginOwnOrderRepair(Requester requester, Occasion occasion);
  // The context menu's "menu_repair_order" and the offer's action.
  void repairMenuBarOrder();
  void orderRepairNoticeClicked() { repairMenuBarOrder(); }

  bool ownOrderRepairInFlight() const { return ownOrderRepairInFlight_; }
  int ownOrderRepairAttempt() const { return ownOrderRepairAttempt_; }
  int userOwnOrderRepairFailures() const { return userOwnOrderRepairFailures_; }
  std::optional<RepairNoticeKind> repairNoticeKind() const { return repairNoticeKind_; }
  // The order is known to be wrong, or a repair is offered: the context menu offers one too.
  bool repairOffered() const;

 private:
  void verifyOrder(unsigned long long generation, int attempt);
  void finish(bool inOrder);
  void handOverToManualPlacement();
  void presentOrderRepairNotice(const std::string& message, std::optional<std::string> actionTitle,
                                RepairNoticeKind kind);

  std::string text(std::string_view key) const;

  platform::Platform& platform_;
  const OwnStatusItems& items_;
  const LocalizationManager& localization_;
  Host& host_;
  MainThreadChecker mainThread_;
  bool ownOrderRepairInFlight_ = false;
  int ownOrderRepairAttempt_ = 0;
  bool didAutomaticOwnOrderRepairThisLaunch_ = false;
  bool didAutoOfferOrderRepair_ = false;
  bool lastRepairAutomatic_ = false;
  std::optional<double> lastUserOwnOrderRepairAt_;
  int userOwnOrderRepairFailures_ = 0;
  std::optional<RepairNoticeKind> repairNoticeKind_;
  unsigned long long generation_ = 0;
  WorkItem orderCheckWork_;
  WorkItem verifyWork_;
  WorkItem orderRepairNoticeWork_;
  WeakHandleFactory<OwnOrderRepair> weakFactory_{this};
};

}  // namespace tarvolo
