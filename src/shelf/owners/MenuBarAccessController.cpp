#include "shelf/owners/MenuBarAccessController.h"

#include <algorithm>
#include <utility>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/Text.h"
#include "discovery/MenuBarCatalogPolicy.h"
#include "discovery/owners/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "platform/windows/UserInterface.h"
#include "shelf/MenuBarAccessPolicy.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace {

constexpr std::string_view kShelfWindow = "iconShelf";

constexpr MenuBarAccessTier kTiers[] = {MenuBarAccessTier::all, MenuBarAccessTier::alwaysVisible,
                                        MenuBarAccessTier::hidden, MenuBarAccessTier::alwaysHidden};

std::string_view tierTitleKey(MenuBarAccessTier tier) {
  switch (tier) {
    case MenuBarAccessTier::all: return "iconbar.all";
    case MenuBarAccessTier::alwaysVisible: return "category_short_visible";
    case MenuBarAccessTier::hidden: return "category_short_hidden";
    case MenuBarAccessTier::alwaysHidden: return "category_short_always_hidden";
  }
  return "iconbar.all";
}

// A system item with a symbol keeps it; any other row shows its owner's own icon.
platform::RowIcon rowIcon(const MenuBarAccessEntry& entry, const SystemSymbolLookup& symbol) {
  platform::RowIcon icon;
  if (MenuBarAccessEntry::ownedBySystem(entry.ownerBundleID) && symbol) {
    icon.symbol = symbol(entry.ownerBundleID, entry.title, entry.identifier);
  }
  if (!icon.symbol) icon.application = BundleID::from(entry.ownerBundleID);
  return icon;
}

}  // namespace

MenuBarAccessController::MenuBarAccessController(Dependencies dependencies)
    : platform_(dependencies.platform),
      catalog_(dependencies.catalog),
      bar_(dependencies.bar),
      localization_(dependencies.localization),
      defaultCenter_(dependencies.defaultCenter),
      systemSymbol_(std::move(dependencies.systemSymbol)),
      permission_(dependencies.permission),
      model_(std::make_unique<MenuBarAccessModel>(MenuBarAccessModel::Dependencies{
          .platform = dependencies.platform,
          .catalog = dependencies.catalog,
          .categories = dependencies.categories,
          .permission = dependencies.permission})),
      panelUpdateWork_(dependencies.platform.mainQueue()),
      revealWork_(dependencies.platform.mainQueue()) {
  auto weak = weakFactory_.handle();
  auto update = [weak](const auto&) {
    if (auto* self = weak.get()) self->updatePanel();
  };
  auto& m = *model_;
  cancellables_.push_back(m.query.subscribe(update));
  cancellables_.push_back(m.searchExpanded.subscribe(update));
  cancellables_.push_back(m.selectedTier.subscribe(update));
  cancellables_.push_back(m.keyboardSelectionID.subscribe(update));
  cancellables_.push_back(m.focusSearchRequest.subscribe(update));
  cancellables_.push_back(m.viewportWidth.subscribe(update));
  cancellables_.push_back(m.items.subscribe([weak](const auto&) {
    auto* self = weak.get();
    if (!self) return;
    self->rowViews_.reset();
    self->updatePanel();
  }));
  cancellables_.push_back(m.isLoading.subscribe(update));
  cancellables_.push_back(m.isDiscovering.subscribe(update));
  // Granted while the shelf is up: read the items at once.
  cancellables_.push_back(m.trusted.subscribe([weak](const bool& trusted) {
    auto* self = weak.get();
    if (!self) return;
    self->updatePanel();
    if (trusted && self->isShelfShown()) {
      self->model_->refresh(MenuBarAccessModel::RetainMissing::yes, MenuBarAccessModel::Diagnostics::off);
    }
  }));
  cancellables_.push_back(m.errorKey.subscribe(update));
  cancellables_.push_back(defaultCenter_.addObserver(Notifications::appLanguageDidChange, [weak](const auto&) {
    auto* self = weak.get();
    if (!self) return;
    self->rowViews_.reset();
    self->updatePanel();
  }));
  cancellables_.push_back(defaultCenter_.addObserver(Notifications::menuBarCatalogDidChange, [weak](const auto&) {
    if (auto* self = weak.get()) self->updatePanel();
  }));
}

MenuBarAccessController::~MenuBarAccessController() {
  // The end of a run collapses the bar, updates the catalogue and tells the windows; at quit some
  // of those may already be gone. With the handles dead first, stopping only stops.
  weakFactory_.invalidate();
  revealWork_.cancel();
  panelUpdateWork_.cancel();
  menuSession_.reset();
  if (discovery_) discovery_->cancel();
  if (platform_.userInterface().iconShelfPanel().isShown()) platform_.userInterface().iconShelfPanel().close();
}

std::string MenuBarAccessController::tr(std::string_view key) const { return localization_.tr(key); }

// --- showing and closing ----------------------------------------------------------------------------

void MenuBarAccessController::showShelf(std::optional<MenuBarAccessTier> tier) {
  mainThread_.check();
  MenuBarLog::log(LogLine("iconShelf show").add("tier", tier ? rawValue(*tier) : std::string_view("none")));
  if (tier) model_->selectTier(*tier);
  // Each opening starts from a clean search; the tier is what persists.
  if (!isShelfShown()) {
    model_->query = std::string();
    model_->searchExpanded = false;
    model_->keyboardSelectionID = std::nullopt;
  }
  model_->updateTrust();
  model_->errorKey = std::nullopt;
  platform_.userInterface().iconShelfPanel().show(viewState(), actions());
  permission_.setAsking(kShelfWindow, !model_->trusted.get());
  model_->refresh(MenuBarAccessModel::RetainMissing::yes, MenuBarAccessModel::Diagnostics::off);
}

void MenuBarAccessController::closeShelf() {
  mainThread_.check();
  auto& panel = platform_.userInterface().iconShelfPanel();
  if (!panel.isShown()) return;
  MenuBarLog::log("iconShelf close");
  // A discovery run goes on and collapses the bar when done; only the shelf's own reads stop.
  if (!discoveryRunning()) model_->cancel();
  model_->keyboardSelectionID = std::nullopt;
  panel.close();
  permission_.setAsking(kShelfWindow, false);
}

bool MenuBarAccessController::isShelfShown() const { return platform_.userInterface().iconShelfPanel().isShown(); }

void MenuBarAccessController::updatePanel() {
  if (holdPanelUpdates_) {
    panelUpdateHeld_ = true;
    return;
  }
  auto& panel = platform_.userInterface().iconShelfPanel();
  if (panel.isShown()) panel.update(viewState());
  permission_.setAsking(kShelfWindow, panel.isShown() && !model_->trusted.get());
}

platform::IconShelfActions MenuBarAccessController::actions() {
  auto weak = weakFactory_.handle();
  return platform::IconShelfActions{
      .selectTier =
          [weak](const std::string& raw) {
            auto tier = menuBarAccessTier(raw);
            if (auto* self = weak.get(); self && tier) self->selectTier(*tier);
          },
      .setQuery = bindWeak(weak, &MenuBarAccessController::setQuery),
      .showSearch = bindWeak(weak, &MenuBarAccessController::find),
      .moveSelection = bindWeak(weak, &MenuBarAccessController::moveSelection),
      .chooseRow = bindWeak(weak, &MenuBarAccessController::choose),
      .activateSelection = bindWeak(weak, &MenuBarAccessController::activateSelection),
      .escape = bindWeak(weak, &MenuBarAccessController::escape),
      .discover = bindWeak(weak, &MenuBarAccessController::startDiscovery),
      .openAccessibilitySettings = [weak] {
        if (auto* self = weak.get()) self->model_->openAccessibilitySettings();
      },
      .organize = [weak] {
        if (auto* self = weak.get()) {
          self->closeShelf();
          self->bar_.menuArrange();
        }
      },
      .viewportWidthChanged = bindWeak(weak, &MenuBarAccessController::setViewportWidth),
  };
}

std::string MenuBarAccessController::rowName(const AccessibleStatusItem& item) const {
  // The system's items all belong to a few processes; their own texts tell them apart.
  if (MenuBarAccessEntry::ownedBySystem(item.ownerBundleID)) {
    if (item.itemDescription) return *item.itemDescription;
    if (!item.title.empty()) return item.title;
  }
  return item.ownerName.empty() ? item.ownerBundleID : item.ownerName;
}

const std::vector<platform::IconShelfRow>& MenuBarAccessController::rowViews() {
  if (rowViews_) return *rowViews_;
  ++rowViewBuilds_;
  std::vector<platform::IconShelfRow> rows;
  rows.reserve(model_->items.get().size());
  for (const auto& item : model_->items.get()) {
    const auto entry = MenuBarAccessEntry::from(item);
    platform::IconShelfRow row{
        .id = item.id, .name = rowName(item), .iconPath = item.iconPath, .icon = rowIcon(entry, systemSymbol_)};
    if (auto labelKey = entry.systemLabelKey(systemSymbol_)) row.systemLabel = tr(*labelKey);
    row.accessibilityLabel = row.systemLabel ? row.name + ", " + *row.systemLabel : row.name;
    rows.push_back(std::move(row));
  }
  rowViews_ = std::move(rows);
  return *rowViews_;
}

const platform::IconShelfViewState& MenuBarAccessController::viewState() { return viewState(model_->filtered()); }

const platform::IconShelfViewState& MenuBarAccessController::viewState(const std::vector<std::size_t>& positions) {
  const auto& m = *model_;
  auto& state = panelState_;
  state.title = tr("iconbar.title");
  state.tiers.resize(std::size(kTiers));
  std::vector<std::string> tierTitles;
  for (std::size_t index = 0; index < std::size(kTiers); ++index) {
    const MenuBarAccessTier tier = kTiers[index];
    state.tiers[index] = {.rawValue = std::string(rawValue(tier)),
                          .title = tr(tierTitleKey(tier)),
                          .selected = tier == m.selectedTier.get()};
    tierTitles.push_back(state.tiers[index].title);
  }
  state.tierPickerWidth = m.tierPickerWidth(tierTitles);
  state.searchExpanded = m.searchExpanded.get();
  state.query = m.query.get();
  state.searchPlaceholder = tr("iconbar.search");
  state.focusSearchRequest = m.focusSearchRequest.get();
  const auto& views = rowViews();
  const bool sameViews = shownRowViewBuild_ == rowViewBuilds_;
  const auto& selection = m.keyboardSelectionID.get();
  state.rows.resize(positions.size());
  for (std::size_t index = 0; index < positions.size(); ++index) {
    auto& row = state.rows[index];
    const bool unchanged = sameViews && index < shownPositions_.size() && shownPositions_[index] == positions[index];
    // Assigning over a row already there reuses its strings.
    if (!unchanged) row = views[positions[index]];
    row.selected = selection == row.id;
  }
  shownPositions_ = positions;
  shownRowViewBuild_ = rowViewBuilds_;
  state.rowWidth = m.viewportWidth.get();
  state.loading = m.isLoading.get();
  state.discovering = m.isDiscovering.get() || discoveryRunning();
  const auto& recovery = m.recoveryItems();
  state.emptyText.reset();
  state.permissionText.reset();
  state.permissionButtonTitle.reset();
  if (!m.trusted.get()) {
    state.permissionText = tr("iconbar.permission_note");
    state.permissionButtonTitle = tr("iconbar.permission");
  } else if (positions.empty() && !m.isLoading.get()) {
    if (!m.query.get().empty() && !m.items.get().empty()) {
      state.emptyText = tr("iconbar.no_results");
    } else if (MenuBarCatalogPolicy::showsItemsEmptyState(m.items.get().size(), 0, !recovery.empty())) {
      state.emptyText = tr("iconbar.empty");
    }
  }
  state.errorText.reset();
  if (m.errorKey.get()) state.errorText = tr(*m.errorKey.get());
  state.discoverTitle.reset();
  state.discoverToolTip.reset();
  if (m.trusted.get()) {
    state.discoverTitle = tr("iconbar.discover");
    state.discoverToolTip = tr("iconbar.discover_tip");
  }
  state.organizeTitle = tr("iconbar.organize");
  state.organizeToolTip = tr("iconbar.organize_tip");
  state.organizeWidth = m.organizeWidth(state.organizeTitle);
  state.panelHeight = m.panelHeight();
  state.anchor = bar_.ownItems().coachAnchor();
  state.notch.reset();
  if (auto screen = bar_.ownItems().statusItemScreen()) state.notch = screen->notchRect();
  return state;
}

// --- the panel's controls -------------------------------------------------------------------------

void MenuBarAccessController::selectTier(MenuBarAccessTier tier) {
  model_->selectTier(tier);
  model_->keyboardSelectionID = std::nullopt;
}

void MenuBarAccessController::setQuery(const std::string& query) {
  // One filtering per keystroke: the rows found both pick the selection and fill the panel.
  holdPanelUpdates_ = true;
  panelUpdateHeld_ = false;
  if (!query.empty()) model_->searchExpanded = true;
  model_->query = query;
  const auto positions = model_->filtered();
  // Typing selects the best row, so Return opens it at once.
  model_->keyboardSelectionID =
      positions.empty() ? std::nullopt : std::optional<std::string>(model_->items.get()[positions.front()].id);
  holdPanelUpdates_ = false;
  if (!std::exchange(panelUpdateHeld_, false)) return;
  auto& panel = platform_.userInterface().iconShelfPanel();
  if (panel.isShown()) panel.update(viewState(positions));
  permission_.setAsking(kShelfWindow, panel.isShown() && !model_->trusted.get());
}

void MenuBarAccessController::moveSelection(int delta) {
  model_->keyboardSelectionID = MenuBarAccessPolicy::nextSelection(model_->keyboardSelectionID.get(),
                                                                   model_->displayedIDs(), delta);
}

void MenuBarAccessController::activateSelection() {
  const auto ids = model_->displayedIDs();
  const auto& selected = model_->keyboardSelectionID.get();
  if (selected && std::find(ids.begin(), ids.end(), *selected) != ids.end()) {
    choose(*selected);
  } else if (ids.size() == 1) {
    choose(ids.front());
  }
}

void MenuBarAccessController::escape() {
  if (!model_->dismissSearch()) closeShelf();
}

void MenuBarAccessController::find() { model_->showSearch(); }

void MenuBarAccessController::setViewportWidth(double width) { model_->viewportWidth = width; }

// --- opening a row's menu ---------------------------------------------------------------------------

void MenuBarAccessController::choose(const std::string& rowID) {
  mainThread_.check();
  const AccessibleStatusItem* item = model_->item(rowID);
  if (!item) return;
  MenuBarLog::log(LogLine("iconShelf choose").add("bundle", item->ownerBundleID).add("item", item->id));
  model_->keyboardSelectionID = rowID;
  model_->errorKey = std::nullopt;
  menuSession_.reset();
  pendingElement_.reset();
  // Where hidden items leave the Accessibility tree, the item can only be found once shown.
  if (MenuBarAccessPolicy::hiddenItemsLeaveAccessibilityTree(platform_.system().osMajorVersion())) expandForShelf();
  auto weak = weakFactory_.handle();
  model_->perform(
      *item,
      [weak](const platform::AXElement& element) {
        auto* self = weak.get();
        return self && self->willPerform(element);
      },
      bindWeak(weak, &MenuBarAccessController::performed));
}

void MenuBarAccessController::openAppMenu(const std::string& bundleID) {
  mainThread_.check();
  MenuBarLog::log(LogLine("shortcut open").add("bundle", bundleID));
  model_->errorKey = std::nullopt;
  menuSession_.reset();
  pendingElement_.reset();
  if (MenuBarAccessPolicy::hiddenItemsLeaveAccessibilityTree(platform_.system().osMajorVersion())) expandForShelf();
  auto weak = weakFactory_.handle();
  model_->performFirstItem(
      bundleID,
      [weak](const platform::AXElement& element) {
        auto* self = weak.get();
        if (!self) return false;
        // Accessibility reaches a hidden item where it stands: nothing needs to show.
        self->pendingElement_ = element;
        return true;
      },
      [weak] {
        if (auto* self = weak.get()) self->expandForShelf();
      },
      bindWeak(weak, &MenuBarAccessController::performedForShortcut));
}

void MenuBarAccessController::performedForShortcut(bool opened) {
  performed(opened);
  if (opened || isShelfShown()) return;
  // A key pressed anywhere has no panel to answer in: the shelf opens with the refusal, and with
  // the rows to try instead.
  const auto error = model_->errorKey.get();
  showShelf(std::nullopt);
  model_->errorKey = error;
}

bool MenuBarAccessController::willPerform(const platform::AXElement& element) {
  pendingElement_ = element;
  expandForShelf();
  return true;
}

// A hidden item can be neither clicked nor shown its menu where the user sees it: bring the
// hidden zones into view first, and collapse again when the menu has closed.
void MenuBarAccessController::expandForShelf() {
  if (bar_.state().isExpanded && bar_.state().isDeepExpanded) return;
  expandedForMenu_ = true;
  bar_.expandBar(ExpandDepth::deep, Initiator::automatic);
}

void MenuBarAccessController::performed(bool opened) {
  const bool resolved = pendingElement_.has_value();
  if (!opened || !resolved) {
    model_->errorKey = std::string(resolved ? "iconbar.action_failed" : "iconbar.not_found");
    MenuBarLog::log(LogLine("iconShelf open failed").add("resolved", resolved));
    if (std::exchange(expandedForMenu_, false)) bar_.collapseBar(CollapseReason::iconShelfMenu);
    return;
  }
  closeShelf();
  menuSession_ = std::make_unique<ExternalMenuAccessSession>(
      platform_, *pendingElement_, bindWeak(weakFactory_.handle(), &MenuBarAccessController::menuSessionEnded));
}

void MenuBarAccessController::menuSessionEnded() {
  MenuBarLog::log(LogLine("iconShelf menu closed").add("collapse", expandedForMenu_));
  // The session calls back from its own stop(); release it once that has returned.
  platform_.mainQueue().post(0, [weak = weakFactory_.handle()] {
    if (auto* self = weak.get(); self && self->menuSession_ && self->menuSession_->isStopped()) self->menuSession_.reset();
  });
  if (std::exchange(expandedForMenu_, false)) bar_.collapseBar(CollapseReason::iconShelfMenu);
}

// --- discovery --------------------------------------------------------------------------------------

MenuBarDiscoverySession& MenuBarAccessController::discovery() {
  if (discovery_) return *discovery_;
  auto weak = weakFactory_.handle();
  discovery_ = std::make_unique<MenuBarDiscoverySession>(MenuBarDiscoverySession::Operations{
      .delays = MenuBarAccessPolicy::discoveryScanDelays,
      .schedule =
          [weak, &queue = platform_.mainQueue()](double delay, std::function<void()> action) {
            auto id = queue.post(delay, [weak, action = std::move(action)] {
              if (weak) action();
            });
            return MenuBarDiscoverySession::Cancel([&queue, id] { queue.cancel(id); });
          },
      .reveal =
          [weak](const std::string& owner, std::function<void(bool)> completion) {
            if (auto* self = weak.get()) self->reveal(owner, std::move(completion));
          },
      .scan =
          [weak](std::function<void()> completion) {
            if (auto* self = weak.get()) {
              self->model_->refresh(MenuBarAccessModel::RetainMissing::yes, MenuBarAccessModel::Diagnostics::on,
                                    std::move(completion));
            }
          },
      .finished = bindWeak(weak, &MenuBarAccessController::discoveryFinished),
  });
  return *discovery_;
}

void MenuBarAccessController::startDiscovery() {
  mainThread_.check();
  if (discoveryRunning()) return;
  std::vector<std::string> owners;
  for (const auto& app : model_->recoveryItems()) owners.push_back(text::lowercased(app.bundleId));
  model_->errorKey = std::nullopt;
  MenuBarLog::log(LogLine("iconShelf discovery start").add("owners", owners.size()));
  if (owners.empty()) {
    // Nothing out of reach by owner: reveal everything at once and let the scans read it.
    if (!bar_.state().isExpanded || !bar_.state().isDeepExpanded) {
      expandedForDiscovery_ = true;
      bar_.expandBar(ExpandDepth::deep, Initiator::automatic);
    }
    discovery().start(std::nullopt);
    updatePanel();
    return;
  }
  model_->isDiscovering = true;
  discovery().start(std::move(owners));
}

void MenuBarAccessController::reveal(const std::string& owner, std::function<void(bool)> completion) {
  MenuBarLog::log(LogLine("iconShelf discovery revealing").add("owner", owner));
  // The separators reveal every hidden item at once; later owners find them shown already.
  if (!bar_.state().isExpanded || !bar_.state().isDeepExpanded) {
    expandedForDiscovery_ = true;
    bar_.expandBar(ExpandDepth::deep, Initiator::automatic);
  }
  revealWork_.schedule(revealSettleDelay, [weak = weakFactory_.handle(), completion = std::move(completion)] {
    if (auto* self = weak.get()) completion(self->bar_.state().isExpanded);
  });
}

void MenuBarAccessController::discoveryFinished(MenuBarDiscoverySession::Outcome outcome) {
  revealWork_.cancel();
  model_->isDiscovering = false;
  std::vector<std::string> reached;
  for (const auto& item : model_->items.get()) reached.push_back(text::lowercased(item.ownerBundleID));
  std::sort(reached.begin(), reached.end());
  reached.erase(std::unique(reached.begin(), reached.end()), reached.end());
  catalog_.updateAccessibleMenuBarCatalog(reached);
  MenuBarLog::log(LogLine("iconShelf discovery finished")
                      .add("outcome", MenuBarDiscoverySession::rawValue(outcome))
                      .add("total", reached.size()));
  expandedForDiscovery_ = false;
  bar_.collapseBar(CollapseReason::iconShelfDiscovery);
  const bool failed = outcome == MenuBarDiscoverySession::Outcome::failed ||
                      outcome == MenuBarDiscoverySession::Outcome::timedOut;
  if (failed && isShelfShown()) model_->errorKey = std::string("iconbar.discover_timeout");
  updatePanel();
}

}  // namespace tarvolo
