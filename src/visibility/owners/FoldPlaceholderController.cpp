#include "visibility/owners/FoldPlaceholderController.h"

#include <algorithm>
#include <cmath>

#include "base/Log.h"

namespace tarvolo {

namespace {

namespace Placeholder = FoldPlaceholderPolicy;

std::string positionKey(const std::string& autosaveName) { return "NSStatusItem Preferred Position " + autosaveName; }

// A fresh position lies this far left of the fold, or this share of the way towards the
// always-hidden separator when that is closer: foreign items rarely sit that close to the fold.
constexpr double seedOffset = 1;
constexpr double seedShare = 1.0 / 16;

}  // namespace

FoldPlaceholderController::FoldPlaceholderController(platform::Platform& platform, std::string foldAutosaveName,
                                                     std::string hiddenAutosaveName)
    : platform_(platform),
      foldAutosaveName_(std::move(foldAutosaveName)),
      hiddenAutosaveName_(std::move(hiddenAutosaveName)) {}

FoldPlaceholderController::~FoldPlaceholderController() = default;

std::optional<double> FoldPlaceholderController::storedPosition(const std::string& autosaveName) const {
  return platform_.defaults().getDouble(positionKey(autosaveName));
}

void FoldPlaceholderController::install(bool ejectionCapped) {
  auto enabled = platform_.defaults().getBool(std::string(Placeholder::enabledKey));
  if (!Placeholder::isActive(enabled, platform_.system().osMajorVersion(), ejectionCapped)) return;
  const std::string name(Placeholder::autosaveName);
  auto fold = storedPosition(foldAutosaveName_);
  auto hidden = storedPosition(hiddenAutosaveName_);
  auto own = storedPosition(name);
  bool between = own && fold && *own > *fold && (!hidden || *own < *hidden);
  if (fold && !between) {
    double seed = *fold + seedOffset;
    if (hidden && *hidden > *fold) seed = std::min(seed, *fold + (*hidden - *fold) * seedShare);
    platform_.defaults().set(positionKey(name), DefaultsValue(seed));
    MenuBarLog::log(LogLine("fold placeholder seeded").add("position", seed));
  }
  createItem();
  // A collapsed length is stored only once the item was seen beside the fold; with its position
  // unchanged since, the first collapse of this run may use it before anything is read.
  if (between && platform_.defaults().getDouble(std::string(Placeholder::collapsedLengthKey))) {
    placedBesideFold_ = true;
    MenuBarLog::log("fold placeholder beside=true remembered");
  }
}

void FoldPlaceholderController::createItem() {
  item_ = platform_.statusBar().createStatusItem(Placeholder::expandedLength, std::string(Placeholder::autosaveName));
  item_->setVisible(true);
  item_->setTitle("");
}

void FoldPlaceholderController::replace() {
  auto fold = storedPosition(foldAutosaveName_);
  auto own = storedPosition(std::string(Placeholder::autosaveName));
  if (!fold || replacements_ >= replacementLimit) {
    isSuppressed_ = true;
    MenuBarLog::log(LogLine("fold placeholder suppressed").add("replacements", replacements_));
    return;
  }
  // A third of the way back towards the fold: closer than whatever foreign item slipped in
  // between (a third rather than a half, which a dragged item's position often is).
  double next = own && *own > *fold ? *fold + (*own - *fold) / 3 : *fold + seedOffset * seedShare;
  ++replacements_;
  platform_.statusBar().removeStatusItem(std::move(item_));
  platform_.defaults().set(positionKey(std::string(Placeholder::autosaveName)), DefaultsValue(next));
  MenuBarLog::log(LogLine("fold placeholder replaced").add("position", next).add("attempt", replacements_));
  createItem();
  placedBesideFold_.reset();
  misplacedStreak_ = 0;
}

double FoldPlaceholderController::collapsedLength() const {
  auto stored = platform_.defaults().getDouble(std::string(Placeholder::collapsedLengthKey));
  return stored.value_or(Placeholder::defaultCollapsedLength);
}

double FoldPlaceholderController::noteCollapsedRoom(double foldLeadingEdge, double menusRight, double screenWidth) {
  const bool chevron = MenuBarVisibilityPolicy::collapseUsesStatusRegionCliff(platform_.system().osMajorVersion()) ==
                       MenuBarVisibilityPolicy::PublicCollapseSizing::statusRegion;
  double length = chevron ? Placeholder::collapsedLength(foldLeadingEdge, menusRight, screenWidth)
                          : Placeholder::collapsedLengthWithoutChevron(foldLeadingEdge, menusRight, screenWidth);
  if (placedBesideFold_ == true && length != collapsedLength()) {
    platform_.defaults().set(std::string(Placeholder::collapsedLengthKey), DefaultsValue(length));
  }
  return length;
}

void FoldPlaceholderController::apply(MenuBarPresentation presentation, std::optional<double> collapsed) {
  if (!item_) return;
  std::optional<bool> beside = isSuppressed_ ? std::optional<bool>(false) : placedBesideFold_;
  double length = Placeholder::length(presentation, collapsed.value_or(collapsedLength()), beside);
  if (item_->length() != length) item_->setLength(length);
}

bool FoldPlaceholderController::check(MenuBarPresentation presentation, std::optional<Rect> fold,
                                      std::optional<Rect> hidden) {
  if (!item_ || isSuppressed_) return false;
  const auto before = placedBesideFold_;
  auto own = item_->buttonFrameOnScreen();
  auto placement = Placeholder::placement({
      .placeholderMinX = own ? std::optional<double>(own->minX()) : std::nullopt,
      .placeholderMaxX = own ? std::optional<double>(own->maxX()) : std::nullopt,
      .foldMinX = fold ? std::optional<double>(fold->minX()) : std::nullopt,
      .hiddenMaxX = hidden ? std::optional<double>(hidden->maxX()) : std::nullopt,
  });
  lastPlacement_ = placement;
  const std::string kind(Placeholder::rawValue(placement.kind));
  if (loggedKeys_.insert(kind).second) MenuBarLog::log(LogLine("fold placeholder").add("placement", kind));
  if (placement.kind == Placeholder::Placement::Kind::unread) return false;

  // While collapsed the item is lengthened, which distorts its frame, or pushed away with the
  // hidden icons, which parks it anywhere: such a reading never overturns the belief. Only the
  // short item found right at the fold's far edge is as telling as on an expanded bar.
  if (presentation == MenuBarPresentation::collapsed) {
    const bool shortAndAdjacent = item_->length() <= Placeholder::expandedLength &&
                                  placement.kind == Placeholder::Placement::Kind::adjacent;
    if (!shortAndAdjacent) {
      if (!Placeholder::collapsedReadingConfirms(placedBesideFold_, placement)) {
        MenuBarLog::log(LogLine("fold placeholder collapsed reading disagrees").add("placement", kind));
      }
      return false;
    }
  }
  if (placement.kind == Placeholder::Placement::Kind::adjacent) {
    placedBesideFold_ = true;
    misplacedStreak_ = 0;
    return placedBesideFold_ != before;
  }
  ++misplacedStreak_;
  placedBesideFold_ = false;
  if (misplacedStreak_ >= misplacedReadingsBeforeReplacement) replace();
  return placedBesideFold_ != before;
}

std::optional<Rect> FoldPlaceholderController::frame() const {
  return item_ ? item_->buttonFrameOnScreen() : std::nullopt;
}

double FoldPlaceholderController::appliedLength() const { return item_ ? item_->length() : 0; }

std::string FoldPlaceholderController::frameSummary() const {
  if (!item_) return "placeholder=none";
  auto own = frame();
  std::string where = own ? numberText(own->minX()) + ".." + numberText(own->maxX()) : "unread";
  std::string beside = placedBesideFold_ ? boolText(*placedBesideFold_) : "unknown";
  return "placeholder=" + where + " length=" + numberText(item_->length()) + " beside=" + beside;
}

}  // namespace tarvolo
