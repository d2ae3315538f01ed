#include "app/StatusBarRouter.h"

#include <variant>

#include "discovery/owners/NewAppLaunchCenter.h"
#include "shelf/owners/MenuBarAccessController.h"
#include "statusbar/StatusBarController.h"
#include "ui/FirstLaunchCoachController.h"
#include "ui/PlacementGuideController.h"
#include "ui/PreferencesController.h"
#include "ui/UpdateController.h"

namespace tarvolo {

namespace {
// One callable from a set of lambdas, for std::visit: each event type picks its own.
template <typename... Cases>
struct Routes : Cases... {
  using Cases::operator()...;
};
}  // namespace

StatusBarRouter::StatusBarRouter(Dependencies dependencies)
    : shelf_(dependencies.shelf),
      preferences_(dependencies.preferences),
      guide_(dependencies.guide),
      coach_(dependencies.coach),
      notices_(dependencies.notices),
      updates_(dependencies.updates),
      subscription_(dependencies.bar.observe([this](const StatusBarEvent& event) { route(event); })) {}

void StatusBarRouter::route(const StatusBarEvent& event) {
  std::visit(Routes{
                 // Nothing above the bar follows its state yet; reports read it when they need it.
                 [](const BarEvent::StateChanged&) {},
                 // The guide listens for gaps itself while it runs.
                 [this](const BarEvent::GapsChanged&) { notices_.noteGapChange(); },
                 [this](const BarEvent::Collapsed&) { guide_.noteBarCollapsed(); },
                 [this](const BarEvent::CoachWanted&) { coach_.present(); },
                 [this](const BarEvent::ShowIconShelf& show) { shelf_.showShelf(show.tier); },
                 [this](const BarEvent::ToggleIconShelf&) {
                   if (shelf_.isShelfShown()) {
                     shelf_.closeShelf();
                   } else {
                     shelf_.showShelf(std::nullopt);
                   }
                 },
                 [this](const BarEvent::CloseIconShelf&) {
                   if (shelf_.isShelfShown()) shelf_.closeShelf();
                 },
                 [this](const BarEvent::OpenPreferences& open) { preferences_.open(open.focus); },
                 [this](const BarEvent::Arrange&) { guide_.startTour(); },
                 [this](const BarEvent::CheckForUpdates&) { updates_.checkNow(); },
                 [this](const BarEvent::RepairAnchors& repair) {
                   if (!guide_.isShowingAnchorRepair()) {
                     guide_.startAnchorRepair(repair.openedByCollapseAttempt, repair.userInitiated);
                   }
                 },
             },
             event);
}

}  // namespace tarvolo
