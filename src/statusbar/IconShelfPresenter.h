#pragma once

#include <optional>

#include "platform/MenuBarAccessTier.h"

namespace tarvolo {

// What the state machine asks of the Icon Shelf (the toggle's clicks, the context menu); the
// shelf's controller implements it and is handed in once both exist.
class IconShelfPresenter {
 public:
  virtual ~IconShelfPresenter() = default;
  // Without a tier the shelf opens on the tier last chosen.
  virtual void showShelf(std::optional<MenuBarAccessTier> tier) = 0;
  virtual void closeShelf() = 0;
  virtual bool isShelfShown() const = 0;
};

}  // namespace tarvolo
