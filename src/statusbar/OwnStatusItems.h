#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/vocabulary/PlacementTypes.h"
#include "platform/Platform.h"
#include "statusbar/OrderRepairPolicy.h"
#include "visibility/MenuBarVisibilityPolicy.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

class LocalizationManager;

// The app's three status items: the toggle, the normal separator and the always-hidden
// separator. Creates them in the order the status bar needs, styles them, sets and reads back
// their lengths, and reads their frames. Knows nothing of what is shown; the state machine
// tells it. Main thread only.
class OwnStatusItems final : public SeparatorItems {
 public:
  static constexpr const char* toggleAutosaveName = "tarvolo_toggle";
  static constexpr const char* separatorAutosaveName = "tarvolo_separator";
  static constexpr const char* alwaysHiddenAutosaveName = "tarvolo_always_hidden_separator";
  static std::string preferredPositionKey(const std::string& autosaveName) {
    return "NSStatusItem Preferred Position " + autosaveName;
  }

  enum class Item { toggle, separator, alwaysHiddenSeparator };

  struct Actions {
    // With the event that sent them; absent when pressed through Accessibility.
    std::function<void(std::optional<platform::Event>)> toggleClicked;
    std::function<void(std::optional<platform::Event>)> separatorClicked;
    std::function<void(std::optional<platform::Event>)> alwaysHiddenSeparatorClicked;
  };

  OwnStatusItems(platform::Platform& platform, const LocalizationManager& localization,
                 double expandedSeparatorLength);
  ~OwnStatusItems() override;
  OwnStatusItems(const OwnStatusItems&) = delete;
  OwnStatusItems& operator=(const OwnStatusItems&) = delete;

  // Writes the preferred positions the items need to land in order (always-hidden separator
  // leftmost, toggle rightmost). The status bar reads them only when an item is created.
  void seedPreferredPositions();
  // Creates the toggle, the separator and the always-hidden separator, in that order. `afterEach`
  // runs after each item, so that companions created there land where they must.
  void createOwnItems(MenuBarPresentation shown, Actions actions,
                      const std::function<void(Item)>& afterEach = nullptr);
  // Removes the three items; the status bar drops their stored positions, so positions written
  // afterwards take effect when createOwnItems runs again.
  void removeOwnItems();
  bool hasToggle() const { return statusItem_ != nullptr; }

  // --- styling
  void updateButtonAppearance(MenuBarPresentation shown);
  // Labels the separators. The texts are the same in every presentation: the title the plan
  // draws for the presentation carries the emphasis.
  void styleFoldSeparator();
  void styleHiddenSeparator();
  // Relabels every item in the interface language.
  void updateLanguageStrings(MenuBarPresentation shown);
  void applySeparatorTitles(const std::string& normalTitle, const std::string& alwaysHiddenSymbol);
  void showAll();
  void popUpToggleMenu(const platform::Menu& menu);

  // --- lengths
  void setAlwaysHiddenSeparatorLength(double length) override;
  double alwaysHiddenSeparatorLength() const;

  // --- frames
  std::optional<PlacementAnchors> currentPlacementAnchors() const;
  // Where the first-launch coach points: the toggle's button, when it has one.
  std::optional<Rect> coachAnchor() const;
  // The right end of the stretch a collapse leaves empty: where the icons that stay visible begin.
  std::optional<double> visibleIconsMinX() const;
  // The right edges of the three items' buttons, where known.
  MenuBarVisibilityPolicy::OwnItemValues ownItemRightEdges() const;

  // SeparatorItems
  bool canMeasure() const override;
  SeparatorMeasurement measureSeparator(double requestedLength) const override;
  std::optional<Rect> toggleFrame() const override;
  std::optional<Rect> separatorFrame() const override;
  std::optional<Rect> alwaysHiddenSeparatorFrame() const override;
  std::optional<Rect> alwaysHiddenSeparatorWindowFrame() const override;
  double separatorLength() const override;
  void setSeparatorLength(double length) override;
  void setSeparatorTitle(const std::string& title) override;
  std::optional<bool> ownItemsInOrder() const override;
  std::optional<platform::ScreenInfo> statusItemScreen() const override;

 private:
  std::string text(const std::string& key) const;
  std::string stateDescription(MenuBarPresentation shown) const;

  platform::Platform& platform_;
  const LocalizationManager& localization_;
  const double expandedSeparatorLength_;

  std::unique_ptr<platform::StatusItem> statusItem_;
  std::unique_ptr<platform::StatusItem> separatorStatusItem_;
  std::unique_ptr<platform::StatusItem> alwaysHiddenSeparatorStatusItem_;
};

}  // namespace tarvolo
