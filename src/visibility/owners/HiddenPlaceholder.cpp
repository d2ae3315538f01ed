#include "visibility/owners/HiddenPlaceholder.h"

#include "base/Log.h"

namespace tarvolo {

namespace {

std::string positionKey(std::string_view autosaveName) {
  return "NSStatusItem Preferred Position " + std::string(autosaveName);
}

// Positions grow leftwards; always-hidden icons rarely sit this close to the separator.
constexpr double seedOffset = 0.5;

}  // namespace

HiddenPlaceholder::HiddenPlaceholder(platform::Platform& platform, std::string hiddenAutosaveName)
    : platform_(platform), hiddenAutosaveName_(std::move(hiddenAutosaveName)) {}

// Released, not removed: the stored position stays for the next launch, as the separators' do.
HiddenPlaceholder::~HiddenPlaceholder() = default;

void HiddenPlaceholder::install() {
  if (!HiddenPlaceholderPolicy::isActive(platform_.system().osMajorVersion())) return;
  auto& defaults = platform_.defaults();
  auto hidden = defaults.getDouble(positionKey(hiddenAutosaveName_));
  auto own = defaults.getDouble(positionKey(HiddenPlaceholderPolicy::autosaveName));
  if (hidden && (!own || *own <= *hidden || *own > *hidden + 1)) {
    defaults.set(positionKey(HiddenPlaceholderPolicy::autosaveName), DefaultsValue(*hidden + seedOffset));
    MenuBarLog::log(LogLine("hidden placeholder seeded").add("position", *hidden + seedOffset));
  }
  item_ = platform_.statusBar().createStatusItem(0, std::string(HiddenPlaceholderPolicy::autosaveName));
  item_->setVisible(true);
  item_->setTitle("");
}

void HiddenPlaceholder::apply(double length) {
  if (!item_ || item_->length() == length) return;
  item_->setLength(length);
  MenuBarLog::log(LogLine("hidden placeholder").add("length", length));
}

}  // namespace tarvolo
