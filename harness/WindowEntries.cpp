#include "harness/WindowEntry.h"

#include "platform/sim/SimDesktop.h"

namespace tarvolo::scenario {

// Each defined in harness/windows/.
const WindowEntry& iconShelfEntry();
const WindowEntry& foreignMenusEntry();
const WindowEntry& placementGuideEntry();
const WindowEntry& newAppNoticeEntry();
const WindowEntry& reviewPromptEntry();
const WindowEntry& updateEntry();
const WindowEntry& preferencesEntry();
const WindowEntry& contextMenuEntry();
const WindowEntry& coachEntry();
const WindowEntry& noticesEntry();

const std::vector<const WindowEntry*>& windowEntries() {
  static const std::vector<const WindowEntry*> entries = {
      &iconShelfEntry(),     &foreignMenusEntry(), &placementGuideEntry(), &newAppNoticeEntry(), &reviewPromptEntry(),
      &updateEntry(),
      &preferencesEntry(),   &contextMenuEntry(),  &coachEntry(),          &noticesEntry(),
  };
  return entries;
}

void addDrawnIcon(nlohmann::ordered_json& row, const platform::RowIcon& icon, const sim::SimDesktop& desktop) {
  if (icon.symbol) {
    row["icon"] = nullptr;
    row["symbol"] = *icon.symbol;
    return;
  }
  row["icon"] = textOrNull(icon.application ? desktop.processes().iconOf(*icon.application) : std::nullopt);
}

}  // namespace tarvolo::scenario
