#include "visibility/ScreenKeys.h"

#include <algorithm>
#include <cmath>

namespace tarvolo {

namespace {

std::string wholePoints(double value) {
  if (!std::isfinite(value)) return "0";
  return std::to_string(static_cast<long long>(std::trunc(value)));
}

}  // namespace

ScreenKey screenKey(const Rect& frame) {
  return ScreenKey(wholePoints(frame.width) + "x" + wholePoints(frame.height) + "@" + wholePoints(frame.x) + "," +
         wholePoints(frame.y));
}

ScreenKey screenConfigKey(const std::vector<Rect>& screenFrames) {
  std::string key;
  for (const Rect& frame : screenFrames) {
    if (!key.empty()) key += "|";
    key += screenKey(frame).text();
  }
  return ScreenKey(std::move(key));
}

ScreenKey collapseScreenKey(const std::optional<Rect>& statusItemScreen, const std::vector<Rect>& screenFrames) {
  if (statusItemScreen) return screenKey(*statusItemScreen);
  return screenConfigKey(screenFrames);
}

std::vector<ScreenKey> connectedScreenKeys(const std::vector<Rect>& screenFrames) {
  std::vector<ScreenKey> keys;
  auto add = [&keys](ScreenKey key) {
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
  };
  for (const Rect& frame : screenFrames) add(screenKey(frame));
  if (!screenFrames.empty()) add(screenConfigKey(screenFrames));
  return keys;
}

}  // namespace tarvolo
