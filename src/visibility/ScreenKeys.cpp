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

std::string screenKey(const Rect& frame) {
  return wholePoints(frame.width) + "x" + wholePoints(frame.height) + "@" + wholePoints(frame.x) + "," +
         wholePoints(frame.y);
}

std::string screenConfigKey(const std::vector<Rect>& screenFrames) {
  std::string key;
  for (const Rect& frame : screenFrames) {
    if (!key.empty()) key += "|";
    key += screenKey(frame);
  }
  return key;
}

std::string collapseScreenKey(const std::optional<Rect>& statusItemScreen, const std::vector<Rect>& screenFrames) {
  if (statusItemScreen) return screenKey(*statusItemScreen);
  return screenConfigKey(screenFrames);
}

std::vector<std::string> connectedScreenKeys(const std::vector<Rect>& screenFrames) {
  std::vector<std::string> keys;
  auto add = [&keys](std::string key) {
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
  };
  for (const Rect& frame : screenFrames) add(screenKey(frame));
  if (!screenFrames.empty()) add(screenConfigKey(screenFrames));
  return keys;
}

}  // namespace tarvolo
