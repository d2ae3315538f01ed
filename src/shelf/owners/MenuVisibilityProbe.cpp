#include "shelf/owners/MenuVisibilityProbe.h"

#include <algorithm>

namespace tarvolo {

bool visibleMenu(platform::Accessibility& accessibility, const platform::AXElement& element) {
  accessibility.setMessagingTimeout(element, 0.1);
  auto children = accessibility.attribute(element, "AXChildren");
  const auto* list = children.value ? children.value->list() : nullptr;
  if (!list) return false;
  const std::size_t count = std::min<std::size_t>(list->size(), kMenuProbeChildLimit);
  for (std::size_t i = 0; i < count; ++i) {
    const auto* child = (*list)[i].element();
    if (!child) continue;
    auto role = accessibility.attribute(*child, "AXRole");
    const auto* roleText = role.value ? role.value->text() : nullptr;
    if (!roleText || (*roleText != "AXMenu" && *roleText != "AXPopover")) continue;
    auto visible = accessibility.attribute(*child, "AXVisible");
    if (const bool* flag = visible.value ? visible.value->flag() : nullptr) {
      if (*flag) return true;
      continue;
    }
    auto visibleChildren = accessibility.attribute(*child, "AXVisibleChildren");
    const auto* shown = visibleChildren.value ? visibleChildren.value->list() : nullptr;
    if (shown && !shown->empty()) return true;
  }
  return false;
}

std::optional<Rect> elementFrame(platform::Accessibility& accessibility, const platform::AXElement& element) {
  auto position = accessibility.attribute(element, "AXPosition");
  auto size = accessibility.attribute(element, "AXSize");
  const Point* origin = position.value ? position.value->point() : nullptr;
  const Size* extent = size.value ? size.value->size() : nullptr;
  if (!origin || !extent) return std::nullopt;
  return Rect{origin->x, origin->y, extent->width, extent->height};
}

}  // namespace tarvolo
