#include "platform/sim/SimBar.h"

#include <algorithm>
#include <numeric>

#include "base/Text.h"
#include "platform/sim/SimAssessmentMode.h"
#include "platform/sim/SimDefaultsStore.h"
#include "platform/sim/SimLayoutRules.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimProcesses.h"
#include "platform/sim/SimScreens.h"

namespace tarvolo::sim {

namespace {

constexpr double kDefaultMenusWidth = 250;  // a Finder-like app when nothing is frontmost
constexpr const char* kDefaultMenusOwner = "com.apple.finder";

auto hasId(int id) {
  return [id](const std::unique_ptr<SimItemState>& item) { return item->id == id; };
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

SimBar::SimBar(Parts parts)
    : settings_(parts.settings),
      queue_(parts.queue),
      defaults_(parts.defaults),
      screens_(parts.screens),
      processes_(parts.processes),
      assessmentMode_(parts.assessmentMode) {}

// --- the items --------------------------------------------------------------------------------

int SimBar::addItem(std::unique_ptr<SimItemState> item) {
  item->id = ++nextItemId_;
  item->creationOrder = ++creationCounter_;
  const int id = item->id;
  items_.push_back(std::move(item));
  return id;
}

int SimBar::createOwnItem(double length, const std::string& autosaveName) {
  auto state = std::make_unique<SimItemState>();
  state->ownerPid = kOwnPid;
  state->autosaveName = autosaveName;
  state->length = length;
  state->contentWidth = length >= 0 ? std::min(length, 16.0) : settings_.symbolItemWidth;
  if (!contains(settings_.ignorePreferredPositionsOf, autosaveName)) {
    state->preferredPosition = defaults_.getDouble(preferredPositionKey(autosaveName));
  }
  const int id = addItem(std::move(state));
  relayout();
  return id;
}

void SimBar::spawn(int pid, const std::vector<SimItemSetup>& items) {
  for (const auto& itemSetup : items) {
    auto state = std::make_unique<SimItemState>();
    state->ownerPid = pid;
    state->autosaveName = itemSetup.autosaveName;
    state->length = itemSetup.width;
    state->contentWidth = itemSetup.width;
    state->preferredPosition = itemSetup.position;
    state->title = itemSetup.title;
    state->description = itemSetup.description;
    addItem(std::move(state));
  }
  relayout();
}

SimItemState* SimBar::item(int id) {
  auto found = std::find_if(items_.begin(), items_.end(), hasId(id));
  return found == items_.end() ? nullptr : found->get();
}

const SimItemState* SimBar::item(int id) const {
  auto found = std::find_if(items_.begin(), items_.end(), hasId(id));
  return found == items_.end() ? nullptr : found->get();
}

void SimBar::remove(int id, StoredPosition position) {
  auto found = std::find_if(items_.begin(), items_.end(), hasId(id));
  if (found == items_.end()) return;
  if (position == StoredPosition::remove && (*found)->ownerPid == kOwnPid) {
    // The item is released when the turn ends and deletes its position again then: a position
    // written for a new item in the same turn is lost, as on a Mac.
    auto key = preferredPositionKey((*found)->autosaveName);
    defaults_.remove(key);
    queue_.post(0, [this, key] { defaults_.remove(key); });
  }
  items_.erase(found);
  relayout();
}

void SimBar::removeItemsOf(int pid) {
  std::erase_if(items_, [pid](const auto& item) { return item->ownerPid == pid; });
  relayout();
}

void SimBar::ownProcessExited() {
  for (auto& item : items_) {
    if (item->ownerPid == kOwnPid) item->removed = true;
  }
  std::erase_if(items_, [](const auto& item) { return item->ownerPid == kOwnPid && !item->visible; });
}

const SimItemState* SimBar::ownItem(const std::string& autosaveName) const {
  auto found = std::find_if(items_.begin(), items_.end(), [&](const auto& item) {
    return item->ownerPid == kOwnPid && !item->removed && item->autosaveName == autosaveName;
  });
  return found == items_.end() ? nullptr : found->get();
}

std::vector<const SimItemState*> SimBar::itemsOf(int pid) const {
  std::vector<const SimItemState*> out;
  for (const auto& item : items_) {
    if (item->ownerPid == pid && !item->removed) out.push_back(item.get());
  }
  return out;
}

std::vector<const SimItemState*> SimBar::allItems() const {
  std::vector<const SimItemState*> out;
  for (const auto& item : items_) {
    if (!item->removed) out.push_back(item.get());
  }
  return out;
}

const SimItemState* SimBar::foreignItemAt(Point topLeft) const {
  auto hit = std::find_if(items_.begin(), items_.end(), [&](const auto& candidate) {
    if (candidate->removed || !candidate->visible || !candidate->onScreen || !candidate->frame) return false;
    if (candidate->ownerPid == kOwnPid) return false;
    const Rect frame = screens_.topLeftFrame(*candidate->frame);
    return topLeft.x >= frame.minX() && topLeft.x < frame.maxX() && topLeft.y >= frame.minY() &&
           topLeft.y < frame.maxY();
  });
  if (hit == items_.end()) return nullptr;
  // Nothing is drawn, and nothing can be hit, under the camera housing.
  auto notch = screens_.primary().notchRect();
  if (notch && (*hit)->frame->intersects(*notch)) {
    const Rect housing = screens_.topLeftFrame(*notch);
    if (topLeft.x >= housing.minX() && topLeft.x < housing.maxX()) return nullptr;
  }
  return hit->get();
}

SimItemState* SimBar::draggableItem(const std::string& name) {
  auto found = std::find_if(items_.begin(), items_.end(), [&](const auto& item) {
    if (item->removed || !item->frame || !item->onScreen) return false;
    if (item->ownerPid == kOwnPid) return item->autosaveName == name;
    auto bundle = processes_.bundleIdOfPid(item->ownerPid);
    return bundle && text::equalsIgnoringCase(*bundle, name);
  });
  return found == items_.end() ? nullptr : found->get();
}

double SimBar::effectivePosition(const SimItemState& item) const {
  return item.preferredPosition.value_or(statusAreaMaxX() - item.frame->maxX());
}

void SimBar::storePosition(const SimItemState& item, double position) {
  if (item.ownerPid == kOwnPid) {
    defaults_.set(preferredPositionKey(item.autosaveName), DefaultsValue(position));
    return;
  }
  auto bundle = processes_.bundleIdOfPid(item.ownerPid);
  SimAppSetup* app = bundle ? processes_.find(*bundle) : nullptr;
  if (!app) return;
  for (auto& itemSetup : app->items) {
    if (itemSetup.autosaveName == item.autosaveName) itemSetup.position = position;
  }
}

void SimBar::drop(SimItemState& dragged, double toX) {
  // Where the drop lands among the other laid-out items, right to left.
  std::vector<const SimItemState*> others;
  for (const auto& item : items_) {
    if (item.get() != &dragged && !item->removed && !item->unplaced && item->frame) others.push_back(item.get());
  }
  std::sort(others.begin(), others.end(),
            [](const SimItemState* a, const SimItemState* b) { return a->frame->midX() > b->frame->midX(); });
  auto firstLeft = std::find_if(others.begin(), others.end(),
                                [toX](const SimItemState* other) { return other->frame->midX() <= toX; });
  const SimItemState* rightNeighbour = firstLeft == others.begin() ? nullptr : *std::prev(firstLeft);
  const SimItemState* leftNeighbour = firstLeft == others.end() ? nullptr : *firstLeft;
  // The system reorders only when the drop passes a neighbour's middle.
  const bool crossed = (rightNeighbour && dragged.frame->midX() > rightNeighbour->frame->midX()) ||
                       (leftNeighbour && dragged.frame->midX() < leftNeighbour->frame->midX());
  if (!crossed) return;
  const double right = rightNeighbour ? effectivePosition(*rightNeighbour) : -1;
  const double left = leftNeighbour ? effectivePosition(*leftNeighbour) : right + 2;
  const double position = (right + left) / 2;
  dragged.preferredPosition = position;
  storePosition(dragged, position);
  relayout();
}

// --- layout and frames ---------------------------------------------------------------------------

double SimBar::itemWidth(const SimItemState& item) const {
  return item.length >= 0 ? item.length : item.contentWidth;
}

bool SimBar::withheldByAssertion(const SimItemState& item) const {
  const auto& allowed = assessmentMode_.restriction();
  if (!allowed) return false;
  auto bundle = processes_.bundleIdOfPid(item.ownerPid);
  return !bundle || !allowed->contains(text::lowercased(*bundle));
}

// From macOS 26 the system settings hold a per-app switch; with it off the app's items keep their
// windows but are never laid out.
bool SimBar::withheldBySwitch(const SimItemState& item) const {
  constexpr int kMenuBarSwitchFromOSMajor = 26;
  if (settings_.osMajor < kMenuBarSwitchFromOSMajor) return false;
  if (item.ownerPid == kOwnPid) return !settings_.allowedInMenuBar;
  const SimAppSetup* app = processes_.appOfPid(item.ownerPid);
  return app && !app->allowedInMenuBar;
}

bool SimBar::sharesWindow(const SimItemState& item) const {
  return item.ownerPid == kOwnPid && contains(settings_.sharedWindowItems, item.autosaveName);
}

void SimBar::relayout() {
  std::vector<SimItemState*> order;
  for (auto& item : items_) {
    if (!item->removed && item->visible && !withheldByAssertion(*item) && !withheldBySwitch(*item)) {
      order.push_back(item.get());
    }
  }
  // Right to left: stored positions ascending; items without one stand leftmost, newest last.
  std::stable_sort(order.begin(), order.end(), [](const SimItemState* a, const SimItemState* b) {
    if (a->preferredPosition.has_value() != b->preferredPosition.has_value()) return a->preferredPosition.has_value();
    if (a->preferredPosition && *a->preferredPosition != *b->preferredPosition) {
      return *a->preferredPosition < *b->preferredPosition;
    }
    return a->creationOrder < b->creationOrder;
  });

  const SimScreenSetup& screen = screens_.primarySetup();
  const auto info = screens_.primary();
  StatusLayoutInput input{.screen = Rect{screen.x, screen.y, screen.width, screen.height},
                          .barY = screen.y + screen.height - info.menuBarHeight,
                          .barHeight = info.menuBarHeight,
                          .notch = info.notchRect(),
                          .regionMaxX = statusAreaMaxX(),
                          .titleWidths = frontmostMenuTitles()};
  for (const SimItemState* item : order) {
    input.items.push_back(StatusLayoutItem{.width = itemWidth(*item), .contentWidth = item->contentWidth});
  }
  StatusLayoutResult layout = layoutStatusItems(input, settings_);
  titlesDropped_ = layout.titlesDropped;
  droppedTitlesWidth_ = layout.droppedTitlesWidth;
  chevronShown_ = layout.chevronShown;

  for (auto& item : items_) {
    if (item->removed || !item->visible || withheldByAssertion(*item)) {
      item->frame.reset();
      item->reported.reset();
      item->onScreen = false;
      item->displaced = false;
      item->rejected = false;
      item->windowPartnerId.reset();
    }
    item->unplaced = false;
  }
  for (auto& item : items_) {
    if (item->removed || !item->visible || !withheldBySwitch(*item)) continue;
    // Ordered out just above the primary screen: readable, and on no screen.
    item->frame = Rect{screen.x, screen.y + screen.height + info.menuBarHeight, itemWidth(*item), info.menuBarHeight};
    item->reported = item->frame;
    item->onScreen = false;
    item->displaced = false;
    item->rejected = false;
    item->unplaced = true;
    item->windowPartnerId.reset();
  }
  for (std::size_t i = 0; i < order.size(); ++i) {
    SimItemState* item = order[i];
    const PlacedStatusItem& placed = layout.items[i];
    item->frame = placed.frame;
    item->reported = placed.reported;
    item->onScreen = placed.onScreen;
    item->displaced = placed.displaced;
    item->rejected = placed.rejected;
    item->windowPartnerId.reset();
    if (sharesWindow(*item) && i > 0 && placed.onScreen) item->windowPartnerId = order[i - 1]->id;
  }
  const double now = queue_.now();
  for (auto& item : items_) {
    auto& history = item->history;
    if (history.empty() || history.back().second != item->reported) history.emplace_back(now, item->reported);
    // Only the newest entry older than the latency window matters to readers.
    while (history.size() > 2 && history[1].first <= now - settings_.frameLatency) history.erase(history.begin());
  }
}

std::optional<Rect> SimBar::reportedFrame(const SimItemState& item) const {
  if (!settings_.framesReadable) return std::nullopt;
  // The newest frame old enough to have reached readers.
  const double cutoff = queue_.now() - settings_.frameLatency;
  auto unseen = std::find_if(item.history.begin(), item.history.end(),
                             [cutoff](const auto& entry) { return entry.first > cutoff + 1e-12; });
  if (unseen == item.history.begin()) return std::nullopt;
  return std::prev(unseen)->second;
}

std::optional<Rect> SimBar::reportedWindowFrame(const SimItemState& item) const {
  auto frame = reportedFrame(item);
  if (!frame || !item.windowPartnerId) return frame;
  const SimItemState* partner = this->item(*item.windowPartnerId);
  auto partnerFrame = partner ? reportedFrame(*partner) : std::nullopt;
  if (!partnerFrame) return frame;
  double minX = std::min(frame->minX(), partnerFrame->minX());
  double maxX = std::max(frame->maxX(), partnerFrame->maxX());
  return Rect{minX, frame->y, maxX - minX, frame->height};
}

// --- the menus and the status area ---------------------------------------------------------------

std::vector<double> SimBar::frontmostMenuTitles() const {
  if (const SimAppSetup* app = processes_.frontmostApp()) return menuTitleWidths(*app);
  return menuTitleWidths(kDefaultMenusOwner, kDefaultMenusWidth);
}

double SimBar::frontmostMenusWidth() const {
  auto titles = frontmostMenuTitles();
  return std::accumulate(titles.begin(), titles.end(), 0.0);
}

double SimBar::menusRightEdge() const {
  const SimScreenSetup& screen = screens_.primarySetup();
  return menusRightFor(Rect{screen.x, screen.y, screen.width, screen.height}, screens_.primary().notchRect(),
                       frontmostMenusWidth() - droppedTitlesWidth_);
}

double SimBar::statusAreaMinX() const {
  double minX = std::max(screens_.primarySetup().x, menusRightEdge());
  if (auto notch = screens_.primary().notchRect()) minX = std::max(minX, notch->maxX());
  return minX + (chevronShown_ ? overflowChevronWidth(settings_) : 0);
}

double SimBar::statusAreaMaxX() const {
  const SimScreenSetup& screen = screens_.primarySetup();
  return screen.x + screen.width - settings_.systemItemsWidth;
}

}  // namespace tarvolo::sim
