#include "visibility/owners/ShelfHiddenLength.h"

#include <algorithm>
#include <cmath>

#include "base/Log.h"
#include "visibility/CollapseLengthCache.h"
#include "visibility/CollapseRecoveryPolicy.h"
#include "visibility/owners/CollapseLengthStore.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::SeparatorLayoutVerdict;

namespace {
constexpr double kPinTolerance = Policy::collapsePinTolerance;
constexpr double kShelfFloorLength = Policy::defaultExpandedSeparatorLength;
// A pair whose searched length failed again is searched once more, then left as it is: the
// bar keeps working either way, and a search flickers the always-hidden icons.
constexpr int kSearchesPerPair = 2;
constexpr int kUnreadRetryLimit = 3;
constexpr int kBaselineAttempts = 3;

bool harmful(SeparatorLayoutVerdict verdict) {
  return verdict == SeparatorLayoutVerdict::ejected || verdict == SeparatorLayoutVerdict::menusEvicted;
}

bool unreadable(SeparatorLayoutVerdict verdict) {
  return verdict == SeparatorLayoutVerdict::unread || verdict == SeparatorLayoutVerdict::untracked ||
         verdict == SeparatorLayoutVerdict::unknown;
}
}  // namespace

ShelfHiddenLength::ShelfHiddenLength(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      screens_(dependencies.screens),
      chooser_(dependencies.chooser),
      bar_(dependencies.bar),
      hiddenPlaceholder_(dependencies.hiddenPlaceholder),
      host_(dependencies.host),
      shelfVerifyWork_(dependencies.platform.mainQueue()),
      searchWork_(dependencies.platform.mainQueue()) {}

// --- what is remembered ----------------------------------------------------------------------------

void ShelfHiddenLength::restoreRememberedLengths() {
  UnreadableCollapseKeys unreadable;
  const DefaultsReader read = [this](const std::string& key) { return platform_.defaults().object(key); };
  auto stored = decodePerAppLengths(read, shelfHiddenLengthDefaultsKey, unreadable);
  auto limited = decodePerAppLengths(read, shelfHiddenShortDefaultsKey, unreadable);
  logUnreadableCollapseKeys(unreadable);
  remembered_.clear();
  shortOfMenus_.clear();
  for (const auto& [key, length] : stored) {
    if (length < kShelfFloorLength) continue;
    remembered_.emplace(key, length);
    if (auto it = limited.find(key); it != limited.end() && it->second == length) shortOfMenus_.emplace(key, length);
  }
}

bool ShelfHiddenLength::pruneToScreens(const std::vector<ScreenKey>& keeping) {
  const auto before = remembered_.size();
  auto gone = [&](const auto& entry) {
    return std::find(keeping.begin(), keeping.end(), entry.first.screen()) == keeping.end();
  };
  std::erase_if(remembered_, gone);
  std::erase_if(shortOfMenus_, gone);
  return remembered_.size() != before;
}

void ShelfHiddenLength::persistRememberedLengths() {
  applyDefaultsWrites(platform_.defaults(), encodeShelfHiddenLengths(remembered_, shortOfMenus_));
}

std::optional<double> ShelfHiddenLength::rememberedLength(const PerAppKey& key) const {
  auto it = remembered_.find(key);
  if (it == remembered_.end()) return std::nullopt;
  return it->second;
}

PerAppKey ShelfHiddenLength::currentKey() const {
  return PerAppKey(screens_.collapseScreenKey(), chooser_.frontmostBundleID());
}

double ShelfHiddenLength::lengthForShelf(double planned) const {
  if (run_) return run_->probe > 0 ? run_->probe : kShelfFloorLength;
  return rememberedLength(currentKey()).value_or(planned);
}

// --- the short reference ---------------------------------------------------------------------------

void ShelfHiddenLength::captureDividerDistanceIfShort() {
  // Only two short separators give a distance, which rules out a probe's reading.
  auto fold = items_.separatorFrame();
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  if (!fold || !hidden) return;
  auto distance = Policy::shortDividerDistance({.foldMaxX = fold->maxX(),
                                                .hiddenMaxX = hidden->maxX(),
                                                .foldWidth = fold->width,
                                                .hiddenWidth = hidden->width});
  if (!distance) return;
  dividerDistance_ = distance;
  referenceUnreadable_ = false;
  shelfHiddenReference_ = SeparatorReference{.arrowFacingEdge = hidden->maxX(),
                                             .leadingEdge = hidden->minX(),
                                             .toggleAnchor = fold->minX(),
                                             .length = hidden->width};
}

// --- measuring -------------------------------------------------------------------------------------

SeparatorLayoutVerdict ShelfHiddenLength::judge(double length) const {
  auto button = items_.alwaysHiddenSeparatorFrame();
  if (!shelfHiddenReference_ || !button) return SeparatorLayoutVerdict::unread;
  auto window = items_.alwaysHiddenSeparatorWindowFrame();
  auto fold = items_.separatorFrame();
  auto verdict = Policy::classifySeparatorLayout({
      .baselineArrowFacingEdge = shelfHiddenReference_->arrowFacingEdge,
      .probedArrowFacingEdge = button->maxX(),
      .windowWidth = window ? window->width : 0,
      .buttonWidth = button->width,
      .requestedLength = length,
      .pinTolerance = kPinTolerance,
      .baselineLeadingEdge = shelfHiddenReference_->leadingEdge,
      .probedLeadingEdge = button->minX(),
      .baselineLength = shelfHiddenReference_->length,
      .baselineToggleAnchor = shelfHiddenReference_->toggleAnchor,
      .probedToggleAnchor = fold ? std::optional<double>(fold->minX()) : std::nullopt,
  });
  // The always-hidden icons stand left of the separator (and of the item that continues it):
  // they are hidden only when that far edge reaches the menus.
  if (auto menusRight = platform_.workspace().applicationMenusMaxX()) {
    double leading = button->minX();
    if (hiddenPlaceholder_) leading -= hiddenPlaceholder_->appliedLength();
    verdict = Policy::verdictAccountingForFold(verdict, leading, *menusRight);
  }
  return verdict;
}

void ShelfHiddenLength::scheduleShelfHiddenVerify() {
  mainThread_.check();
  if (run_) return;  // the search measures its own probes
  plannedWithDistance_ = dividerDistance_.has_value();
  const auto generation = ++shelfVerifyGeneration_;
  shelfVerifyWork_.schedule(Policy::collapseVerifyDelay,
                            bindWeak(weak(), &ShelfHiddenLength::verifyShelfHiddenLength, generation));
}

void ShelfHiddenLength::verifyShelfHiddenLength(unsigned long long generation) {
  if (generation != shelfVerifyGeneration_ || run_) return;
  if (bar_.presentation != MenuBarPresentation::shelfExpanded || bar_.menuTracking) return;
  auto applied = bar_.lastAppliedHiddenLength;
  if (!applied) return;
  const PerAppKey key = currentKey();
  const int searches = searchesByKey_[key];
  // A bar collapsed since launch never showed both separators short, so the length was planned
  // without the distance between them; this short one shows it, and the bar is planned again.
  // A bar collapsed since launch may not have shown both separators short yet, so the length was
  // planned without the distance between them; once it is read, the bar is planned again.
  if (!plannedWithDistance_ && !remembered_.contains(key)) {
    if (!dividerDistance_) captureDividerDistanceIfShort();
    if (dividerDistance_) {
      MenuBarLog::log(LogLine("shelf hidden distance read").add("distance", *dividerDistance_));
      host_.reapplyVisibility();
      return;
    }
  }
  if (!shelfHiddenReference_) {
    // Nothing to judge against: a short reading first. A remembered length needs no more; else
    // the search reads it as its baseline.
    if (referenceUnreadable_) return;
    if (remembered_.contains(key)) {
      beginSearch(key, true);
    } else if (searches < kSearchesPerPair) {
      beginSearch(key);
    }
    return;
  }
  const double length = *applied;
  const auto verdict = judge(length);
  MenuBarLog::log(LogLine("shelf hidden verify").add("length", length).add("verdict", rawValue(verdict)));
  if (unreadable(verdict)) return;
  if (!harmful(verdict) && verdict != SeparatorLayoutVerdict::underfold) return;
  // A searched length that still falls short is as far as the system lets it reach.
  if (verdict == SeparatorLayoutVerdict::underfold) {
    auto limited = shortOfMenus_.find(key);
    if (searches > 0 || (limited != shortOfMenus_.end() && limited->second == length)) return;
  }
  if (searches >= kSearchesPerPair) {
    MenuBarLog::log(LogLine("shelf hidden left").add("length", length).add("verdict", rawValue(verdict)));
    return;
  }
  const bool forgot = remembered_.erase(key) > 0;
  shortOfMenus_.erase(key);
  if (forgot) persistRememberedLengths();
  beginSearch(key);
}

// --- searching -------------------------------------------------------------------------------------

void ShelfHiddenLength::beginSearch(const PerAppKey& key, bool referenceOnly) {
  auto screen = items_.statusItemScreen();
  if (!screen) return;
  if (!referenceOnly) ++searchesByKey_[key];
  shelfVerifyWork_.cancel();
  const auto generation = ++searchGeneration_;
  run_ = Run{.search = {}, .key = key, .generation = generation, .probe = kShelfFloorLength,
             .referenceOnly = referenceOnly};
  MenuBarLog::log(LogLine(referenceOnly ? "shelf hidden reference read" : "shelf hidden search begin")
                      .add("frontmost", spellingOf(key.bundleID()))
                      .add("screen", key.screen().text()));
  // Short, the separator gives the reference the probes are judged against.
  host_.reapplyVisibility();
  searchWork_.schedule(Policy::cliffProbeSettleDelay,
                       bindWeak(weak(), &ShelfHiddenLength::readBaseline, generation, 1));
}

void ShelfHiddenLength::readBaseline(unsigned long long generation, int attempt) {
  if (!run_ || run_->generation != generation) return;
  if (bar_.presentation != MenuBarPresentation::shelfExpanded) return giveUpSearch("collapsed");
  shelfHiddenReference_.reset();
  captureDividerDistanceIfShort();
  auto screen = items_.statusItemScreen();
  if (!shelfHiddenReference_ || !screen) {
    if (attempt >= kBaselineAttempts) {
      referenceUnreadable_ = true;
      return giveUpSearch("no-reference");
    }
    searchWork_.schedule(Policy::cliffProbeSettleDelay,
                         bindWeak(weak(), &ShelfHiddenLength::readBaseline, generation, attempt + 1));
    return;
  }
  if (run_->referenceOnly) {
    // The remembered length goes back on and is measured against the fresh reading.
    run_.reset();
    host_.reapplyVisibility();
    return;
  }
  // Past the room left of the hidden zone the separator would leave the screen.
  const double edge = shelfHiddenReference_->arrowFacingEdge;
  auto& search = run_->search;
  search.low = kShelfFloorLength;
  search.high = std::max(kShelfFloorLength, std::floor(edge - screen->frame.minX()));
  if (auto menusRight = platform_.workspace().applicationMenusMaxX()) search.menusMeetLength = edge - *menusRight;
  MenuBarLog::log(LogLine("shelf hidden search range")
                      .add("low", search.low)
                      .add("high", search.high)
                      .add("meet", search.menusMeetLength));
  probe(generation);
}

void ShelfHiddenLength::probe(unsigned long long generation) {
  if (!run_ || run_->generation != generation) return;
  auto next = run_->search.nextProbe();
  if (!next) return finishSearch();
  if (++run_->probes > Policy::cliffProbeLimit) return finishSearch();
  ++probesMade_;
  run_->probe = *next;
  run_->unreadRetries = 0;
  MenuBarLog::log(LogLine("shelf hidden probe")
                      .add("requested", *next)
                      .add("low", run_->search.low)
                      .add("high", run_->search.high));
  host_.reapplyVisibility();
  searchWork_.schedule(Policy::cliffProbeSettleDelay, bindWeak(weak(), &ShelfHiddenLength::readProbe, generation));
}

void ShelfHiddenLength::readProbe(unsigned long long generation) {
  if (!run_ || run_->generation != generation) return;
  if (bar_.presentation != MenuBarPresentation::shelfExpanded) return giveUpSearch("collapsed");
  const double length = run_->probe;
  const auto verdict = judge(length);
  MenuBarLog::log(LogLine("shelf hidden probe read").add("length", length).add("verdict", rawValue(verdict)));
  if (unreadable(verdict)) {
    if (++run_->unreadRetries > kUnreadRetryLimit) return giveUpSearch("unread");
    searchWork_.schedule(Policy::cliffProbeSettleDelay,
                         bindWeak(weak(), &ShelfHiddenLength::readProbe, generation));
    return;
  }
  run_->classified = true;
  const double low = run_->search.low;
  run_->search = run_->search.advancing(verdict, length);
  if (run_->search.low != low) run_->lowFallsShort = verdict == SeparatorLayoutVerdict::underfold;
  probe(generation);
}

void ShelfHiddenLength::finishSearch() {
  Run run = *run_;
  run_.reset();
  const double length = run.search.low;
  MenuBarLog::log(LogLine("shelf hidden settled")
                      .add("length", length)
                      .add("frontmost", spellingOf(run.key.bundleID()))
                      .add("menuLimited", run.search.isMenuLimited())
                      .add("ejection", run.search.hitEjection)
                      .add("probes", run.probes));
  // Only lengths the bar answered for are kept.
  if (run.classified && length > kShelfFloorLength) {
    remembered_[run.key] = length;
    if (run.lowFallsShort) {
      shortOfMenus_[run.key] = length;
    } else {
      shortOfMenus_.erase(run.key);
    }
    persistRememberedLengths();
  }
  host_.reapplyVisibility();
}

void ShelfHiddenLength::giveUpSearch(const char* reason) {
  MenuBarLog::log(LogLine("shelf hidden search gave up").add("reason", reason));
  run_.reset();
  searchWork_.cancel();
  if (bar_.presentation == MenuBarPresentation::shelfExpanded) host_.reapplyVisibility();
}

}  // namespace tarvolo
