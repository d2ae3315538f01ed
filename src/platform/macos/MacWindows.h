#pragma once

// The app's own windows on a Mac, each drawn in code from what the core hands over, in a file of
// its own (MacPreferencesWindow.mm, ...); MacUserInterface.mm holds them and the notices.
// Objective-C++; include from .mm files only.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/macos/MacBackend.h"
#include "platform/windows/UserInterface.h"

namespace tarvolo::platform::mac {

// Other applications' icons for the rows of the shelf and the settings window
// (MacAppIcons.mm). Taken from the running application, which needs no permission and never
// looks at the screen; kept per bundle until that application quits, when its entry goes.
class MacAppIcons {
 public:
  MacAppIcons();
  ~MacAppIcons();
  MacAppIcons(const MacAppIcons&) = delete;
  MacAppIcons& operator=(const MacAppIcons&) = delete;

  // A system item's symbol, else the running application's icon, else the icon of the bundle at
  // `bundlePath` (an application that is not running); nil with none of them.
  NSImage* image(const RowIcon& icon, const std::optional<std::string>& bundlePath);
  // How many applications' icons are kept.
  std::size_t cachedCount() const;

 private:
  NSMutableDictionary<NSString*, NSImage*>* icons_ = nil;
  id terminationToken_ = nil;
};

// The Icon Shelf's panel (MacIconShelfPanel.mm)

class MacIconShelfPanel final : public IconShelfPanel {
 public:
  explicit MacIconShelfPanel(MacAppIcons& icons);
  ~MacIconShelfPanel() override;
  void show(const IconShelfViewState& state, IconShelfActions actions) override;
  void update(const IconShelfViewState& state) override;
  void close() override;
  bool isShown() const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The first-launch coach's panel (MacFirstLaunchCoachWindow.mm)

class MacFirstLaunchCoachWindow final : public FirstLaunchCoachWindow {
 public:
  MacFirstLaunchCoachWindow();
  ~MacFirstLaunchCoachWindow() override;
  MacFirstLaunchCoachWindow(const MacFirstLaunchCoachWindow&) = delete;
  MacFirstLaunchCoachWindow& operator=(const MacFirstLaunchCoachWindow&) = delete;

  void show(const FirstLaunchCoachViewState& state, FirstLaunchCoachActions actions) override;
  void update(const FirstLaunchCoachViewState& state) override;
  void close() override;
  bool isShown() const override;

 private:
  void build();
  void fill(const FirstLaunchCoachViewState& state);
  void place(const std::optional<Rect>& anchor);

  NSPanel* panel_ = nil;
  NSTextField* progress_ = nil;
  NSTextField* title_ = nil;
  NSTextField* body_ = nil;
  NSTextField* note_ = nil;
  NSTextField* hint_ = nil;
  NSButton* permission_ = nil;
  NSButton* next_ = nil;
  NSButton* done_ = nil;
  NSButton* dismiss_ = nil;
  // Buttons hold their targets weakly.
  TRVActionTarget* nextTarget_ = nil;
  TRVActionTarget* doneTarget_ = nil;
  TRVActionTarget* dismissTarget_ = nil;
  TRVActionTarget* permissionTarget_ = nil;
  FirstLaunchCoachActions actions_;
};

// The settings window (MacPreferencesWindow.mm): a toolbar-style tabbed window drawn from the
// core's state; every control calls back into the core.
class MacPreferencesWindow final : public PreferencesWindow {
 public:
  explicit MacPreferencesWindow(MacAppIcons& icons);
  ~MacPreferencesWindow() override;
  void show(const PreferencesViewState& state, PreferencesCallbacks callbacks) override;
  void update(const PreferencesViewState& state) override;
  void close() override;
  bool isShown() const override;
  void keepFront() override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The new-app notice (MacNewAppNoticeWindow.mm): a non-activating panel below the menu bar.
class MacNewAppNoticeWindow final : public NewAppNoticeWindow {
 public:
  MacNewAppNoticeWindow();
  ~MacNewAppNoticeWindow() override;
  void show(const NewAppNoticeViewState& state, NewAppNoticeCallbacks callbacks) override;
  void close() override;
  bool isShown() const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The placement guide (MacPlacementGuideWindow.mm): a panel with the instructions and a ring
// around the target zone of the bar.
class MacPlacementGuideWindow final : public PlacementGuideWindow {
 public:
  MacPlacementGuideWindow();
  ~MacPlacementGuideWindow() override;
  void show(const PlacementGuideViewState& state, PlacementGuideCallbacks callbacks) override;
  void update(const PlacementGuideViewState& state) override;
  void close() override;
  bool isShown() const override;
  std::vector<Rect> chromeFrames() const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The rating prompt (MacReviewPromptWindow.mm): a small panel under the toggle.
class MacReviewPromptWindow final : public ReviewPromptWindow {
 public:
  MacReviewPromptWindow();
  ~MacReviewPromptWindow() override;
  void show(const ReviewPromptViewState& state, ReviewPromptCallbacks callbacks) override;
  void update(const ReviewPromptViewState& state) override;
  void close() override;
  bool isShown() const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The software-update window (MacUpdateWindow.mm): built once, its values set from each state.
class MacUpdateWindow final : public UpdateWindow {
 public:
  MacUpdateWindow();
  ~MacUpdateWindow() override;
  MacUpdateWindow(const MacUpdateWindow&) = delete;
  MacUpdateWindow& operator=(const MacUpdateWindow&) = delete;

  void show(const UpdateViewState& state, UpdateWindowCallbacks callbacks, UpdateWindowFocus focus) override;
  void update(const UpdateViewState& state) override;
  void close() override;
  bool isShown() const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

class MacUserInterface final : public UserInterface {
 public:
  MacUserInterface();
  ~MacUserInterface() override;

  FirstLaunchCoachWindow& firstLaunchCoach() override { return coach_; }
  IconShelfPanel& iconShelfPanel() override { return shelfPanel_; }
  PreferencesWindow& preferences() override { return preferences_; }
  NewAppNoticeWindow& newAppNotice() override { return newAppNotice_; }
  PlacementGuideWindow& placementGuide() override { return placementGuide_; }
  void presentNotice(NoticeRequest notice) override;
  void dismissNotice(const std::string& kind) override;
  ReviewPromptWindow& reviewPrompt() override { return reviewPrompt_; }
  UpdateWindow& updateWindow() override { return updateWindow_; }

 private:
  // Drops notices the user closed by hand; every listed notice has been shown.
  void forgetClosedNotices();
  void layoutNotices();

  MacFirstLaunchCoachWindow coach_;
  // Before the windows that draw from it.
  MacAppIcons appIcons_;
  MacIconShelfPanel shelfPanel_{appIcons_};
  MacPreferencesWindow preferences_{appIcons_};
  MacNewAppNoticeWindow newAppNotice_;
  MacPlacementGuideWindow placementGuide_;
  MacReviewPromptWindow reviewPrompt_;
  MacUpdateWindow updateWindow_;
  struct Notice {
    std::string kind;
    NSPanel* panel;
    TRVActionTarget* actionTarget;  // the button holds it weakly
  };
  // Oldest first.
  std::vector<Notice> notices_;
};

}  // namespace tarvolo::platform::mac
