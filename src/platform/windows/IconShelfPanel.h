#pragma once

// The Icon Shelf's panel: a small floating panel under the toggle (beside the notch where there
// is one) listing other applications' hidden icons. The core decides every text, row and flag;
// a backend draws them and calls back what the user did.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Geometry.h"
#include "platform/windows/RowIcon.h"

namespace tarvolo::platform {

struct IconShelfTierOption {
  std::string rawValue;  // "all", "always_visible", "hidden", "always_hidden"
  std::string title;
  bool selected = false;
  friend bool operator==(const IconShelfTierOption&, const IconShelfTierOption&) = default;
};

struct IconShelfRow {
  std::string id;
  std::string name;
  // What a system item is ("Wi-Fi / VPN"), shown under the name; absent for other owners.
  std::optional<std::string> systemLabel;
  std::optional<std::string> iconPath;  // the owning application's bundle
  RowIcon icon;
  std::string accessibilityLabel;
  bool selected = false;
  friend bool operator==(const IconShelfRow&, const IconShelfRow&) = default;
};

struct IconShelfViewState {
  std::string title;
  std::vector<IconShelfTierOption> tiers;
  double tierPickerWidth = 0;
  bool searchExpanded = false;
  std::string query;
  std::string searchPlaceholder;
  // Each increment asks the panel to put keyboard focus into the search field.
  int focusSearchRequest = 0;
  std::vector<IconShelfRow> rows;
  double rowWidth = 0;
  bool loading = false;
  bool discovering = false;
  // Shown instead of rows: nothing to list, or nothing matches the query.
  std::optional<std::string> emptyText;
  // While Accessibility is not granted: the row that asks for it.
  std::optional<std::string> permissionText;
  std::optional<std::string> permissionNote;
  std::optional<std::string> permissionButtonTitle;
  // The message under the rows ("This menu could not be opened.").
  std::optional<std::string> errorText;
  // Identify the icons the scan could not reach; absent when there are none.
  std::optional<std::string> discoverTitle;
  std::optional<std::string> discoverToolTip;
  std::string organizeTitle;
  std::string organizeToolTip;
  double organizeWidth = 0;
  double panelHeight = 0;
  // The toggle's button frame and the notch of its screen (AppKit global coordinates); absent
  // anchor: under the primary screen's menu bar.
  std::optional<Rect> anchor;
  std::optional<Rect> notch;
  friend bool operator==(const IconShelfViewState&, const IconShelfViewState&) = default;
};

// What the user can do; the keyboard goes through these as well (arrows, Return, Esc, ⌘F).
struct IconShelfActions {
  std::function<void(const std::string& tierRawValue)> selectTier;
  std::function<void(const std::string& query)> setQuery;
  std::function<void()> showSearch;
  std::function<void(int delta)> moveSelection;
  std::function<void(const std::string& rowID)> chooseRow;
  std::function<void()> activateSelection;
  std::function<void()> escape;
  std::function<void()> discover;
  std::function<void()> openAccessibilitySettings;
  std::function<void()> organize;
  std::function<void(double width)> viewportWidthChanged;
};

class IconShelfPanel {
 public:
  virtual ~IconShelfPanel() = default;
  // Shows the panel (or replaces what it shows) without taking focus from the frontmost app.
  virtual void show(const IconShelfViewState& state, IconShelfActions actions) = 0;
  virtual void update(const IconShelfViewState& state) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
};

}  // namespace tarvolo::platform
