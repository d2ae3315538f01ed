// The fold: the collapsed separator's far edge should reach the application menus. A collapse
// that stops short gets a tail; on newer systems a placeholder item fills the rest.

#include <algorithm>

#include "base/Log.h"
#include "statusbar/FoldPlaceholderController.h"
#include "statusbar/StatusBarController.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::CollapseLengthCache;

void StatusBarController::installFoldPlaceholder() {
  foldPlaceholder_ = std::make_unique<FoldPlaceholderController>(platform_, separatorAutosaveName,
                                                                 alwaysHiddenAutosaveName);
  foldPlaceholder_->install();
  if (!foldPlaceholder_->isInstalled()) foldPlaceholder_.reset();
}

void StatusBarController::noteCollapseFoldTail(const std::string& key, double length, double base) {
  collapseFoldTailByPair_[key] = length;
  collapseFoldTailBaseByPair_[key] = base;
  collapseFoldTailVerified_.erase(key);
  MenuBarLog::log("fold tail noted length=" + numberText(length) + " base=" + numberText(base));
}

void StatusBarController::rememberVerifiedCollapseFoldTail(const std::string& key) {
  auto tail = collapseFoldTailByPair_.find(key);
  if (tail == collapseFoldTailByPair_.end() || !collapseFoldTailVerified_.insert(key).second) return;
  MenuBarLog::log("fold tail verified length=" + numberText(tail->second));
  persistFoldTails();
}

void StatusBarController::revertCollapseFoldTailIfRejected(const std::string& key, double length) {
  auto tail = collapseFoldTailByPair_.find(key);
  if (tail == collapseFoldTailByPair_.end() || length + 0.5 < tail->second) return;
  MenuBarLog::log("fold tail rejected length=" + numberText(tail->second));
  collapseFoldTailByPair_.erase(tail);
  collapseFoldTailBaseByPair_.erase(key);
  collapseFoldTailVerified_.erase(key);
  collapseFoldTailRejected_.insert(key);
  persistFoldTails();
}

bool StatusBarController::tryCollapseFoldTail(const std::string& key, double length, double leading,
                                              double menusRight) {
  if (collapseFoldTailRejected_.count(key)) return false;
  auto extra = Policy::collapseTailExtra({
      .length = length,
      .separatorLeading = leading,
      .menusRight = menusRight,
      .upperBound = Policy::collapseSearchUpperBound(collapseScreenWidth()),
      .screenWidth = collapseScreenWidth(),
      .menuLimited = collapseMenuLimitedKeys_.count(key) > 0,
      .slack = Policy::foldCoverSlack,
      .margin = Policy::collapseLengthSafetyMargin,
  });
  if (!extra) return false;
  noteCollapseFoldTail(key, length + *extra, length);
  applyVisibilityNow();
  return true;
}

std::optional<double> StatusBarController::foldPlaceholderCollapsedLength(double separatorLength) {
  if (!foldPlaceholder_ || !collapseReference_) return std::nullopt;
  // Where the collapsed separator will end, and where the menus end.
  const double leading = collapseReference_->arrowFacingEdge - separatorLength;
  auto screen = statusItemScreen();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  auto menusRight = platform_.workspace().applicationMenusMaxX();
  const double right = menusRight ? *menusRight : Policy::menusRightForFold(lastHiddenMaxX_, screenMinX);
  return foldPlaceholder_->noteCollapsedRoom(leading, right, collapseScreenWidth());
}

void StatusBarController::publishFoldingEffective() {
  // The order can only be judged while the separators are short; a collapse is judged by its
  // verification.
  if (auto order = readAlwaysVisibleAnchor()) alwaysVisibleAnchorReady = *order;
  foldingEffective = Policy::foldingIsEffective({
      .nativeEngineAvailable = false,
      .anchorReady = alwaysVisibleAnchorReady.get(),
      .cliffGaveUp = cliffSearchGaveUp_,
      .collapseLength = collapseLength(frontmostBundleID()),
  });
}

}  // namespace tarvolo
