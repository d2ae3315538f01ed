#include "base/vocabulary/BundleID.h"

#include "base/Text.h"

namespace tarvolo {

BundleID::BundleID(std::string_view spelling) : spelling_(spelling), key_(text::lowercased(spelling)) {}

std::optional<BundleID> BundleID::from(const std::optional<std::string>& spelling) {
  if (!spelling || spelling->empty()) return std::nullopt;
  return BundleID(*spelling);
}

std::set<std::string> keysOf(const std::set<BundleID>& ids) {
  std::set<std::string> keys;
  for (const BundleID& id : ids) keys.insert(keys.end(), id.key());
  return keys;
}

std::optional<std::string> spellingOf(const std::optional<BundleID>& id) {
  if (!id) return std::nullopt;
  return id->spelling();
}

}  // namespace tarvolo
