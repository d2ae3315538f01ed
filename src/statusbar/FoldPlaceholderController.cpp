#include "statusbar/FoldPlaceholderController.h"

#include <cmath>

#include "app/Log.h"

namespace tarvolo {

namespace {

namespace Placeholder = FoldPlaceholderPolicy;

std::string positionKey(const std::string& autosaveName) { return "NSStatusItem Preferred Position " + autosaveName; }

// A fresh position lies this share of the way from the fold towards the always-hidden
// separator; foreign items rarely sit that close to the fold.
constexpr double seedShare = 1.0 / 16;
// Without a usable always-hidden position, this far left of the fold.
constexpr double seedOffset = 1;

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

void FoldPlaceholderController::install() {
  auto enabled = platform_.defaults().getBool(std::string(Placeholder::enabledKey));
  if (!Placeholder::isActive(enabled, platform_.system().osMajorVersion())) return;
  const std::string name(Placeholder::autosaveName);
  auto fold = storedPosition(foldAutosaveName_);
  auto hidden = storedPosition(hiddenAutosaveName_);
  auto own = storedPosition(name);
  bool between = own && fold && *own > *fold && (!hidden || *own < *hidden);
  if (fold && !between) {
    double seed = hidden && *hidden > *fold ? *fold + (*hidden - *fold) * seedShare : *fold + seedOffset;
    platform_.defaults().set(positionKey(name), DefaultsValue(seed));
    MenuBarLog::log("fold placeholder seeded position=" + numberText(seed));
  }
  createItem();
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
    MenuBarLog::log("fold placeholder suppressed replacements=" + std::to_string(replacements_));
    return;
  }
  // Halfway back towards the fold: closer than whatever foreign item slipped in between.
  double next = own && *own > *fold ? *fold + (*own - *fold) / 2 : *fold + seedOffset * seedShare;
  ++replacements_;
  platform_.statusBar().removeStatusItem(std::move(item_));
  platform_.defaults().set(positionKey(std::string(Placeholder::autosaveName)), DefaultsValue(next));
  MenuBarLog::log("fold placeholder replaced position=" + numberText(next) +
                  " attempt=" + std::to_string(replacements_));
  createItem();
  placedBesideFold_.reset();
  misplacedStreak_ = 0;
}

double FoldPlaceholderController::collapsedLength() const {
  auto stored = platform_.defaults().getDouble(std::string(Placeholder::collapsedLengthKey));
  return stored.value_or(Placeholder::defaultCollapsedLength);
}

double FoldPlaceholderController::noteCollapsedRoom(double foldLeadingEdge, double menusRight, double screenWidth) {
  double length = Placeholder::collapsedLength(foldLeadingEdge, menusRight, screenWidth);
  if (length != collapsedLength()) {
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

void FoldPlaceholderController::check(MenuBarPresentation presentation, std::optional<Rect> fold,
                                      std::optional<Rect> hidden) {
  if (!item_ || isSuppressed_) return;
  auto own = item_->buttonFrameOnScreen();
  auto placement = Placeholder::placement({
      .placeholderMinX = own ? std::optional<double>(own->minX()) : std::nullopt,
      .placeholderMaxX = own ? std::optional<double>(own->maxX()) : std::nullopt,
      .foldMinX = fold ? std::optional<double>(fold->minX()) : std::nullopt,
      .hiddenMaxX = hidden ? std::optional<double>(hidden->maxX()) : std::nullopt,
  });
  lastPlacement_ = placement;
  const std::string kind(Placeholder::rawValue(placement.kind));
  if (loggedKeys_.insert(kind).second) MenuBarLog::log("fold placeholder placement=" + kind);
  if (placement.kind == Placeholder::Placement::Kind::unread) return;

  if (presentation == MenuBarPresentation::collapsed) {
    // The lengthened item distorts its own frame: a collapsed reading never changes the belief.
    if (!Placeholder::collapsedReadingConfirms(placedBesideFold_, placement)) {
      MenuBarLog::log("fold placeholder collapsed reading disagrees placement=" + kind);
    }
    return;
  }
  if (placement.kind == Placeholder::Placement::Kind::adjacent) {
    placedBesideFold_ = true;
    misplacedStreak_ = 0;
    return;
  }
  ++misplacedStreak_;
  placedBesideFold_ = false;
  if (misplacedStreak_ >= misplacedReadingsBeforeReplacement) replace();
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
