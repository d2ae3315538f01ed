#include "platform/sim/SimAssessmentMode.h"

#include <algorithm>

#include "base/Text.h"
#include "platform/sim/SimMainQueue.h"

namespace tarvolo::sim {

namespace {

// The private framework is not known before this system.
constexpr int kAssessmentModeFromOSMajor = 27;

class SimAssertion final : public platform::AssessmentModeAssertion {
 public:
  SimAssertion(SimAssessmentMode& mode, std::size_t index)
      : mode_(mode), index_(index), alive_(std::make_shared<bool>(true)) {}
  ~SimAssertion() override { invalidate(); }

  void activate(std::function<void(std::optional<std::string>)> completion) override {
    const auto& settings = mode_.settings().assessmentMode;
    if (settings.activation == SimActivation::neverCompletes) return;
    std::weak_ptr<bool> alive = alive_;
    mode_.queue().post(settings.activationDelay, [this, alive, completion = std::move(completion)] {
      if (alive.expired()) return;
      const auto& now = mode_.settings().assessmentMode;
      if (now.activation == SimActivation::fails) {
        completion("The operation couldn't be completed. (MenuBarClientCore error 3.)");
        return;
      }
      auto& record = mode_.record(index_);
      record.activated = true;
      if (now.activation == SimActivation::succeeds) {
        record.effective = true;
        mode_.restrictionChanged();
      }
      completion(std::nullopt);
    });
  }

  void invalidate() override {
    if (!alive_) return;
    alive_.reset();
    auto& record = mode_.record(index_);
    record.invalidated = true;
    if (record.effective) mode_.restrictionChanged();
  }

 private:
  SimAssessmentMode& mode_;
  std::size_t index_;
  std::shared_ptr<bool> alive_;
};

}  // namespace

bool SimAssessmentMode::offeredNow() const {
  return settings_.assessmentMode.offered && settings_.osMajor >= kAssessmentModeFromOSMajor;
}

bool SimAssessmentMode::loadFramework() {
  if (!loaded_) {
    ++loads_;
    loaded_ = offeredNow();
  }
  return *loaded_;
}

bool SimAssessmentMode::classesAvailable() const { return loaded_.value_or(false) && offeredNow(); }

std::unique_ptr<platform::AssessmentModeAssertion> SimAssessmentMode::createAssertion(
    const platform::AssessmentModeConfiguration& configuration) {
  if (!classesAvailable()) return nullptr;
  records_.push_back({.allowedSystemItems = configuration.allowedSystemItems,
                      .allowedBundleIdentifiers = configuration.allowedBundleIdentifiers});
  return std::make_unique<SimAssertion>(*this, records_.size() - 1);
}

int SimAssessmentMode::activations() const {
  auto activated = [](const SimAssertionRecord& record) { return record.activated; };
  return static_cast<int>(std::count_if(records_.begin(), records_.end(), activated));
}

// The newest effective, live assertion decides; the system honours one at a time.
void SimAssessmentMode::restrictionChanged() {
  restriction_.reset();
  for (auto it = records_.rbegin(); it != records_.rend(); ++it) {
    if (!it->effective || it->invalidated) continue;
    std::set<std::string> allowed;
    for (const auto& id : it->allowedBundleIdentifiers) allowed.insert(text::lowercased(id));
    restriction_ = std::move(allowed);
    break;
  }
  if (restrictionChanged_) restrictionChanged_();
}

}  // namespace tarvolo::sim
