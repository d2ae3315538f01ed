#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "base/WeakHandle.h"
#include "hotkeys/HotkeyManager.h"
#include "platform/Platform.h"

namespace tarvolo {

class LocalizationManager;

// A shortcut of its own per app with an icon: pressed anywhere, it opens that app's item menu.
// Each is a system hot key beside the deep chord, recorded in the settings' list of apps and
// kept per bundle. The recorder refuses a chord that shows every icon or opens another app's
// menu, with a text saying which. Main thread only.
class AppShortcuts {
 public:
  static constexpr const char* storeKey = "com.ostrand.tarvolo.hotkey.apps";
  // Hot-key ids of the apps' shortcuts start here, clear of the deep chord's.
  static constexpr std::uint32_t firstHotKeyID = 100;
  using Chord = HotkeyManager::Chord;

  // Why the recorder or the system refused a shortcut; shown on the app's row.
  struct Refusal {
    std::string bundleID;
    std::string text;
    friend bool operator==(const Refusal&, const Refusal&) = default;
  };

  struct Dependencies {
    platform::Platform& platform;
    const LocalizationManager& localization;
    // The deep chord as it stands now.
    std::function<Chord()> deepChord;
    // Runs on the main queue when an app's shortcut is pressed, with its lower-cased bundle id.
    std::function<void(const std::string& bundleID)> open;
    // The app's name in the texts of a refusal.
    std::function<std::string(const std::string& bundleID)> appName;
  };

  explicit AppShortcuts(Dependencies dependencies);
  ~AppShortcuts();
  AppShortcuts(const AppShortcuts&) = delete;
  AppShortcuts& operator=(const AppShortcuts&) = delete;

  // Lower-cased bundle id to chord.
  Published<std::map<std::string, Chord>> chords;
  // The app whose shortcut the recorder listens for.
  Published<std::optional<std::string>> recordingFor;
  Published<std::optional<Refusal>> refusal;

  // Registers every stored shortcut with the system; what it refuses is noted per app.
  void registerAll();
  // Lets go of every shortcut (the deep chord's recorder listens without them).
  void unregisterAll();
  void beginRecording(const std::string& bundleID);
  void cancelRecording();
  void clear(const std::string& bundleID);
  // While recording: true when the event was consumed.
  bool handleKeyEvent(const platform::Event& event);

  std::optional<Chord> chord(const std::string& bundleID) const;
  // What the app's row says of its shortcut: the recorder's refusal, or the system's.
  std::optional<std::string> problem(const std::string& bundleID) const;
  // The app whose shortcut is `chord`, lower-cased.
  std::optional<std::string> holderOf(const Chord& chord) const;
  bool registered(const std::string& bundleID) const { return registeredIDs_.contains(bundleID); }

 private:
  void endRecording();
  void store(const std::string& bundleID, std::optional<Chord> chord);
  void fired(std::uint32_t id);
  static std::map<std::string, Chord> readStored(const platform::DefaultsStore& defaults);

  platform::Platform& platform_;
  const LocalizationManager& localization_;
  std::function<Chord()> deepChord_;
  std::function<void(const std::string&)> open_;
  std::function<std::string(const std::string&)> appName_;
  // Bundle to hot-key id, for the shortcuts the system holds for the app.
  std::map<std::string, std::uint32_t> registeredIDs_;
  std::set<std::string> refusedBySystem_;
  std::unique_ptr<platform::Registration> recorderMonitor_;
  MainThreadChecker mainThread_;
  WeakHandleFactory<AppShortcuts> weakFactory_{this};
};

}  // namespace tarvolo
