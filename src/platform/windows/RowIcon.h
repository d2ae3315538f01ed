#pragma once

// What a row of the app's lists draws beside its name.

#include <optional>
#include <string>

#include "base/vocabulary/BundleID.h"

namespace tarvolo::platform {

// The owning application's own icon, which a backend takes from the running application (that
// needs no permission and never looks at the screen), or, for the system's own items, the symbol
// that says what they are. With neither, the backend's generic item glyph.
struct RowIcon {
  std::optional<BundleID> application;
  // A system symbol name; drawn instead of the application's icon.
  std::optional<std::string> symbol;
  friend bool operator==(const RowIcon&, const RowIcon&) = default;
};

}  // namespace tarvolo::platform
