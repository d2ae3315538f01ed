#include "platform/contract/PlatformContract.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace tarvolo::contract {

void PlatformContractTest::SetUp() { backend_ = makeContractBackend(); }

void PlatformContractTest::TearDown() {
  for (auto& item : items_) platform().statusBar().removeStatusItem(std::move(item));
  items_.clear();
  for (const auto& written : keys_) platform().defaults().remove(written);
  backend_.reset();
}

bool PlatformContractTest::runUntil(const std::function<bool()>& done, double timeout) {
  constexpr double step = 0.02;
  for (double waited = 0; waited < timeout; waited += step) {
    if (done()) return true;
    runFor(step);
  }
  return done();
}

std::string PlatformContractTest::uniqueName(const std::string& stem) {
  // Distinct across runs too: a real Mac remembers positions of names it has seen.
  static const auto run = std::chrono::system_clock::now().time_since_epoch().count() % 1000000;
  static int counter = 0;
  return "tarvolo_contract_" + stem + "_" + std::to_string(run) + "_" + std::to_string(++counter);
}

std::string PlatformContractTest::key(const std::string& stem) {
  keys_.push_back("tarvolo.contract." + uniqueName(stem));
  return keys_.back();
}

platform::StatusItem& PlatformContractTest::createItem(double length, const std::string& autosaveName) {
  keys_.push_back(positionKey(autosaveName));
  items_.push_back(platform().statusBar().createStatusItem(length, autosaveName));
  return *items_.back();
}

std::unique_ptr<platform::StatusItem> PlatformContractTest::takeItem(const platform::StatusItem& item) {
  auto it = std::find_if(items_.begin(), items_.end(), [&](const auto& owned) { return owned.get() == &item; });
  if (it == items_.end()) return nullptr;
  auto taken = std::move(*it);
  items_.erase(it);
  return taken;
}

std::optional<Rect> PlatformContractTest::settledFrame(const platform::StatusItem& item) {
  std::optional<Rect> previous;
  runUntil([&] {
    auto frame = item.buttonFrameOnScreen();
    const bool still = frame && previous && *frame == *previous;
    previous = frame;
    return still;
  });
  return item.buttonFrameOnScreen();
}

const platform::ScreenInfo& PlatformContractTest::primaryScreen() {
  screens_ = platform().screens().screens();
  if (screens_.empty()) throw std::logic_error("no screens");
  return screens_.front();
}

}  // namespace tarvolo::contract
