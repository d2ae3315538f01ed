#pragma once

// What a user can send when the bar misbehaves on their Mac: the system, the screens, the
// permissions, the app's own items, the hiding engine and the lengths it remembers, the last
// collapse's verdict, and a few of the platform's promises checked live. Reading it changes
// nothing: no item is resized, moved or created, and nothing is stored.

#include <string>
#include <vector>

namespace tarvolo {

class AppEnvironment;

namespace Diagnostics {

// One line per fact, "name: value"; the checks are "check <name>: ok|FAILED (<why>)".
std::vector<std::string> report(AppEnvironment& environment);

// The report as one text, as it is printed and copied.
std::string text(AppEnvironment& environment);

}  // namespace Diagnostics

}  // namespace tarvolo
