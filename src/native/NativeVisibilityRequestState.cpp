#include "native/NativeVisibilityRequestState.h"

#include <algorithm>

namespace tarvolo {

std::optional<NativeVisibilityRequestState::Generation> NativeVisibilityRequestState::request(
    std::vector<std::string> bundleIDs) {
  std::sort(bundleIDs.begin(), bundleIDs.end());
  if (allowList_ == bundleIDs) return std::nullopt;
  ++generation_;
  allowList_ = std::move(bundleIDs);
  return generation_;
}

void NativeVisibilityRequestState::expand() {
  ++generation_;
  allowList_.reset();
}

}  // namespace tarvolo
