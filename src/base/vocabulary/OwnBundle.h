#pragma once

#include <string_view>

namespace tarvolo {

// The app's own bundle identifier, for where the app must recognise or name itself among other
// apps without asking the platform (or when the platform cannot tell).
inline constexpr std::string_view ownBundleID = "com.ostrand.tarvolo";
// The identifier of the app's directly distributed build, which is the app itself too.
inline constexpr std::string_view ownDirectBundleID = "com.ostrand.tarvolo.direct";

}  // namespace tarvolo
