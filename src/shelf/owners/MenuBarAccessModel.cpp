#include "shelf/owners/MenuBarAccessModel.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Log.h"
#include "base/Text.h"
#include "base/vocabulary/OwnBundle.h"
#include "shelf/DrawerSearch.h"
#include "shelf/MenuBarAccessPolicy.h"
#include "shelf/owners/MenuVisibilityProbe.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

using platform::AXElement;
namespace ax = platform::ax;

namespace {

std::optional<std::string> textAttribute(platform::Accessibility& accessibility, const AXElement& element,
                                         const std::string& name) {
  auto value = accessibility.attribute(element, name);
  const auto* text = value.value ? value.value->text() : nullptr;
  if (!text || text->empty()) return std::nullopt;
  return *text;
}

std::optional<std::vector<AXElement>> barItems(platform::Accessibility& accessibility, int pid, double timeout) {
  const AXElement app = accessibility.applicationElement(pid);
  accessibility.setMessagingTimeout(app, timeout);
  auto bar = accessibility.attribute(app, "AXExtrasMenuBar");
  if (bar.error == ax::noValue) return std::vector<AXElement>{};
  const AXElement* barElement = bar.value ? bar.value->element() : nullptr;
  if (!barElement) return std::nullopt;
  accessibility.setMessagingTimeout(*barElement, timeout);
  auto children = accessibility.attribute(*barElement, "AXChildren");
  const auto* list = children.value ? children.value->list() : nullptr;
  if (!list) return std::nullopt;
  std::vector<AXElement> out;
  for (const auto& child : *list) {
    const AXElement* element = child.element();
    if (!element) continue;
    // A time-out is not inherited: without its own, each read of an item of a hung app would
    // wait the system's default of several seconds.
    accessibility.setMessagingTimeout(*element, timeout);
    out.push_back(*element);
  }
  return out;
}

// Text widths in the system font at the picker's size, without a font at hand: wide (CJK)
// characters take about 13 points, others about 7.
double estimatedTextWidth(std::string_view text) {
  double width = 0;
  for (std::size_t offset = 0; offset < text.size();) {
    const char32_t scalar = text::decodeScalar(text, offset);
    width += scalar >= 0x1100 ? 13 : 7;
  }
  return width;
}

}  // namespace

// One open-menu attempt, carried from step to step on the action queue.
struct MenuBarAccessModel::ActionRun {
  platform::Accessibility& accessibility;
  platform::Clock& clock;
  NativeStatusItemClick::Context click;
  std::shared_ptr<platform::SerialQueue> queue;
  AccessibleStatusItem item;
  int knownOwnerCount = 0;
  MenuBarAccessModel::WillPerform willPerform;
  // Runs on the main thread before a click, which needs the item where the user could click it.
  std::function<void()> beforeClick;
  std::weak_ptr<ShelfOperation> operation;
  std::function<void(bool)> finish;  // from the queue, with the outcome

  std::optional<AXElement> element;
  bool ready = false;
  std::string lastAction = "none";
  platform::AXError result = ax::success;
  bool menuVisible = false;
  double start = 0;
};

namespace {

using ActionRun = MenuBarAccessModel::ActionRun;
using ActionRunPtr = std::shared_ptr<ActionRun>;

void summarize(const ActionRunPtr& run, bool accepted) {
  if (operationStopped(run->operation)) return;
  const auto elapsedMs = static_cast<long long>(std::llround((run->clock.now() - run->start) * 1000));
  MenuBarLog::log(LogLine("iconShelf action")
                      .add("resolved", run->element.has_value())
                      .add("ready", run->ready)
                      .add("action", run->lastAction)
                      .add("result", run->result)
                      .add("menuVisible", run->menuVisible)
                      .add("accepted", accepted)
                      .add("elapsedMs", elapsedMs));
  run->finish(accepted);
}

void act(const ActionRunPtr& run) {
  if (operationStopped(run->operation)) return;
  auto& accessibility = run->accessibility;
  std::vector<std::string> advertised;
  if (run->element) {
    if (auto names = accessibility.actionNames(*run->element); names.value) advertised = *names.value;
    run->queue->runOnMainSync([&] { run->ready = run->willPerform(*run->element); });
  }
  run->start = run->clock.now();
  if (!run->element || !run->ready) {
    summarize(run, false);
    return;
  }
  accessibility.setMessagingTimeout(*run->element, MenuBarAccessModel::actionTimeout);
  const bool pressFirst = std::find(advertised.begin(), advertised.end(), "AXPress") != advertised.end();
  const std::vector<std::string> order = pressFirst ? std::vector<std::string>{"AXPress", "AXShowMenu"}
                                                    : std::vector<std::string>{"AXShowMenu", "AXPress"};
  bool accepted = false;
  bool allUnsupported = true;
  for (const auto& action : order) {
    if (operationStopped(run->operation)) return;
    run->lastAction = action;
    run->result = accessibility.performAction(*run->element, action);
    MenuBarLog::log(LogLine("iconShelf attempt")
                        .add("bundle", run->item.ownerBundleID)
                        .add("action", action)
                        .add("result", run->result));
    if (run->result == ax::actionUnsupported) continue;
    allUnsupported = false;
    if (run->result == ax::cannotComplete) {
      // The press may sit in the menu's tracking loop with the menu already open.
      run->menuVisible = visibleMenu(accessibility, *run->element);
      accepted = run->menuVisible;
    } else {
      accepted = run->result == ax::success;
    }
    break;
  }
  if (!allUnsupported) {
    summarize(run, accepted);
    return;
  }
  if (run->beforeClick) run->queue->runOnMainSync([&] { run->beforeClick(); });
  NativeStatusItemClick::perform(run->click, *run->element, true, run->operation, [run](bool clicked) {
    run->menuVisible = clicked;
    summarize(run, clicked);
  });
}

void resolveStep(const ActionRunPtr& run, int attempt) {
  if (operationStopped(run->operation)) return;
  run->element = MenuBarAccessModel::resolve(run->accessibility, run->item, run->knownOwnerCount);
  if (!run->element && attempt + 1 < MenuBarAccessModel::resolveAttempts) {
    run->queue->post(MenuBarAccessModel::resolveInterval, [run, attempt] { resolveStep(run, attempt + 1); });
    return;
  }
  act(run);
}

// The first item of one application, read afresh: a shortcut may come before any scan, and on
// systems that drop hidden items from the tree the item appears only once the bar shows it.
void firstItemStep(const ActionRunPtr& run, const MenuBarAccessModel::ScanTarget& target, int attempt) {
  if (operationStopped(run->operation)) return;
  auto found = MenuBarAccessModel::scanTarget(run->accessibility, target);
  if (found && !found->empty()) {
    run->item = found->front();
    run->knownOwnerCount = static_cast<int>(found->size());
    resolveStep(run, 0);
    return;
  }
  if (attempt + 1 < MenuBarAccessModel::resolveAttempts) {
    run->queue->post(MenuBarAccessModel::resolveInterval,
                     [run, target, attempt] { firstItemStep(run, target, attempt + 1); });
    return;
  }
  MenuBarLog::log(LogLine("iconShelf first item missing").add("bundle", target.bundleID));
  summarize(run, false);
}

}  // namespace

MenuBarAccessModel::MenuBarAccessModel(Dependencies dependencies)
    : platform_(dependencies.platform),
      catalog_(dependencies.catalog),
      categories_(dependencies.categories),
      permission_(dependencies.permission),
      scanQueue_(platform_.makeSerialQueue("com.ostrand.tarvolo.shelf-scan")),
      actionQueue_(platform_.makeSerialQueue("com.ostrand.tarvolo.shelf-action")) {
  auto stored = platform_.defaults().getString(std::string(selectedTierKey));
  selectedTier = stored ? menuBarAccessTier(*stored).value_or(MenuBarAccessTier::all) : MenuBarAccessTier::all;
  trusted = permission_.isTrusted.get();
  subscriptions_.push_back(permission_.isTrusted.subscribe([weak = weakFactory_.handle()](const bool& isTrusted) {
    if (auto* self = weak.get()) self->trusted = isTrusted;
  }));
  subscriptions_.push_back(items.subscribe([weak = weakFactory_.handle()](const std::vector<AccessibleStatusItem>& rows) {
    if (auto* self = weak.get()) self->deriveFromRows(rows);
  }));
  subscriptions_.push_back(catalog_.items.subscribe([weak = weakFactory_.handle()](const auto&) {
    if (auto* self = weak.get()) self->recovery_.reset();
  }));
  subscriptions_.push_back(categories_.observeChanges([weak = weakFactory_.handle()] {
    if (auto* self = weak.get()) self->rowTiers_.reset();
  }));
}

void MenuBarAccessModel::deriveFromRows(const std::vector<AccessibleStatusItem>& rows) {
  ++rowDerivations_;
  searchKeys_.clear();
  searchKeys_.reserve(rows.size());
  reachedOwners_.clear();
  for (const auto& row : rows) {
    searchKeys_.push_back(DrawerSearch::searchKey(row.ownerName, row.ownerBundleID));
    reachedOwners_.insert(text::lowercased(row.ownerBundleID));
  }
  recovery_.reset();
  rowTiers_.reset();
}

MenuBarAccessModel::~MenuBarAccessModel() { cancel(); }

void MenuBarAccessModel::selectTier(MenuBarAccessTier tier) {
  mainThread_.check();
  selectedTier = tier;
  platform_.defaults().set(std::string(selectedTierKey), DefaultsValue(std::string(rawValue(tier))));
}

void MenuBarAccessModel::showSearch() {
  searchExpanded = true;
  focusSearchRequest = focusSearchRequest.get() + 1;
}

bool MenuBarAccessModel::dismissSearch() {
  if (!query.get().empty()) {
    query = std::string();
  } else if (searchExpanded.get()) {
    searchExpanded = false;
  } else {
    return false;
  }
  keyboardSelectionID = std::nullopt;
  return true;
}

void MenuBarAccessModel::updateTrust() {
  permission_.recheck();
  trusted = permission_.isTrusted.get();
}

void MenuBarAccessModel::openAccessibilitySettings() {
  MenuBarLog::log("iconShelf permission requested");
  permission_.requestAccess();
}

std::vector<MenuBarAccessModel::ScanTarget> MenuBarAccessModel::scanTargets() const {
  std::vector<ScanTarget> out;
  std::set<std::string> seen;
  for (const auto& app : platform_.workspace().runningApplications()) {
    if (!app.bundleIdentifier || app.pid <= 0 || app.isTerminated) continue;
    const std::string key = text::lowercased(*app.bundleIdentifier);
    if (key == ownBundleID || !seen.insert(key).second) continue;
    out.push_back({.pid = app.pid, .bundleID = *app.bundleIdentifier, .name = app.localizedName, .iconPath = app.bundlePath});
  }
  return out;
}

std::optional<std::vector<AccessibleStatusItem>> MenuBarAccessModel::scanTarget(platform::Accessibility& accessibility,
                                                                                const ScanTarget& target) {
  auto elements = barItems(accessibility, target.pid, scanTimeout);
  if (!elements) return std::nullopt;
  std::vector<AccessibleStatusItem> out;
  const std::string owner = text::lowercased(target.bundleID);
  for (std::size_t index = 0; index < elements->size(); ++index) {
    const AXElement& element = (*elements)[index];
    AccessibleStatusItem item{.ownerBundleID = target.bundleID,
                              .ownerName = target.name,
                              .pid = target.pid,
                              .title = textAttribute(accessibility, element, "AXTitle").value_or(""),
                              .identifier = textAttribute(accessibility, element, "AXIdentifier"),
                              .itemDescription = textAttribute(accessibility, element, "AXDescription"),
                              .frame = frame(accessibility, element),
                              .iconPath = target.iconPath};
    const std::string key = item.identifier ? *item.identifier : !item.title.empty() ? item.title : std::to_string(index);
    item.id = owner + "/" + key;
    out.push_back(std::move(item));
  }
  return out;
}

void MenuBarAccessModel::refresh(RetainMissing retainMissing, Diagnostics diagnostics,
                                 std::function<void()> completion) {
  mainThread_.check();
  updateTrust();
  if (!trusted.get()) {
    if (completion) completion();
    return;
  }
  if (scanOperation_) scanOperation_->cancel();
  auto operation = std::make_shared<ShelfOperation>();
  scanOperation_ = operation;
  const unsigned long long generation = ++generation_;
  isLoading = true;
  const bool emptyMayBeHidden =
      MenuBarAccessPolicy::hiddenItemsLeaveAccessibilityTree(platform_.system().osMajorVersion());
  scanQueue_->post(0, [queue = scanQueue_, &accessibility = platform_.accessibility(), targets = scanTargets(),
                       weakOperation = std::weak_ptr<ShelfOperation>(operation), weak = weakFactory_.handle(),
                       generation, retainMissing, diagnostics, emptyMayBeHidden, completion = std::move(completion)] {
    if (operationStopped(weakOperation)) return;
    ScanResult result;
    for (const auto& target : targets) {
      auto found = scanTarget(accessibility, target);
      // An empty answer there does not prove the items gone: keep what discovery read of them.
      if (!found || (found->empty() && emptyMayBeHidden)) continue;
      result.observedOwners.insert(text::lowercased(target.bundleID));
      for (auto& item : *found) result.items.push_back(std::move(item));
    }
    queue->postToMain([weak, generation, result = std::move(result), retainMissing, diagnostics, completion]() mutable {
      if (auto* self = weak.get()) self->finishScan(generation, std::move(result), retainMissing, diagnostics, completion);
    });
  });
}

void MenuBarAccessModel::finishScan(unsigned long long generation, ScanResult result, RetainMissing retainMissing,
                                    Diagnostics diagnostics, const std::function<void()>& completion) {
  if (generation != generation_) return;
  scanOperation_.reset();
  std::vector<AccessibleStatusItem> next = std::move(result.items);
  std::size_t retainedCount = 0;
  switch (retainMissing) {
    case RetainMissing::yes: {
      std::map<std::string, std::string> knownOwners;
      for (const auto& previous : items.get()) knownOwners[previous.id] = text::lowercased(previous.ownerBundleID);
      std::set<std::string> liveOwners;
      for (const auto& target : scanTargets()) liveOwners.insert(text::lowercased(target.bundleID));
      const auto retained = MenuBarAccessPolicy::retainedItemIDs(knownOwners, result.observedOwners, liveOwners);
      for (const auto& previous : items.get()) {
        if (retained.contains(previous.id)) next.push_back(previous);
      }
      retainedCount = retained.size();
      break;
    }
    case RetainMissing::no: break;
  }
  switch (diagnostics) {
    case Diagnostics::on: {
      std::map<std::string, int> perOwner;
      for (const auto& item : next) ++perOwner[text::lowercased(item.ownerBundleID)];
      for (const auto& [owner, count] : perOwner) {
        MenuBarLog::log(LogLine("iconShelf").add("owner", owner).add("items", count));
      }
      break;
    }
    case Diagnostics::off: break;
  }
  MenuBarLog::log(LogLine("iconShelf scan")
                      .add("observed", result.observedOwners.size())
                      .add("items", next.size())
                      .add("retained", retainedCount));
  items = std::move(next);
  if (keyboardSelectionID.get()) {
    const auto ids = displayedIDs();
    if (std::find(ids.begin(), ids.end(), *keyboardSelectionID.get()) == ids.end()) keyboardSelectionID = std::nullopt;
  }
  isLoading = false;
  if (completion) completion();
}

void MenuBarAccessModel::perform(const AccessibleStatusItem& item, WillPerform willPerform,
                                 std::function<void(bool)> completion) {
  mainThread_.check();
  const int knownOwnerCount = static_cast<int>(std::count_if(items.get().begin(), items.get().end(), [&](const auto& row) {
    return text::lowercased(row.ownerBundleID) == text::lowercased(item.ownerBundleID);
  }));
  auto run = startAction(item, std::move(willPerform), nullptr, std::move(completion));
  run->knownOwnerCount = knownOwnerCount;
  actionQueue_->post(0, [run] { resolveStep(run, 0); });
}

void MenuBarAccessModel::performFirstItem(const std::string& bundleID, WillPerform willPerform,
                                          std::function<void()> beforeClick, std::function<void(bool)> completion) {
  mainThread_.check();
  const std::string owner = text::lowercased(bundleID);
  std::optional<ScanTarget> target;
  for (auto& candidate : scanTargets()) {
    if (text::lowercased(candidate.bundleID) == owner) target = std::move(candidate);
  }
  AccessibleStatusItem placeholder{.ownerBundleID = bundleID};
  if (target) placeholder = {.ownerBundleID = target->bundleID, .ownerName = target->name, .pid = target->pid};
  auto run = startAction(placeholder, std::move(willPerform), std::move(beforeClick), std::move(completion));
  run->start = platform_.clock().now();
  if (!target) {
    actionQueue_->post(0, [run, bundleID] {
      MenuBarLog::log(LogLine("iconShelf first item missing").add("bundle", bundleID).add("running", false));
      summarize(run, false);
    });
    return;
  }
  actionQueue_->post(0, [run, target = *target] { firstItemStep(run, target, 0); });
}

std::shared_ptr<ActionRun> MenuBarAccessModel::startAction(const AccessibleStatusItem& item, WillPerform willPerform,
                                                           std::function<void()> beforeClick,
                                                           std::function<void(bool)> completion) {
  if (actionOperation_) actionOperation_->cancel();
  auto operation = std::make_shared<ShelfOperation>();
  actionOperation_ = operation;
  actionResult_.reset();
  const unsigned long long generation = generation_;
  auto weak = weakFactory_.handle();
  return std::make_shared<ActionRun>(ActionRun{
      .accessibility = platform_.accessibility(),
      .clock = platform_.clock(),
      .click = {.accessibility = platform_.accessibility(),
                .events = platform_.events(),
                .screens = platform_.screens(),
                .statusBar = platform_.statusBar(),
                .queue = *actionQueue_},
      .queue = actionQueue_,
      .item = item,
      .willPerform = std::move(willPerform),
      .beforeClick = std::move(beforeClick),
      .operation = operation,
      .finish =
          [queue = actionQueue_, weak, generation, weakOperation = std::weak_ptr<ShelfOperation>(operation),
           completion = std::move(completion)](bool outcome) {
            queue->postToMain([weak, generation, weakOperation, completion, outcome] {
              auto* self = weak.get();
              auto operation = weakOperation.lock();
              if (self && operation) self->finishAction(generation, operation, outcome, completion);
            });
          },
  });
}

void MenuBarAccessModel::finishAction(unsigned long long generation, const std::shared_ptr<ShelfOperation>& operation,
                                      bool outcome, const std::function<void(bool)>& completion) {
  if (generation != generation_ || operation != actionOperation_ || operation->isCancelled()) return;
  actionOperation_.reset();
  actionResult_ = outcome;
  if (completion) completion(outcome);
}

void MenuBarAccessModel::cancel() {
  ++generation_;
  if (scanOperation_) scanOperation_->cancel();
  if (actionOperation_) actionOperation_->cancel();
  scanOperation_.reset();
  actionOperation_.reset();
  actionResult_.reset();
  isLoading = false;
}

const std::vector<std::optional<MenuBarAccessTier>>& MenuBarAccessModel::rowTiers() const {
  if (rowTiers_) return *rowTiers_;
  ++rowDerivations_;
  std::vector<std::optional<MenuBarAccessTier>> tiers;
  tiers.reserve(items.get().size());
  for (const auto& row : items.get()) {
    std::optional<MenuBarAccessTier> tier;
    if (!MenuBarAccessEntry::ownedBySystem(row.ownerBundleID)) {
      if (auto saved = categories_.savedCategory(row.ownerBundleID)) tier = menuBarAccessTier(rawValue(*saved));
    }
    tiers.push_back(tier);
  }
  rowTiers_ = std::move(tiers);
  return *rowTiers_;
}

std::vector<std::size_t> MenuBarAccessModel::filtered() const {
  const MenuBarAccessTier tier = selectedTier.get();
  std::vector<std::string> pieces;
  for (std::string_view word : text::words(query.get())) pieces.push_back(DrawerSearch::fold(word));
  const auto& rows = items.get();
  const auto* tiers = tier == MenuBarAccessTier::all ? nullptr : &rowTiers();
  // Best match first (the sum of each word's rank), ties in scan order: typing then selects the
  // row that matches best, whatever its place in the bar.
  std::vector<std::pair<int, std::size_t>> ranked;
  for (std::size_t index = 0; index < rows.size(); ++index) {
    if (tiers && (*tiers)[index] != tier) continue;
    int total = 0;
    const bool matches = std::all_of(pieces.begin(), pieces.end(), [&](const std::string& piece) {
      auto rank = DrawerSearch::rankKey(piece, searchKeys_[index]);
      if (rank) total += *rank;
      return rank.has_value();
    });
    if (matches) ranked.emplace_back(total, index);
  }
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::size_t> out;
  out.reserve(ranked.size());
  for (const auto& entry : ranked) out.push_back(entry.second);
  return out;
}

std::vector<std::string> MenuBarAccessModel::displayedIDs() const {
  std::vector<std::string> ids;
  for (const std::size_t position : filtered()) ids.push_back(items.get()[position].id);
  return ids;
}

const AccessibleStatusItem* MenuBarAccessModel::item(const std::string& id) const {
  for (const auto& row : items.get()) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

const std::vector<MenuBarAppItem>& MenuBarAccessModel::recoveryItems() const {
  if (recovery_) return *recovery_;
  std::vector<MenuBarAppItem> out;
  for (const auto& app : catalog_.items.get()) {
    if (!reachedOwners_.contains(text::lowercased(app.bundleId))) out.push_back(app);
  }
  recovery_ = std::move(out);
  return *recovery_;
}

double MenuBarAccessModel::panelHeight() const {
  const double body = searchExpanded.get() ? searchBodyHeight : compactBodyHeight;
  return body + (errorKey.get() ? errorLineHeight : 0);
}

double MenuBarAccessModel::tierPickerWidth(const std::vector<std::string>& titles) const {
  // Each segment: its title with 10 points either side, never narrower than 28.
  double width = 0;
  for (const auto& title : titles) width += std::max(28.0, estimatedTextWidth(title) + 20);
  return width;
}

double MenuBarAccessModel::organizeWidth(const std::string& title) const {
  return estimatedTextWidth(title) + 24;
}

std::optional<AXElement> MenuBarAccessModel::resolve(platform::Accessibility& accessibility,
                                                     const AccessibleStatusItem& item, int knownOwnerCount) {
  auto elements = barItems(accessibility, item.pid, probeTimeout);
  if (!elements || elements->empty()) return std::nullopt;
  std::vector<std::optional<std::string>> identifiers;
  std::vector<std::string> titles;
  for (const auto& element : *elements) {
    identifiers.push_back(textAttribute(accessibility, element, "AXIdentifier"));
    titles.push_back(textAttribute(accessibility, element, "AXTitle").value_or(""));
  }
  auto index = MenuBarAccessPolicy::matchingItemIndex({.originalID = item.identifier,
                                                        .originalTitle = item.title,
                                                        .knownOwnerCount = knownOwnerCount,
                                                        .identifiers = identifiers,
                                                        .titles = titles});
  if (!index) return std::nullopt;
  return (*elements)[*index];
}

std::optional<Rect> MenuBarAccessModel::frame(platform::Accessibility& accessibility, const AXElement& element) {
  return elementFrame(accessibility, element);
}

}  // namespace tarvolo
