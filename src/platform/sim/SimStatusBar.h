#pragma once

// The status bar as the app's process sees it: handles onto its own items in the bar.

#include <memory>
#include <string>

#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimBar;
class SimMenus;
struct SimItemState;

class SimStatusBar final : public platform::StatusBar {
 public:
  struct Parts {
    const SimSettings& settings;
    SimBar& bar;
    SimMenus& menus;
    platform::DefaultsStore& defaults;
  };
  explicit SimStatusBar(Parts parts);

  std::unique_ptr<platform::StatusItem> createStatusItem(double length, const std::string& autosaveName) override;
  void removeStatusItem(std::unique_ptr<platform::StatusItem> item) override;
  double thickness() const override { return 22; }

 private:
  friend class SimStatusItem;
  // A symbol or a text title changes what a variable-length item takes.
  void updateContentWidth(SimItemState& item);

  const SimSettings& settings_;
  SimBar& bar_;
  SimMenus& menus_;
  platform::DefaultsStore& defaults_;
};

}  // namespace tarvolo::sim
