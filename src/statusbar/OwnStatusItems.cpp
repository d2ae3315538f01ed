#include "statusbar/OwnStatusItems.h"

#include <algorithm>

#include "base/Log.h"
#include "localization/LocalizationManager.h"
#include "statusbar/OrderRepairPolicy.h"
#include "visibility/CollapseVerdicts.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::EventType;

namespace {
constexpr double kSymbolPointSize = 13;
// A window edge this far past the button's belongs to another item.
constexpr double kSharedHostSlack = 1;
constexpr double kOrderTolerance = 1;
// Wider than this a separator still stands at a collapse length, and says nothing of the order.
constexpr double kUnlaidSeparatorWidth = 64;
constexpr double kAnchorTolerance = 1;
}  // namespace

OwnStatusItems::OwnStatusItems(platform::Platform& platform, const LocalizationManager& localization,
                               double expandedSeparatorLength)
    : platform_(platform), localization_(localization), expandedSeparatorLength_(expandedSeparatorLength) {}

OwnStatusItems::~OwnStatusItems() = default;

// --- creation ------------------------------------------------------------------------------------------

void OwnStatusItems::seedPreferredPositions() {
  auto& defaults = platform_.defaults();
  auto arrow = defaults.getDouble(preferredPositionKey(toggleAutosaveName));
  auto fold = defaults.getDouble(preferredPositionKey(separatorAutosaveName));
  auto hidden = defaults.getDouble(preferredPositionKey(alwaysHiddenAutosaveName));
  auto seeding = Policy::seededPreferredPositions(arrow, fold, hidden);
  if (!seeding) return;
  if (seeding->writeArrow) defaults.set(preferredPositionKey(toggleAutosaveName), DefaultsValue(seeding->arrow));
  if (seeding->writeFold) defaults.set(preferredPositionKey(separatorAutosaveName), DefaultsValue(seeding->fold));
  if (seeding->writeHidden) {
    defaults.set(preferredPositionKey(alwaysHiddenAutosaveName), DefaultsValue(seeding->hidden));
  }
  MenuBarLog::log(LogLine("seeded positions")
                      .add("arrow", seeding->arrow)
                      .add("fold", seeding->fold)
                      .add("hidden", seeding->hidden));
}

void OwnStatusItems::createOwnItems(MenuBarPresentation shown, Actions actions,
                                    const std::function<void(Item)>& afterEach) {
  auto& bar = platform_.statusBar();
  statusItem_ = bar.createStatusItem(platform::kVariableStatusItemLength, toggleAutosaveName);
  statusItem_->setVisible(true);
  updateButtonAppearance(shown);
  statusItem_->setAction(EventType::leftMouseDown | EventType::leftMouseUp | EventType::rightMouseUp,
                         std::move(actions.toggleClicked));
  if (afterEach) afterEach(Item::toggle);

  separatorStatusItem_ = bar.createStatusItem(expandedSeparatorLength_, separatorAutosaveName);
  separatorStatusItem_->setVisible(true);
  // The mouse-down tells a ⌘-drag of the item from a click, as on the toggle.
  separatorStatusItem_->setAction(EventType::leftMouseDown | EventType::leftMouseUp | EventType::rightMouseUp,
                                  std::move(actions.separatorClicked));
  styleFoldSeparator();
  if (afterEach) afterEach(Item::separator);

  alwaysHiddenSeparatorStatusItem_ = bar.createStatusItem(expandedSeparatorLength_, alwaysHiddenAutosaveName);
  alwaysHiddenSeparatorStatusItem_->setVisible(true);
  alwaysHiddenSeparatorStatusItem_->setAction(
      EventType::leftMouseDown | EventType::leftMouseUp | EventType::rightMouseUp,
      std::move(actions.alwaysHiddenSeparatorClicked));
  styleHiddenSeparator();
  if (afterEach) afterEach(Item::alwaysHiddenSeparator);
}

void OwnStatusItems::removeOwnItems() {
  auto& bar = platform_.statusBar();
  bar.removeStatusItem(std::move(alwaysHiddenSeparatorStatusItem_));
  bar.removeStatusItem(std::move(separatorStatusItem_));
  bar.removeStatusItem(std::move(statusItem_));
}

// --- styling -------------------------------------------------------------------------------------------

std::string OwnStatusItems::text(const std::string& key) const { return localization_.tr(key); }

std::string OwnStatusItems::stateDescription(MenuBarPresentation shown) const {
  switch (shown) {
    case MenuBarPresentation::collapsed: return text("tooltip_status_collapsed");
    case MenuBarPresentation::shelfExpanded: return text("tooltip_status_normal_expanded");
    case MenuBarPresentation::deepExpanded: return text("tooltip_status_deep_expanded");
  }
  return text("tooltip_status_collapsed");
}

void OwnStatusItems::updateButtonAppearance(MenuBarPresentation shown) {
  if (!statusItem_ || !statusItem_->hasButton()) return;
  const char* symbol = "chevron.left";
  const char* fallback = "◀";
  switch (shown) {
    case MenuBarPresentation::collapsed: break;
    case MenuBarPresentation::shelfExpanded:
      symbol = "chevron.down";
      fallback = "▼";
      break;
    case MenuBarPresentation::deepExpanded:
      symbol = "chevron.down.circle.fill";
      fallback = "▼·";
      break;
  }
  statusItem_->setTitle(statusItem_->setSymbolImage(symbol, kSymbolPointSize) ? "" : fallback);
  std::string description = stateDescription(shown);
  statusItem_->setToolTip(description + "\n" + text("tooltip_right_click_menu"));
  statusItem_->setAccessibilityLabel(description);
}

void OwnStatusItems::styleFoldSeparator() {
  if (!separatorStatusItem_) return;
  separatorStatusItem_->setAccessibilityLabel(text("ax_separator_fold"));
  separatorStatusItem_->setToolTip(text("tooltip_separator_normal"));
}

void OwnStatusItems::styleHiddenSeparator() {
  if (!alwaysHiddenSeparatorStatusItem_) return;
  alwaysHiddenSeparatorStatusItem_->setAccessibilityLabel(text("ax_separator_hidden"));
  alwaysHiddenSeparatorStatusItem_->setToolTip(text("tooltip_separator_always_hidden"));
}

void OwnStatusItems::updateLanguageStrings(MenuBarPresentation shown) {
  updateButtonAppearance(shown);
  styleFoldSeparator();
  styleHiddenSeparator();
}

void OwnStatusItems::applySeparatorTitles(const std::string& normalTitle, const std::string& alwaysHiddenSymbol) {
  if (separatorStatusItem_) separatorStatusItem_->setTitle(normalTitle);
  if (!alwaysHiddenSeparatorStatusItem_) return;
  auto& hidden = *alwaysHiddenSeparatorStatusItem_;
  if (!alwaysHiddenSymbol.empty() && hidden.setSymbolImage(alwaysHiddenSymbol, kSymbolPointSize)) {
    hidden.setTitle("");
    return;
  }
  // Without the symbol a text stands in for it.
  hidden.setSymbolImage("", kSymbolPointSize);
  hidden.setTitle(alwaysHiddenSymbol.empty() ? "" : "⊘");
}

void OwnStatusItems::showAll() {
  if (separatorStatusItem_) separatorStatusItem_->setVisible(true);
  if (alwaysHiddenSeparatorStatusItem_) alwaysHiddenSeparatorStatusItem_->setVisible(true);
  if (statusItem_) statusItem_->setVisible(true);
}

void OwnStatusItems::popUpToggleMenu(const platform::Menu& menu) {
  if (statusItem_) statusItem_->popUpMenu(menu);
}

// --- lengths -------------------------------------------------------------------------------------------

double OwnStatusItems::separatorLength() const { return separatorStatusItem_ ? separatorStatusItem_->length() : 0; }

void OwnStatusItems::setSeparatorLength(double length) {
  if (separatorStatusItem_) separatorStatusItem_->setLength(length);
}

void OwnStatusItems::setSeparatorTitle(const std::string& title) {
  if (separatorStatusItem_) separatorStatusItem_->setTitle(title);
}

double OwnStatusItems::alwaysHiddenSeparatorLength() const {
  return alwaysHiddenSeparatorStatusItem_ ? alwaysHiddenSeparatorStatusItem_->length() : 0;
}

void OwnStatusItems::setAlwaysHiddenSeparatorLength(double length) {
  if (alwaysHiddenSeparatorStatusItem_) alwaysHiddenSeparatorStatusItem_->setLength(length);
}

// --- frames --------------------------------------------------------------------------------------------

std::optional<Rect> OwnStatusItems::toggleFrame() const {
  return statusItem_ ? statusItem_->buttonFrameOnScreen() : std::nullopt;
}

std::optional<Rect> OwnStatusItems::separatorFrame() const {
  return separatorStatusItem_ ? separatorStatusItem_->buttonFrameOnScreen() : std::nullopt;
}

std::optional<Rect> OwnStatusItems::alwaysHiddenSeparatorFrame() const {
  return alwaysHiddenSeparatorStatusItem_ ? alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen() : std::nullopt;
}

std::optional<Rect> OwnStatusItems::alwaysHiddenSeparatorWindowFrame() const {
  return alwaysHiddenSeparatorStatusItem_ ? alwaysHiddenSeparatorStatusItem_->windowFrame() : std::nullopt;
}

std::optional<Rect> OwnStatusItems::coachAnchor() const {
  if (!statusItem_ || !statusItem_->hasButton()) return std::nullopt;
  return statusItem_->buttonFrameOnScreen();
}

std::optional<PlacementAnchors> OwnStatusItems::currentPlacementAnchors() const {
  auto toggle = toggleFrame();
  auto normal = separatorFrame();
  auto hidden = alwaysHiddenSeparatorFrame();
  if (!toggle || !normal || !hidden) return std::nullopt;
  return PlacementAnchors{.toggleMinX = toggle->minX(),
                          .toggleMaxX = toggle->maxX(),
                          .normalMinX = normal->minX(),
                          .normalMaxX = normal->maxX(),
                          .normalWidth = normal->width,
                          .hiddenMinX = hidden->minX(),
                          .hiddenMaxX = hidden->maxX(),
                          .hiddenWidth = hidden->width};
}

std::optional<double> OwnStatusItems::visibleIconsMinX() const {
  if (auto separator = separatorFrame()) return separator->maxX();
  if (auto toggle = toggleFrame()) return toggle->minX();
  return std::nullopt;
}

Policy::OwnItemValues OwnStatusItems::ownItemRightEdges() const {
  auto maxX = [](std::optional<Rect> frame) -> std::optional<double> {
    if (!frame) return std::nullopt;
    return frame->maxX();
  };
  return {.toggle = maxX(toggleFrame()),
          .separator = maxX(separatorFrame()),
          .alwaysHidden = maxX(alwaysHiddenSeparatorFrame())};
}

std::optional<bool> OwnStatusItems::ownItemsInOrder() const {
  auto anchors = currentPlacementAnchors();
  if (!anchors) return std::nullopt;
  if (anchors->toggleMinX == 0 || anchors->normalMinX == 0 || anchors->hiddenMinX == 0) return std::nullopt;
  if (anchors->normalWidth > kUnlaidSeparatorWidth || anchors->hiddenWidth > kUnlaidSeparatorWidth) {
    return std::nullopt;
  }
  double lo = std::min({anchors->toggleMinX, anchors->normalMinX, anchors->hiddenMinX});
  double hi = std::max({anchors->toggleMinX, anchors->normalMinX, anchors->hiddenMinX});
  if (hi - lo <= kAnchorTolerance) return std::nullopt;
  // Judged by right edges: a separator of no length stands at its right neighbour's left edge, so
  // one right beside the toggle shares the toggle's left edge and is still left of it.
  return anchors->hiddenMinX <= anchors->normalMinX + kAnchorTolerance &&
         anchors->normalMaxX <= anchors->toggleMinX + kAnchorTolerance &&
         anchors->hiddenMaxX <= anchors->toggleMinX + kAnchorTolerance;
}

std::optional<platform::ScreenInfo> OwnStatusItems::statusItemScreen() const {
  auto screens = platform_.screens().screens();
  if (screens.empty()) return std::nullopt;
  if (auto toggle = toggleFrame()) {
    for (const auto& screen : screens) {
      if (screen.frame.containsX(toggle->midX())) return screen;
    }
  }
  // The bar with the status items is the primary screen's.
  return screens.front();
}

bool OwnStatusItems::canMeasure() const { return statusItem_ && separatorStatusItem_; }

SeparatorMeasurement OwnStatusItems::measureSeparator(double requestedLength) const {
  SeparatorMeasurement m;
  auto button = separatorFrame();
  auto window = separatorStatusItem_ ? separatorStatusItem_->windowFrame() : std::nullopt;
  if (!button && !window) {
    m.failure = SeparatorReadFailure::noWindow;
    return m;
  }
  m.windowWidth = window ? window->width : 0;
  m.buttonWidth = button ? button->width : 0;
  m.sharedHost =
      window && button &&
      (window->minX() < button->minX() - kSharedHostSlack || window->maxX() > button->maxX() + kSharedHostSlack);
  // The button is the separator's own; a window may also hold its neighbours.
  const Rect& believed = button ? *button : *window;
  m.source = button ? "button" : "window";
  m.chosenWidth = believed.width;
  m.arrowFacingEdge = believed.maxX();
  m.leadingEdge = believed.minX();
  if (auto toggle = toggleFrame()) {
    m.toggleAnchor = toggle->minX();
    m.orderKnown = true;
    m.separatorLeftOfToggle = believed.maxX() <= toggle->minX() + kOrderTolerance;
  }
  m.usable = Policy::measurementIsFresh(m.windowWidth, m.buttonWidth, requestedLength);
  if (m.sharedHost && !button) MenuBarLog::log("measure separator verdict=shared-host ");
  return m;
}

}  // namespace tarvolo
