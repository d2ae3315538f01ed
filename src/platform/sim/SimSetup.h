#pragma once

// What a simulated desktop is made of: its screens, the other applications and their status
// items, and the settings of the simulated system. Its behaviour follows what real Macs do;
// every choice real Macs leave open is a setting here.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace tarvolo::sim {

struct SimScreenSetup {
  double width = 1512;
  double height = 982;
  double x = 0;
  double y = 0;
  std::optional<double> notchWidth;
  // As the system names the display; by default "Built-in Retina Display" for the first notched
  // screen, else "Display <n>" by its place in the list.
  std::optional<std::string> name;
  // The display's lasting identity; by default its name.
  std::optional<std::string> id;
};

struct SimItemSetup {
  double width = 32;
  // Stored preferred position: distance from the right, larger stands further left.
  std::optional<double> position;
  std::string autosaveName;  // generated when empty
  // What Accessibility reports: AXTitle (empty: none) and AXDescription.
  std::string title;
  std::optional<std::string> description;
};

struct SimAppSetup {
  std::string bundleId;
  std::string name;
  std::string path;
  platform::ActivationPolicy activation = platform::ActivationPolicy::regular;
  double menusWidth = 300;  // Apple menu included
  // Widths of the menu titles left to right, Apple menu first; empty: derived from menusWidth.
  std::vector<double> menuTitleWidths;
  std::vector<SimItemSetup> items;
  bool running = true;
  // How its items answer Accessibility. Advertised actions (absent: AXPress and AXCancel);
  // refusing every action (each reports action-unsupported); an AXPress that opens the menu and
  // then blocks in its tracking loop, returning -25204 with the menu open; a process that does
  // not answer (every call costs the element's messaging time-out and fails).
  std::optional<std::vector<std::string>> accessibilityActions;
  bool refusesActions = false;
  bool pressBlocks = false;
  bool accessibilityUnresponsive = false;
  // Seconds from the process's start until it has finished launching; until then the workspace
  // says so and the process answers no Accessibility request.
  double launchDuration = 0;
};

// How the system answers an assertion's activation, so that failures, silence and a success
// without effect can all be played.
enum class SimActivation { succeeds, fails, neverCompletes, succeedsWithoutEffect };

struct SimAssessmentModeSettings {
  // The framework and its classes are there (only ever from macOS 27).
  bool offered = false;
  SimActivation activation = SimActivation::succeeds;
  // Seconds until the system answers an activation.
  double activationDelay = 0.1;
};

// How a download of one release goes.
enum class SimDownload { completes, fails, stopsHalfway };

// One release in the update feed.
struct SimRelease {
  std::string version;
  std::string notes;  // as the feed holds them, plain or HTML
  std::uint64_t size = 4'000'000;
  // The archive's signature does not match the app's public key.
  bool badSignature = false;
  SimDownload download = SimDownload::completes;
  // The installer cannot replace the app.
  bool installFails = false;
};

// The update framework inside the app and the feed it reads.
struct SimUpdateSettings {
  std::string installedVersion = "1.0";
  std::vector<SimRelease> feed;
  bool feedReachable = true;
  // The app's Info.plist names its feed and public key; without them the framework refuses to start.
  bool configured = true;
  double checkDuration = 0.5;
  double bytesPerSecond = 4'000'000;
  // Progress arrives in pieces this far apart.
  double progressInterval = 0.25;
  double extractionDuration = 0.5;
  // From "install and relaunch" until the new version has started.
  double installDuration = 1.0;
};

struct SimSettings {
  int osMajor = 15;
  // The system build; absent: one derived from `osMajor`, as the Mac numbers them.
  std::optional<std::string> osBuild;
  std::string buildVersion() const {
    return osBuild.value_or(std::to_string(osMajor >= 26 ? osMajor - 1 : osMajor + 9) + "A100");
  }
  std::vector<std::string> preferredLanguages = {"en-US"};
  std::vector<std::string> arguments;
  // Seconds before a changed layout shows in reported frames.
  double frameLatency = 0.05;
  // Clock, Control Center and other fixed system items at the right end.
  double systemItemsWidth = 110;
  // Width a variable-length item takes for a symbol image or a text title.
  double symbolItemWidth = 30;
  double textCharWidth = 8;
  double textItemPadding = 10;
  // Gap between a mouse-down and its mouse-up when the simulator clicks.
  double clickDuration = 0.045;
  // False models a window server that stops reporting item frames.
  bool framesReadable = true;
  // Items whose stored position the system disregards when creating them (a stale or
  // rejected position): they land leftmost like a never-seen autosave name.
  std::vector<std::string> ignorePreferredPositionsOf;

  // How the system answers a long item (see SimLayoutRules.h); absent values follow the OS.
  // Longer items are ejected: about 5000 before macOS 27, no such limit from 27.
  std::optional<double> ejectionLength;
  // From macOS 27 an item longer than half the display's width less the margin is dropped.
  std::optional<bool> dropsHalfWidthItems;
  double halfWidthDropMargin = 16;
  // Items at least this long whose far edge would end among the menu titles make the system
  // drop titles; shorter ones are simply hidden there, as the app menus win.
  double menuIntrusionMinLength = 100;
  bool dropsMenuTitles = true;
  // The system's overflow chevron for displaced items: 44 from macOS 27, none before.
  std::optional<double> overflowChevronWidth;
  // Autosave names of own items whose window also holds their right neighbour's button.
  std::vector<std::string> sharedWindowItems;
  // The system's assessment mode (macOS 27 and later).
  SimAssessmentModeSettings assessmentMode;
  // The post-event privilege, separate from Accessibility trust.
  bool postEventAccess = true;
  // What one answered Accessibility message costs its caller (a round trip to the other
  // process); a process that does not answer costs the caller its time-out instead.
  double accessibilityRoundTrip = 0;

  // Chords other applications hold as system-wide hot keys: registering one fails with -9878.
  std::vector<platform::KeyChord> takenHotkeys;
  // The login item as the system reports it when the app starts, and what registering leads to:
  // `requiresApproval` when the user must allow it in the system settings first.
  platform::LoginItemStatus loginItemStatus = platform::LoginItemStatus::notRegistered;
  bool loginItemNeedsApproval = false;
  // When set, registering and unregistering fail with this description.
  std::optional<std::string> loginItemError;
  // Absent: the app was built without the update framework.
  std::optional<SimUpdateSettings> updates;
};

}  // namespace tarvolo::sim
