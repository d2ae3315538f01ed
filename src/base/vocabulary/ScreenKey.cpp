#include "base/vocabulary/ScreenKey.h"

#include <algorithm>
#include <charconv>

namespace tarvolo {

std::optional<ScreenKey> ScreenKey::parse(std::string_view stored) {
  if (stored.find(PerAppKey::separator) != std::string_view::npos) return std::nullopt;
  return ScreenKey(std::string(stored));
}

std::optional<double> ScreenKey::firstScreenWidth() const {
  const std::string_view key = text_;
  const auto x = key.find('x');
  if (x == std::string_view::npos || x == 0) return std::nullopt;
  const std::string_view digits = key.substr(0, x);
  if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) return std::nullopt;
  long long width = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return static_cast<double>(width);
}

PerAppKey::PerAppKey(ScreenKey screen, std::optional<BundleID> bundleID)
    : screen_(std::move(screen)), bundleID_(std::move(bundleID)) {
  if (bundleID_ && bundleID_->empty()) bundleID_.reset();
}

std::optional<PerAppKey> PerAppKey::parse(std::string_view stored) {
  const auto tab = stored.find(separator);
  if (tab == std::string_view::npos) return std::nullopt;
  auto screen = ScreenKey::parse(stored.substr(0, tab));
  if (!screen) return std::nullopt;
  const std::string_view bundle = stored.substr(tab + 1);
  if (bundle.find(separator) != std::string_view::npos) return std::nullopt;
  return PerAppKey(std::move(*screen), bundle.empty() ? std::nullopt : std::optional<BundleID>(BundleID(bundle)));
}

std::string PerAppKey::text() const {
  std::string text = screen_.text();
  text += separator;
  if (bundleID_) text += bundleID_->key();
  return text;
}

}  // namespace tarvolo
