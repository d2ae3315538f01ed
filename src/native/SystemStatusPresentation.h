#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarvolo {

// Where the native engine stands, as the interface shows it.
enum class NativeEngineState {
  unsupported,  // the system offers no assertion: the own separators hide
  ready,        // offered, nothing restricted (everything shown)
  activating,   // an allow-list was handed over, the system has not answered
  active,       // the system hides what is not on the list
  failed,       // failed or timed out once: the own separators hide for the rest of the run
};

std::string_view rawValue(NativeEngineState state);

// The symbol (a system symbol name) and the optional badge drawn on it for the engine's state.
struct SystemStatusPresentation {
  std::string symbol;
  std::optional<std::string> badge;
  friend bool operator==(const SystemStatusPresentation&, const SystemStatusPresentation&) = default;
};

namespace SystemStatusPresentations {

SystemStatusPresentation forState(NativeEngineState state);

// The system symbol drawn for one of the system's own menu-bar items, named by its owner, title
// and Accessibility identifier; absent for items the table does not know.
std::optional<std::string> symbol(std::string_view bundleID, std::string_view title,
                                  const std::optional<std::string>& identifier);

}  // namespace SystemStatusPresentations

}  // namespace tarvolo
