#pragma once

// An application's bundle identifier as the core keeps it. The system compares identifiers
// ignoring case, so the core lower-cases each one once, where it arrives from the platform, the
// defaults store or a scenario, and from then on compares, orders and hashes that form only.
// The spelling it arrived with stays beside it for what shows it to people or hands it back to
// the system.

#include <compare>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tarvolo {

class BundleID {
 public:
  BundleID() = default;
  explicit BundleID(std::string_view spelling);

  // Absent without an identifier; an empty one is none either.
  static std::optional<BundleID> from(const std::optional<std::string>& spelling);

  // Lower-cased: what is compared, ordered, hashed and filed.
  const std::string& key() const { return key_; }
  // As it arrived: for traces, windows and the lists handed back to the system.
  const std::string& spelling() const { return spelling_; }
  bool empty() const { return key_.empty(); }

  friend bool operator==(const BundleID& a, const BundleID& b) { return a.key_ == b.key_; }
  friend std::strong_ordering operator<=>(const BundleID& a, const BundleID& b) { return a.key_ <=> b.key_; }

 private:
  std::string spelling_;
  std::string key_;
};

// The keys of a set, in its order: how traces and stored lists write identifiers.
std::set<std::string> keysOf(const std::set<BundleID>& ids);
// The spelling of an identifier that may be absent, for traces that print none for it.
std::optional<std::string> spellingOf(const std::optional<BundleID>& id);

}  // namespace tarvolo

template <>
struct std::hash<tarvolo::BundleID> {
  std::size_t operator()(const tarvolo::BundleID& id) const noexcept { return std::hash<std::string>{}(id.key()); }
};
