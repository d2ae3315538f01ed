#pragma once

// The rules per display as the user set them, kept in the defaults store by display identity.
// A rule equal to the default is not stored. Main thread only.

#include <string>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "platform/Platform.h"
#include "statusbar/DisplayRulePolicy.h"

namespace tarvolo {

class DisplayRuleStore {
 public:
  // A dictionary of display identity to {"hideIcons": Boolean, "autoCollapseDelay": seconds}.
  static constexpr const char* storeKey = "com.ostrand.tarvolo.displayRules";

  explicit DisplayRuleStore(platform::DefaultsStore& defaults);

  Published<DisplayRules> rules;

  void setRule(const std::string& displayID, const DisplayRule& rule);

 private:
  static DisplayRules read(const platform::DefaultsStore& defaults);

  platform::DefaultsStore& defaults_;
  MainThreadChecker mainThread_;
};

}  // namespace tarvolo
