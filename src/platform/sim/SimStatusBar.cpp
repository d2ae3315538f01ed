#include "platform/sim/SimStatusBar.h"

#include "base/Text.h"
#include "platform/sim/SimBar.h"
#include "platform/sim/SimMenus.h"

namespace tarvolo::sim {

using platform::Event;

namespace {

// The characters a text title draws.
std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t offset = 0; offset < text.size(); ++count) text::decodeScalar(text, offset);
  return count;
}

}  // namespace

// One of the app's own items; it stays in the bar until the app removes or drops it.
class SimStatusItem final : public platform::StatusItem {
 public:
  SimStatusItem(SimStatusBar& bar, int id, std::string name) : owner_(bar), id_(id), name_(std::move(name)) {}
  ~SimStatusItem() override {
    if (auto* state = bar().item(id_); state && !state->removed) bar().remove(id_, StoredPosition::keep);
  }
  int id() const { return id_; }
  const std::string& autosaveName() const override { return name_; }
  void setLength(double length) override {
    if (auto* s = bar().item(id_)) {
      s->length = length;
      bar().relayout();
    }
  }
  double length() const override {
    auto* s = bar().item(id_);
    return s ? s->length : 0;
  }
  void setVisible(bool visible) override {
    auto* s = bar().item(id_);
    if (!s || s->visible == visible) return;
    s->visible = visible;
    if (!visible) owner_.defaults_.remove(SimBar::preferredPositionKey(name_));
    bar().relayout();
  }
  bool isVisible() const override {
    auto* s = bar().item(id_);
    return s && s->visible && !s->removed;
  }
  bool hasButton() const override { return bar().item(id_) != nullptr; }
  std::optional<Rect> buttonFrameOnScreen() const override {
    auto* s = bar().item(id_);
    return s ? bar().reportedFrame(*s) : std::nullopt;
  }
  std::optional<Rect> windowFrame() const override {
    auto* s = bar().item(id_);
    return s ? bar().reportedWindowFrame(*s) : std::nullopt;
  }
  void setTitle(const std::string& title) override {
    if (auto* s = bar().item(id_)) {
      s->title = title;
      owner_.updateContentWidth(*s);
    }
  }
  bool setSymbolImage(const std::string& symbolName, double) override {
    auto* s = bar().item(id_);
    if (!s) return false;
    s->symbol = symbolName;
    owner_.updateContentWidth(*s);
    return true;
  }
  void setToolTip(const std::string& text) override {
    if (auto* s = bar().item(id_)) s->toolTip = text;
  }
  void setAccessibilityLabel(const std::string& text) override {
    if (auto* s = bar().item(id_)) s->accessibilityLabel = text;
  }
  void setAction(platform::EventMask sendOn, std::function<void(std::optional<Event>)> action) override {
    if (auto* s = bar().item(id_)) {
      s->actionMask = sendOn;
      s->action = std::move(action);
    }
  }
  void popUpMenu(const platform::Menu& menu) override { owner_.menus_.openContextMenu(name_, menu); }

 private:
  SimBar& bar() const { return owner_.bar_; }

  SimStatusBar& owner_;
  int id_;
  std::string name_;
};

SimStatusBar::SimStatusBar(Parts parts)
    : settings_(parts.settings), bar_(parts.bar), menus_(parts.menus), defaults_(parts.defaults) {}

std::unique_ptr<platform::StatusItem> SimStatusBar::createStatusItem(double length, const std::string& autosaveName) {
  int id = bar_.createOwnItem(length, autosaveName);
  return std::make_unique<SimStatusItem>(*this, id, autosaveName);
}

void SimStatusBar::removeStatusItem(std::unique_ptr<platform::StatusItem> item) {
  if (!item) return;
  if (auto* simItem = dynamic_cast<SimStatusItem*>(item.get())) bar_.remove(simItem->id(), StoredPosition::remove);
}

void SimStatusBar::updateContentWidth(SimItemState& item) {
  const double titleWidth =
      settings_.textItemPadding + settings_.textCharWidth * static_cast<double>(characterCount(item.title));
  const double width = !item.symbol.empty() ? settings_.symbolItemWidth
                       : !item.title.empty() ? titleWidth
                                             : item.contentWidth;
  if (width == item.contentWidth) return;
  item.contentWidth = width;
  bar_.relayout();
}

}  // namespace tarvolo::sim
