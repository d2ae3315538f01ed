#include "statusbar/HidingEngineSwitch.h"

#include "base/Log.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "statusbar/OwnStatusItems.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

HidingEngineSwitch::HidingEngineSwitch(Dependencies dependencies)
    : engine_(dependencies.engine),
      items_(dependencies.items),
      expandedSeparatorLength_(dependencies.expandedSeparatorLength),
      host_(dependencies.host) {}

bool HidingEngineSwitch::nativeAvailable() const { return engine_.isAvailable(); }

MenuBarHidingEngine HidingEngineSwitch::hidingEngine() const {
  return nativeAvailable() ? MenuBarHidingEngine::nativeAllowList : MenuBarHidingEngine::publicSpacer;
}

void HidingEngineSwitch::apply(const MenuBarVisibilityPlan& plan, bool physicalDividers,
                               std::function<void(bool)> completion) {
  const double normal = physicalDividers ? expandedSeparatorLength_ : plan.normalSeparatorLength;
  const double hidden = physicalDividers ? expandedSeparatorLength_ : plan.alwaysHiddenSeparatorLength;
  items_.setSeparatorLength(normal);
  items_.setAlwaysHiddenSeparatorLength(hidden);
  items_.showAll();
  items_.applySeparatorTitles(plan.normalSeparatorTitle, plan.alwaysHiddenSeparatorTitle);
  MenuBarLog::log(LogLine("apply native")
                      .add("presentation", rawValue(plan.presentation))
                      .add("allowed", plan.allowedBundleIDs ? static_cast<int>(plan.allowedBundleIDs->size()) : -1)
                      .add("dividers", physicalDividers));
  if (!plan.allowedBundleIDs) {
    engine_.expand();
    if (completion) completion(true);
    return;
  }
  engine_.collapse(*plan.allowedBundleIDs,
                   [weak = weakFactory_.handle(), completion = std::move(completion)](bool success) {
                     auto* self = weak.get();
                     if (self && success) self->checkToggle();
                     if (completion) completion(success);
                   });
}

void HidingEngineSwitch::expandIfAvailable() {
  if (nativeAvailable()) engine_.expand();
}

void HidingEngineSwitch::checkToggle() {
  auto frame = items_.toggleFrame();
  const bool onScreen = frame && frame->width > 0;
  if (!Policy::shouldRecreateNativeToggle(nativeAvailable(), onScreen, toggleRecreated_)) return;
  toggleRecreated_ = true;
  MenuBarLog::log(LogLine("native toggle recreated"));
  host_.recreateOwnItemsForSystemEngine();
}

}  // namespace tarvolo
