#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Platform.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {

// A status item just left of the always-hidden separator. On systems that drop an item of half
// the display's width, that separator alone cannot reach the menus of a wide bar in the normal
// expanded state; this item continues it there and takes no room otherwise. Main thread only.
class HiddenPlaceholder {
 public:
  HiddenPlaceholder(platform::Platform& platform, std::string hiddenAutosaveName);
  ~HiddenPlaceholder();
  HiddenPlaceholder(const HiddenPlaceholder&) = delete;
  HiddenPlaceholder& operator=(const HiddenPlaceholder&) = delete;

  // Creates the item when the system drops half-width items, with a stored position just left of
  // the always-hidden separator's.
  void install();
  bool isInstalled() const { return item_ != nullptr; }
  void apply(double length);
  double appliedLength() const { return item_ ? item_->length() : 0; }

 private:
  platform::Platform& platform_;
  std::string hiddenAutosaveName_;
  std::unique_ptr<platform::StatusItem> item_;
};

}  // namespace tarvolo
