#include "visibility/owners/FoldTails.h"

#include <algorithm>

#include "base/Log.h"
#include "visibility/CollapseVerdicts.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

FoldTails::FoldTails(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      screens_(dependencies.screens),
      lengths_(dependencies.lengths),
      host_(dependencies.host) {}

FoldTails::~FoldTails() = default;

void FoldTails::installFoldPlaceholder(const std::string& foldAutosaveName, const std::string& hiddenAutosaveName) {
  placeholderAutosaveNames_ = std::make_pair(foldAutosaveName, hiddenAutosaveName);
  // The own items come before the stored lengths are read back.
  restoreEjectionCaps();
  createFoldPlaceholder();
}

void FoldTails::createFoldPlaceholder() {
  if (!placeholderAutosaveNames_) return;
  const auto& [fold, hidden] = *placeholderAutosaveNames_;
  foldPlaceholder_ = std::make_unique<FoldPlaceholderController>(platform_, fold, hidden);
  foldPlaceholder_->install(ejectionCap(screens_.collapseScreenKey()).has_value());
  if (!foldPlaceholder_->isInstalled()) foldPlaceholder_.reset();
}

// --- ejection caps -----------------------------------------------------------------------------------

void FoldTails::restoreEjectionCaps() {
  auto& defaults = platform_.defaults();
  const DefaultsReader read = [&defaults](const std::string& key) { return defaults.object(key); };
  UnreadableCollapseKeys unreadable;
  ejectionCapByScreen_ = decodeScreenLengths(read, cliffEjectionCapDefaultsKey, unreadable);
  logUnreadableCollapseKeys(unreadable);
}

std::optional<double> FoldTails::ejectionCap(const ScreenKey& screen) const {
  auto cap = ejectionCapByScreen_.find(screen);
  if (cap == ejectionCapByScreen_.end()) return std::nullopt;
  return cap->second;
}

bool FoldTails::noteEjectionCap(const ScreenKey& screen, double length) {
  if (ejectionCap(screen) == length) return false;
  ejectionCapByScreen_[screen] = length;
  MenuBarLog::log(LogLine("ejection cap remembered").add("length", length).add("screen", screen.text()));
  persistFoldTails();
  if (!foldPlaceholder_) createFoldPlaceholder();
  return true;
}

// --- tails -------------------------------------------------------------------------------------------

void FoldTails::restoreFoldTails() {
  auto& defaults = platform_.defaults();
  const DefaultsReader read = [&defaults](const std::string& key) { return defaults.object(key); };
  UnreadableCollapseKeys unreadable;
  collapseFoldTailByPair_ = decodePerAppLengths(read, cliffFoldTailDefaultsKey, unreadable);
  collapseFoldTailBaseByPair_ = decodePerAppLengths(read, cliffFoldTailBaseDefaultsKey, unreadable);
  logUnreadableCollapseKeys(unreadable);
  // Tails that come back from the store covered the fold before.
  for (const auto& [key, tail] : collapseFoldTailByPair_) collapseFoldTailVerified_.insert(key);
}

void FoldTails::persistFoldTails() {
  applyDefaultsWrites(platform_.defaults(), encodeFoldTails(collapseFoldTailByPair_, collapseFoldTailBaseByPair_));
  applyDefaultsWrites(platform_.defaults(), encodeEjectionCaps(ejectionCapByScreen_));
}

bool FoldTails::pruneToScreens(const std::vector<ScreenKey>& keeping) {
  const auto capsBefore = ejectionCapByScreen_.size();
  std::erase_if(ejectionCapByScreen_, [&keeping](const auto& entry) {
    return std::find(keeping.begin(), keeping.end(), entry.first) == keeping.end();
  });
  const bool capsPruned = ejectionCapByScreen_.size() != capsBefore;
  PersistedCollapseLengths state{.foldTailByPair = collapseFoldTailByPair_,
                                 .foldTailBaseByPair = collapseFoldTailBaseByPair_};
  PersistedCollapseLengths pruned = state;
  pruned.prune(keeping);
  if (pruned == state) return capsPruned;
  collapseFoldTailByPair_ = std::move(pruned.foldTailByPair);
  collapseFoldTailBaseByPair_ = std::move(pruned.foldTailBaseByPair);
  return true;
}

std::optional<double> FoldTails::storedTail(const PerAppKey& pair) const {
  auto tail = collapseFoldTailByPair_.find(pair);
  if (tail == collapseFoldTailByPair_.end()) return std::nullopt;
  return tail->second;
}

void FoldTails::forgetRejectedTails(const std::optional<BundleID>& bundleID) {
  std::erase_if(collapseFoldTailRejected_, [&bundleID](const PerAppKey& pair) { return pair.bundleID() == bundleID; });
}

void FoldTails::noteCollapseFoldTail(const PerAppKey& pair, double length, double base) {
  collapseFoldTailByPair_[pair] = length;
  collapseFoldTailBaseByPair_[pair] = base;
  collapseFoldTailVerified_.erase(pair);
  MenuBarLog::log(LogLine("fold tail noted").add("length", length).add("base", base));
}

void FoldTails::rememberVerifiedCollapseFoldTail(const PerAppKey& pair) {
  auto tail = collapseFoldTailByPair_.find(pair);
  if (tail == collapseFoldTailByPair_.end() || !collapseFoldTailVerified_.insert(pair).second) return;
  MenuBarLog::log(LogLine("fold tail verified").add("length", tail->second));
  persistFoldTails();
}

void FoldTails::revertCollapseFoldTailIfRejected(const PerAppKey& pair, double length) {
  auto tail = collapseFoldTailByPair_.find(pair);
  if (tail == collapseFoldTailByPair_.end() || length + 0.5 < tail->second) return;
  MenuBarLog::log(LogLine("fold tail rejected").add("length", tail->second));
  collapseFoldTailByPair_.erase(tail);
  collapseFoldTailBaseByPair_.erase(pair);
  collapseFoldTailVerified_.erase(pair);
  collapseFoldTailRejected_.insert(pair);
  persistFoldTails();
}

bool FoldTails::tryCollapseFoldTail(const TailAttempt& attempt) {
  if (tailRejected(attempt.pair)) return false;
  auto extra = Policy::collapseTailExtra({
      .length = attempt.length,
      .separatorLeading = attempt.separatorLeading,
      .menusRight = attempt.menusRight,
      .upperBound = screens_.searchUpperBound(),
      .screenWidth = screens_.collapseScreenWidth(),
      .menuLimited = lengths_.isMenuLimited(attempt.pair),
      .slack = Policy::foldCoverSlack,
      .margin = Policy::collapseLengthSafetyMargin,
      .sizing = screens_.sizing(),
  });
  if (!extra) return false;
  noteCollapseFoldTail(attempt.pair, attempt.length + *extra, attempt.length);
  host_.reapplyVisibility();
  return true;
}

// --- the placeholder ---------------------------------------------------------------------------------

double FoldTails::foldLeadingEdge(const SeparatorMeasurement& measurement) const {
  if (!foldPlaceholder_ || foldPlaceholder_->placedBesideFold() != true) return measurement.leadingEdge;
  auto placeholder = foldPlaceholder_->frame();
  // The lengthened placeholder continues the separator towards the menus.
  if (!placeholder || placeholder->maxX() > measurement.leadingEdge + FoldPlaceholderPolicy::adjacencyTolerance) {
    return measurement.leadingEdge;
  }
  return std::min(measurement.leadingEdge, placeholder->minX());
}

std::optional<double> FoldTails::foldPlaceholderCollapsedLength(double separatorLength,
                                                                const std::optional<SeparatorReference>& reference,
                                                                std::optional<double> lastHiddenMaxX) {
  if (!foldPlaceholder_ || !reference) return std::nullopt;
  // Where the collapsed separator will end, and where the menus end.
  const double leading = reference->arrowFacingEdge - separatorLength;
  auto screen = screens_.statusItemScreen();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  auto menusRight = platform_.workspace().applicationMenusMaxX();
  const double right = menusRight ? *menusRight : Policy::menusRightForFold(lastHiddenMaxX, screenMinX);
  return foldPlaceholder_->noteCollapsedRoom(leading, right, screens_.collapseScreenWidth());
}

void FoldTails::applyFoldPlaceholder(MenuBarPresentation presentation, std::optional<double> collapsedLength) {
  if (foldPlaceholder_) foldPlaceholder_->apply(presentation, collapsedLength);
}

bool FoldTails::checkFoldPlaceholder(MenuBarPresentation presentation, std::optional<Rect> fold,
                                     std::optional<Rect> hidden) {
  return foldPlaceholder_ && foldPlaceholder_->check(presentation, fold, hidden);
}

bool FoldTails::checkFoldPlaceholderFromSample(MenuBarPresentation presentation, const Rect& fold,
                                               const Rect& hidden) {
  // A placeholder just (re)created is judged on a later reading.
  constexpr int rereadLimit = 5;
  if (!foldPlaceholder_) return false;
  foldPlaceholder_->check(presentation, fold, hidden);
  const bool placementKnown = foldPlaceholder_->placedBesideFold().has_value();
  if (!placementKnown && !foldPlaceholder_->isSuppressed() && ++placeholderRereads_ <= rereadLimit) return true;
  if (placementKnown) placeholderRereads_ = 0;
  return false;
}

std::string FoldTails::ownFramesSummary() const {
  auto describe = [](const char* name, const std::optional<Rect>& frame) {
    return std::string(name) + "=" + (frame ? numberText(frame->minX()) + ".." + numberText(frame->maxX()) : "unread");
  };
  std::string summary = describe("toggle", items_.toggleFrame()) + " " +
                        describe("separator", items_.separatorFrame()) + " " +
                        describe("hidden", items_.alwaysHiddenSeparatorFrame());
  if (foldPlaceholder_) summary += " " + foldPlaceholder_->frameSummary();
  return summary;
}

}  // namespace tarvolo
