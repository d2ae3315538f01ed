#pragma once

// The simulated Accessibility tree of the menu bar: every process's status items as the items of
// its extras menu bar, at the frames the window server reports, and the menus they open. From 27
// on items the system has hidden are absent from the tree, and the bar's children are groups
// without actions, as on a real Mac. Elements are values naming what they stand for; an element
// whose item or menu is gone reports an invalid element.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimBar;
class SimMainQueue;
class SimMenus;
class SimProcesses;
class SimScreens;
class SimWaitLedger;
struct SimItemState;

class SimAccessibility final : public platform::Accessibility {
 public:
  // The system's default reply time-out for an element nobody set one on.
  static constexpr double defaultMessagingTimeout = 6.0;

  struct Parts {
    const SimSettings& settings;
    SimMainQueue& queue;
    const SimProcesses& processes;
    const SimBar& bar;
    SimMenus& menus;
    const SimScreens& screens;
    SimWaitLedger& waits;
  };
  explicit SimAccessibility(Parts parts);

  bool isProcessTrusted() const override { return trusted_; }
  // The prompt changes nothing by itself: the user grants the permission later, in System
  // Settings (`setTrusted`).
  bool requestTrustWithPrompt() override {
    ++promptsShown_;
    return trusted_;
  }
  int promptsShown() const { return promptsShown_; }
  std::optional<std::vector<platform::AccessibilityMenuBarItem>> extrasMenuBarItems(int pid) const override;

  platform::AXElement systemWideElement() override;
  platform::AXElement applicationElement(int pid) override;
  std::optional<int> processID(const platform::AXElement& element) override;
  void setMessagingTimeout(const platform::AXElement& element, double seconds) override;
  platform::AXResult<platform::AXValue> attribute(const platform::AXElement& element, const std::string& name) override;
  platform::AXResult<std::vector<std::string>> actionNames(const platform::AXElement& element) override;
  platform::AXError performAction(const platform::AXElement& element, const std::string& action) override;
  platform::AXResult<platform::AXElement> elementAtPosition(const platform::AXElement& root, Point topLeft) override;
  std::unique_ptr<platform::AXObserver> makeObserver(int pid, platform::AXNotificationHandler handler) override;

  void setTrusted(bool trusted) { trusted_ = trusted; }
  // Posts the notification to every observer of the element's process (the desktop calls it
  // when a foreign menu closes or an item goes away).
  void notify(int pid, int itemId, const std::string& notification);
  // The actions performed so far, oldest first: "AXPress bundle=… result=…".
  const std::vector<std::string>& performed() const { return performed_; }

  enum class Kind { systemWide, application, extrasMenuBar, menuBarItem, menu };
  struct Key {
    Kind kind = Kind::systemWide;
    int pid = 0;
    int itemId = 0;
    auto operator<=>(const Key&) const = default;
  };

 private:
  platform::AXElement make(Key key) const;
  static Key keyOf(const platform::AXElement& element);
  // Sends the element's process one message (`what`, for the record of main-thread calls).
  bool answers(const Key& key, std::string_view what);
  std::string bundleOf(int pid) const;
  const SimItemState* liveItem(const Key& key) const;
  std::vector<const SimItemState*> treeItems(int pid) const;
  std::vector<std::string> advertisedActions(const SimItemState& item) const;

  const SimSettings& settings_;
  SimMainQueue& queue_;
  const SimProcesses& processes_;
  const SimBar& bar_;
  SimMenus& menus_;
  const SimScreens& screens_;
  SimWaitLedger& waits_;
  bool trusted_ = true;
  int promptsShown_ = 0;
  std::map<Key, double> timeouts_;
  std::vector<std::string> performed_;
  struct ObserverEntry {
    int pid = 0;
    std::set<Key> watched;
    std::map<Key, std::set<std::string>> notifications;
    platform::AXNotificationHandler handler;
  };
  std::map<int, ObserverEntry> observers_;
  int nextObserver_ = 0;
  friend class SimAXObserver;
};

}  // namespace tarvolo::sim
