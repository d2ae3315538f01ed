#include "platform/sim/SimAccessibility.h"

#include <algorithm>

#include "platform/sim/SimBar.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimMenus.h"
#include "platform/sim/SimProcesses.h"
#include "platform/sim/SimScreens.h"
#include "platform/sim/SimWaitLedger.h"

// GCC 12 misreads moving a list into the value variant as a use of uninitialized memory.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace tarvolo::sim {

using platform::AXElement;
using platform::AXError;
using platform::AXResult;
using platform::AXValue;
namespace ax = platform::ax;

namespace {
// From this major version items the system hides are not in the tree, and the bar's children
// are groups without actions.
constexpr int kHiddenItemsAbsentFromOSMajor = 27;

class SimAXRef final : public platform::AXElementRef {
 public:
  explicit SimAXRef(SimAccessibility::Key key) : key(key) {}
  bool isEqual(const platform::AXElementRef& other) const override {
    auto* sim = dynamic_cast<const SimAXRef*>(&other);
    return sim && sim->key == key;
  }
  SimAccessibility::Key key;
};

template <typename T>
AXResult<T> ok(T value) {
  return AXResult<T>{.value = std::move(value)};
}
}  // namespace

class SimAXObserver final : public platform::AXObserver {
 public:
  SimAXObserver(SimAccessibility& owner, int id) : owner_(owner), id_(id) {}
  ~SimAXObserver() override { owner_.observers_.erase(id_); }
  AXError addNotification(const AXElement& element, const std::string& notification) override {
    auto found = owner_.observers_.find(id_);
    if (found == owner_.observers_.end()) return ax::failure;
    const auto key = SimAccessibility::keyOf(element);
    if (key.pid != found->second.pid) return ax::illegalArgument;
    if (key.kind == SimAccessibility::Kind::menuBarItem && !owner_.liveItem(key)) return ax::invalidElement;
    found->second.notifications[key].insert(notification);
    return ax::success;
  }

 private:
  SimAccessibility& owner_;
  int id_;
};

SimAccessibility::SimAccessibility(Parts parts)
    : settings_(parts.settings),
      queue_(parts.queue),
      processes_(parts.processes),
      bar_(parts.bar),
      menus_(parts.menus),
      screens_(parts.screens),
      waits_(parts.waits) {}

std::vector<const SimItemState*> SimAccessibility::treeItems(int pid) const {
  const bool hiddenAbsent = settings_.osMajor >= kHiddenItemsAbsentFromOSMajor;
  std::vector<const SimItemState*> out;
  for (const SimItemState* item : bar_.itemsOf(pid)) {
    if (!item->visible) continue;
    if (hiddenAbsent && !item->onScreen) continue;
    out.push_back(item);
  }
  return out;
}

std::optional<std::vector<platform::AccessibilityMenuBarItem>> SimAccessibility::extrasMenuBarItems(int pid) const {
  if (!trusted_ || !processes_.isRunning(pid)) return std::nullopt;
  waits_.accessibilityCall("AXExtrasMenuBar " + bundleOf(pid), 0);
  if (!processes_.answersAccessibility(pid)) {
    // The read stops at its first unanswered request.
    waits_.charge(platform::kAccessibilityReadTimeout);
    return std::nullopt;
  }
  std::vector<platform::AccessibilityMenuBarItem> out;
  for (const SimItemState* item : treeItems(pid)) {
    platform::AccessibilityMenuBarItem element;
    if (auto frame = bar_.reportedFrame(*item)) element.frame = screens_.topLeftFrame(*frame);
    element.title = item->title.empty() ? item->autosaveName : item->title;
    element.identifier = item->autosaveName;
    out.push_back(std::move(element));
  }
  // The bar, its children, and each child's frame and names.
  waits_.charge(settings_.accessibilityRoundTrip * static_cast<double>(2 + out.size()));
  return out;
}

std::string SimAccessibility::bundleOf(int pid) const {
  const SimAppSetup* app = processes_.appOfPid(pid);
  return "bundle=" + (app ? app->bundleId : "pid" + std::to_string(pid));
}

AXElement SimAccessibility::make(Key key) const { return AXElement(std::make_shared<SimAXRef>(key)); }

SimAccessibility::Key SimAccessibility::keyOf(const AXElement& element) {
  auto* sim = dynamic_cast<const SimAXRef*>(&element.ref());
  return sim ? sim->key : Key{};
}

AXElement SimAccessibility::systemWideElement() { return make({.kind = Kind::systemWide}); }
AXElement SimAccessibility::applicationElement(int pid) { return make({.kind = Kind::application, .pid = pid}); }

std::optional<int> SimAccessibility::processID(const AXElement& element) {
  const Key key = keyOf(element);
  if (key.kind == Kind::systemWide || !processes_.isRunning(key.pid)) return std::nullopt;
  return key.pid;
}

void SimAccessibility::setMessagingTimeout(const AXElement& element, double seconds) {
  timeouts_[keyOf(element)] = seconds;
}

// Whether the element's process answers; one that does not makes the caller wait out the
// element's time-out.
bool SimAccessibility::answers(const Key& key, std::string_view what) {
  waits_.accessibilityCall(std::string(what) + (key.kind == Kind::systemWide ? std::string(" systemWide") : " " + bundleOf(key.pid)),
                           0);
  if (key.kind == Kind::systemWide || processes_.answersAccessibility(key.pid)) {
    waits_.charge(settings_.accessibilityRoundTrip);
    return true;
  }
  auto timeout = timeouts_.find(key);
  waits_.charge(timeout == timeouts_.end() ? defaultMessagingTimeout : timeout->second);
  return false;
}

const SimItemState* SimAccessibility::liveItem(const Key& key) const {
  const auto items = treeItems(key.pid);
  auto found =
      std::find_if(items.begin(), items.end(), [&](const SimItemState* item) { return item->id == key.itemId; });
  return found == items.end() ? nullptr : *found;
}

std::vector<std::string> SimAccessibility::advertisedActions(const SimItemState& item) const {
  if (settings_.osMajor >= kHiddenItemsAbsentFromOSMajor) return {};
  const SimAppSetup* app = processes_.appOfPid(item.ownerPid);
  if (app && app->accessibilityActions) return *app->accessibilityActions;
  return {"AXPress", "AXCancel"};
}

AXResult<AXValue> SimAccessibility::attribute(const AXElement& element, const std::string& name) {
  using R = AXResult<AXValue>;
  if (!trusted_) return R::failed(ax::apiDisabled);
  const Key key = keyOf(element);
  if (key.kind != Kind::systemWide && !processes_.isRunning(key.pid)) return R::failed(ax::invalidElement);
  if (!answers(key, name)) return R::failed(ax::cannotComplete);
  const bool groups = settings_.osMajor >= kHiddenItemsAbsentFromOSMajor;
  switch (key.kind) {
    case Kind::systemWide:
      if (name == "AXRole") return ok(AXValue{std::string("AXSystemWide")});
      return R::failed(ax::attributeUnsupported);
    case Kind::application: {
      const bool hasBar = !bar_.itemsOf(key.pid).empty();
      if (name == "AXRole") return ok(AXValue{std::string("AXApplication")});
      if (name == "AXExtrasMenuBar") {
        if (!hasBar) return R::failed(ax::noValue);
        return ok(AXValue{make({.kind = Kind::extrasMenuBar, .pid = key.pid})});
      }
      if (name == "AXChildren") {
        AXValue::List children;
        if (hasBar) children.push_back(AXValue{make({.kind = Kind::extrasMenuBar, .pid = key.pid})});
        return ok(AXValue{children});
      }
      return R::failed(ax::attributeUnsupported);
    }
    case Kind::extrasMenuBar: {
      if (name == "AXRole") return ok(AXValue{std::string("AXMenuBar")});
      if (name == "AXParent") return ok(AXValue{make({.kind = Kind::application, .pid = key.pid})});
      if (name == "AXChildren") {
        AXValue::List children;
        for (const SimItemState* item : treeItems(key.pid)) {
          children.push_back(AXValue{make({.kind = Kind::menuBarItem, .pid = key.pid, .itemId = item->id})});
        }
        return ok(AXValue{children});
      }
      return R::failed(ax::attributeUnsupported);
    }
    case Kind::menuBarItem: {
      const SimItemState* item = liveItem(key);
      if (!item) return R::failed(ax::invalidElement);
      if (name == "AXRole") return ok(AXValue{std::string(groups ? "AXGroup" : "AXMenuBarItem")});
      if (name == "AXSubrole") return ok(AXValue{std::string("AXMenuExtra")});
      if (name == "AXParent") return ok(AXValue{make({.kind = Kind::extrasMenuBar, .pid = key.pid})});
      if (name == "AXIdentifier") return ok(AXValue{item->autosaveName});
      if (name == "AXTitle") {
        if (item->title.empty()) return R::failed(ax::noValue);
        return ok(AXValue{item->title});
      }
      if (name == "AXDescription") {
        if (!item->description) return R::failed(ax::noValue);
        return ok(AXValue{*item->description});
      }
      if (name == "AXPosition" || name == "AXSize") {
        auto frame = bar_.reportedFrame(*item);
        if (!frame) return R::failed(ax::noValue);
        const Rect topLeft = screens_.topLeftFrame(*frame);
        if (name == "AXPosition") return ok(AXValue{topLeft.origin()});
        return ok(AXValue{Size{topLeft.width, topLeft.height}});
      }
      if (name == "AXChildren") {
        AXValue::List children;
        const auto* menu = menus_.foreignMenu();
        if (menu && menu->itemId == item->id) {
          children.push_back(AXValue{make({.kind = Kind::menu, .pid = key.pid, .itemId = item->id})});
        }
        return ok(AXValue{children});
      }
      return R::failed(ax::attributeUnsupported);
    }
    case Kind::menu: {
      const auto* menu = menus_.foreignMenu();
      if (!menu || menu->itemId != key.itemId) return R::failed(ax::invalidElement);
      if (name == "AXRole") return ok(AXValue{std::string("AXMenu")});
      if (name == "AXVisible") return ok(AXValue{true});
      if (name == "AXParent") return ok(AXValue{make({.kind = Kind::menuBarItem, .pid = key.pid, .itemId = key.itemId})});
      return R::failed(ax::attributeUnsupported);
    }
  }
  return R::failed(ax::failure);
}

AXResult<std::vector<std::string>> SimAccessibility::actionNames(const AXElement& element) {
  using R = AXResult<std::vector<std::string>>;
  if (!trusted_) return R::failed(ax::apiDisabled);
  const Key key = keyOf(element);
  if (key.kind != Kind::menuBarItem) return ok(std::vector<std::string>{});
  if (!answers(key, "actionNames")) return R::failed(ax::cannotComplete);
  const SimItemState* item = liveItem(key);
  if (!item) return R::failed(ax::invalidElement);
  return ok(advertisedActions(*item));
}

AXError SimAccessibility::performAction(const AXElement& element, const std::string& action) {
  if (!trusted_) return ax::apiDisabled;
  const Key key = keyOf(element);
  if (key.kind != Kind::menuBarItem) return ax::actionUnsupported;
  if (!answers(key, action)) return ax::cannotComplete;
  const SimItemState* item = liveItem(key);
  if (!item) return ax::invalidElement;
  const SimAppSetup* app = processes_.appOfPid(key.pid);
  const auto advertised = advertisedActions(*item);
  const bool offered = std::find(advertised.begin(), advertised.end(), action) != advertised.end() ||
                       (action == "AXShowMenu" && !advertised.empty());
  AXError result = ax::success;
  const auto* open = menus_.foreignMenu();
  const bool menuOpen = open && open->itemId == item->id;
  if ((app && app->refusesActions) || !offered) {
    result = ax::actionUnsupported;
  } else if (action == "AXCancel") {
    menus_.closeForeignMenu("AXCancel");
  } else if (action == "AXPress" && menuOpen) {
    // Pressing an item whose menu is open closes the menu.
    menus_.closeForeignMenu("AXPress");
  } else if (action == "AXPress" || action == "AXShowMenu") {
    menus_.openForeignMenu(item->id, action);
    // The call sits in the menu's tracking loop until its time-out and reports it could not
    // complete, although the menu is open.
    if (action == "AXPress" && app && app->pressBlocks) {
      auto timeout = timeouts_.find(key);
      waits_.charge(timeout == timeouts_.end() ? defaultMessagingTimeout : timeout->second);
      result = ax::cannotComplete;
    }
  } else {
    result = ax::actionUnsupported;
  }
  performed_.push_back(action + " bundle=" + (app ? app->bundleId : std::string()) + " result=" + std::to_string(result));
  return result;
}

AXResult<AXElement> SimAccessibility::elementAtPosition(const AXElement& root, Point topLeft) {
  using R = AXResult<AXElement>;
  if (!trusted_) return R::failed(ax::apiDisabled);
  const Key rootKey = keyOf(root);
  const SimItemState* item = bar_.foreignItemAt(topLeft);
  if (!item) return R::failed(ax::noValue);
  if (rootKey.kind == Kind::application && rootKey.pid != item->ownerPid) return R::failed(ax::noValue);
  const Key key{.kind = Kind::menuBarItem, .pid = item->ownerPid, .itemId = item->id};
  if (!answers(key, "elementAtPosition")) return R::failed(ax::cannotComplete);
  if (!liveItem(key)) return R::failed(ax::noValue);
  return ok(make(key));
}

std::unique_ptr<platform::AXObserver> SimAccessibility::makeObserver(int pid, platform::AXNotificationHandler handler) {
  if (!trusted_ || !processes_.isRunning(pid)) return nullptr;
  const int id = ++nextObserver_;
  observers_[id] = ObserverEntry{.pid = pid, .handler = std::move(handler)};
  return std::make_unique<SimAXObserver>(*this, id);
}

void SimAccessibility::notify(int pid, int itemId, const std::string& notification) {
  const Key itemKey{.kind = Kind::menuBarItem, .pid = pid, .itemId = itemId};
  const Key appKey{.kind = Kind::application, .pid = pid};
  for (const auto& [id, entry] : observers_) {
    if (entry.pid != pid) continue;
    for (const Key& key : {itemKey, appKey}) {
      auto found = entry.notifications.find(key);
      if (found == entry.notifications.end() || !found->second.contains(notification)) continue;
      // Delivered from the main run loop, after the change.
      queue_.post(0, [this, id = id, key, notification] {
        auto observer = observers_.find(id);
        if (observer == observers_.end()) return;
        auto handler = observer->second.handler;
        handler(make(key), notification);
      });
      break;
    }
  }
}

}  // namespace tarvolo::sim
