#pragma once

// The keys remembered collapse lengths are filed under: one screen or the whole arrangement of
// screens, and that with the frontmost application. Both are stored as text in the defaults
// store; they are parsed and formatted there and nowhere else.

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "base/vocabulary/BundleID.h"

namespace tarvolo {

// "<width>x<height>@<originX>,<originY>" in whole points for one screen, e.g. "1512x982@0,0",
// several joined by "|" for an arrangement.
class ScreenKey {
 public:
  ScreenKey() = default;
  explicit ScreenKey(std::string text) : text_(std::move(text)) {}

  // Stored text: absent when it holds the per-app separator. Without screens the key is empty.
  static std::optional<ScreenKey> parse(std::string_view stored);

  const std::string& text() const { return text_; }
  bool empty() const { return text_.empty(); }
  // The width of the first screen (the digits before the first "x").
  std::optional<double> firstScreenWidth() const;

  friend bool operator==(const ScreenKey&, const ScreenKey&) = default;
  friend std::strong_ordering operator<=>(const ScreenKey&, const ScreenKey&) = default;

 private:
  std::string text_;
};

// A screen and the application frontmost on it; none is frontmost at times.
class PerAppKey {
 public:
  static constexpr char separator = '\t';

  // An empty identifier files as none.
  PerAppKey(ScreenKey screen, std::optional<BundleID> bundleID);

  // "<screen key>\t<lower-cased bundle id>", with nothing after the tab for no app. Absent when
  // the tab is missing.
  static std::optional<PerAppKey> parse(std::string_view stored);
  std::string text() const;

  const ScreenKey& screen() const { return screen_; }
  const std::optional<BundleID>& bundleID() const { return bundleID_; }

  friend bool operator==(const PerAppKey&, const PerAppKey&) = default;
  // Screen first, then the app, no app first: the order of the stored texts.
  friend std::strong_ordering operator<=>(const PerAppKey&, const PerAppKey&) = default;

 private:
  ScreenKey screen_;
  std::optional<BundleID> bundleID_;
};

}  // namespace tarvolo
