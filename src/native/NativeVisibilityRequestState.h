#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvolo {

// Which allow-list the native engine holds the system to, and the generation that tells a
// current activation from a superseded one. A value; the session owns one.
class NativeVisibilityRequestState {
 public:
  using Generation = std::uint64_t;

  // The new generation when `bundleIDs` (in any order) differs from the current list; absent
  // when it is the same list, so nothing needs activating.
  std::optional<Generation> request(std::vector<std::string> bundleIDs);
  // Nothing is restricted any more; completions of earlier generations turn stale.
  void expand();
  // A completion of generation `generation` still counts.
  bool accepts(Generation generation, bool assertionActive) const {
    return generation == generation_ && assertionActive;
  }

  Generation generation() const { return generation_; }
  const std::optional<std::vector<std::string>>& allowList() const { return allowList_; }

 private:
  Generation generation_ = 0;
  std::optional<std::vector<std::string>> allowList_;
};

}  // namespace tarvolo
