#pragma once

// The system's assessment mode on the simulated desktop. Offered from macOS 27 when the
// scenario says so; while an assertion is active, items of bundles not on its list are not
// drawn and take no room. How activation answers is a setting, so that failures, silence and a
// success without effect can all be played.

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/AssessmentMode.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimMainQueue;

// One assertion the app made, as the desktop remembers it.
struct SimAssertionRecord {
  std::vector<int> allowedSystemItems;
  std::vector<std::string> allowedBundleIdentifiers;
  bool activated = false;   // the system answered with success
  bool effective = false;   // and hides what is not on the list
  bool invalidated = false;
};

class SimAssessmentMode final : public platform::AssessmentMode {
 public:
  SimAssessmentMode(const SimSettings& settings, SimMainQueue& queue) : settings_(settings), queue_(queue) {}

  bool loadFramework() override;
  bool classesAvailable() const override;
  std::unique_ptr<platform::AssessmentModeAssertion> createAssertion(
      const platform::AssessmentModeConfiguration& configuration) override;

  // The lower-cased allow-list the bar honours now, absent when nothing restricts it.
  const std::optional<std::set<std::string>>& restriction() const { return restriction_; }
  const std::vector<SimAssertionRecord>& assertions() const { return records_; }
  int frameworkLoads() const { return loads_; }
  int activations() const;

  // Runs whenever the allow-list the bar honours changes.
  void setRestrictionChangedHandler(std::function<void()> handler) { restrictionChanged_ = std::move(handler); }

  // Used by the assertions.
  const SimSettings& settings() const { return settings_; }
  SimMainQueue& queue() { return queue_; }
  SimAssertionRecord& record(std::size_t index) { return records_[index]; }
  void restrictionChanged();

 private:
  bool offeredNow() const;

  const SimSettings& settings_;
  SimMainQueue& queue_;
  std::function<void()> restrictionChanged_;
  std::optional<bool> loaded_;
  int loads_ = 0;
  std::vector<SimAssertionRecord> records_;
  std::optional<std::set<std::string>> restriction_;
};

}  // namespace tarvolo::sim
