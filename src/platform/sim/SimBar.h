#pragma once

// The status items of the simulated menu bar: every process's items, where the system lays
// them out on the primary screen (SimLayoutRules.h), what the window server reports of them
// (lagging by the frame latency), and the frontmost app's menus they share the bar with.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Geometry.h"
#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimAssessmentMode;
class SimDefaultsStore;
class SimMainQueue;
class SimProcesses;
class SimScreens;

// One status item in the bar, owned by the bar; the app holds a handle to its own (SimStatusItem).
struct SimItemState {
  int id = 0;
  int ownerPid = 0;
  std::string autosaveName;
  double length = 0;
  double contentWidth = 32;  // what a variable-length item takes
  bool visible = true;
  bool removed = false;
  std::optional<double> preferredPosition;
  int creationOrder = 0;
  std::string title;
  std::string symbol;
  std::string toolTip;
  std::string accessibilityLabel;
  std::optional<std::string> description;
  platform::EventMask actionMask = 0;
  std::function<void(std::optional<platform::Event>)> action;
  // Truth of the current layout, and the frame the window server reports for it (parked at the
  // visible stretch's left end when displaced; waiting at the screen's left edge when rejected).
  std::optional<Rect> frame;
  std::optional<Rect> reported;
  bool onScreen = false;
  bool displaced = false;  // no room left for it
  bool rejected = false;   // ejected or dropped by the system for its length
  bool unplaced = false;   // its app may not show items: the window exists, ordered out above the screen
  std::optional<int> windowPartnerId;  // the item whose button shares this item's window
  // (time, reported frame); what readers see lags by the frame latency.
  std::vector<std::pair<double, std::optional<Rect>>> history;
};

// Whether removing an own item deletes the position the system stored for it.
enum class StoredPosition { keep, remove };

class SimBar {
 public:
  struct Parts {
    const SimSettings& settings;
    SimMainQueue& queue;
    SimDefaultsStore& defaults;
    const SimScreens& screens;
    SimProcesses& processes;
    const SimAssessmentMode& assessmentMode;
  };
  explicit SimBar(Parts parts);
  SimBar(const SimBar&) = delete;
  SimBar& operator=(const SimBar&) = delete;

  static std::string preferredPositionKey(const std::string& autosaveName) {
    return "NSStatusItem Preferred Position " + autosaveName;
  }

  // --- the items
  // One of the app's own items, at its stored position unless the system disregards it.
  int createOwnItem(double length, const std::string& autosaveName);
  // Another process's items, as it creates them when it starts.
  void spawn(int pid, const std::vector<SimItemSetup>& items);
  SimItemState* item(int id);
  const SimItemState* item(int id) const;
  void remove(int id, StoredPosition position);
  // The process quit: its items vanish, the positions it stored stay.
  void removeItemsOf(int pid);
  // The app's process ended without tidying up: its items vanish, stored positions stay.
  void ownProcessExited();
  const SimItemState* ownItem(const std::string& autosaveName) const;
  std::vector<const SimItemState*> itemsOf(int pid) const;
  std::vector<const SimItemState*> allItems() const;
  // Every item the bar holds, removed ones included: a bound for what a reading may list.
  std::size_t itemCapacity() const { return items_.size(); }
  // Another application's on-screen item drawn at a point of top-left global space (not under
  // the notch).
  const SimItemState* foreignItemAt(Point topLeft) const;
  // The on-screen item a ⌘-drag picks up: an own item by autosave name, or the first item of
  // another app by its bundle id.
  SimItemState* draggableItem(const std::string& name);
  // Drops a ⌘-dragged item at `toX`: the system moves it, and stores its new position, only
  // when the drop passes a neighbour's middle.
  void drop(SimItemState& dragged, double toX);

  // --- layout and what the window server reports
  void relayout();
  std::optional<Rect> reportedFrame(const SimItemState& item) const;
  // The item's window, which may also hold its partner's button.
  std::optional<Rect> reportedWindowFrame(const SimItemState& item) const;

  // --- the frontmost app's menus, as laid out: their full width and how many titles the
  // system dropped to make room for a long item
  double menusRightEdge() const;
  double frontmostMenusWidth() const;
  std::vector<double> frontmostMenuTitles() const;
  int menuTitlesDropped() const { return titlesDropped_; }
  double droppedMenuTitlesWidth() const { return droppedTitlesWidth_; }
  bool overflowChevronShown() const { return chevronShown_; }
  // The visible stretch of the bar where status items can show.
  double statusAreaMinX() const;
  double statusAreaMaxX() const;

 private:
  int addItem(std::unique_ptr<SimItemState> item);
  double itemWidth(const SimItemState& item) const;
  // Not drawn because the system's assertion leaves its bundle off the allow-list.
  bool withheldByAssertion(const SimItemState& item) const;
  // Never given a place because its app's "Allow in the Menu Bar" switch is off.
  bool withheldBySwitch(const SimItemState& item) const;
  // Whether the system keeps the item's window together with its right neighbour's button.
  bool sharesWindow(const SimItemState& item) const;
  // The position the item stands at for the system: its stored one, or where it stands now.
  double effectivePosition(const SimItemState& item) const;
  void storePosition(const SimItemState& item, double position);

  const SimSettings& settings_;
  SimMainQueue& queue_;
  SimDefaultsStore& defaults_;
  const SimScreens& screens_;
  SimProcesses& processes_;
  const SimAssessmentMode& assessmentMode_;
  std::vector<std::unique_ptr<SimItemState>> items_;
  int nextItemId_ = 0;
  int creationCounter_ = 0;
  int titlesDropped_ = 0;
  double droppedTitlesWidth_ = 0;
  bool chevronShown_ = false;
};

}  // namespace tarvolo::sim
