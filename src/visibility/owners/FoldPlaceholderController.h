#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/Platform.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {

// Owns the small status item that sits just left of the fold (the normal separator) on systems
// that drop over-long items, or on older ones where the ejection length stops the separator short
// of the menus, and lengthens it on collapse so that the separator and it together reach the
// application menus. Main thread only.
class FoldPlaceholderController {
 public:
  // Re-creating the item moves it; after this many misplaced readings it is re-placed.
  static constexpr int misplacedReadingsBeforeReplacement = 2;
  static constexpr int replacementLimit = 3;

  FoldPlaceholderController(platform::Platform& platform, std::string foldAutosaveName,
                            std::string hiddenAutosaveName);
  ~FoldPlaceholderController();
  FoldPlaceholderController(const FoldPlaceholderController&) = delete;
  FoldPlaceholderController& operator=(const FoldPlaceholderController&) = delete;

  // Creates the item when the system and the user's setting call for it, with a stored position
  // between the fold's and the always-hidden separator's so that it lands beside the fold.
  // `ejectionCapped`: the ejection length keeps the separator from the menus on this screen.
  void install(bool ejectionCapped);
  bool isInstalled() const { return item_ != nullptr; }

  // The length for the presentation; `collapsedLength` applies only while collapsed.
  void apply(MenuBarPresentation presentation, std::optional<double> collapsedLength);
  // Reads where the item sits; returns whether the belief changed. A reading of the short item
  // decides; a reading of the item lengthened for a collapse, which distorts it, may only confirm.
  bool check(MenuBarPresentation presentation, std::optional<Rect> fold, std::optional<Rect> hidden);
  // The length that fills the room between the fold's far edge and the menus; remembered once
  // the item has been seen beside the fold.
  double noteCollapsedRoom(double foldLeadingEdge, double menusRight, double screenWidth);

  std::optional<Rect> frame() const;
  std::optional<bool> placedBesideFold() const { return placedBesideFold_; }
  const FoldPlaceholderPolicy::Placement& lastPlacement() const { return lastPlacement_; }
  double collapsedLength() const;
  double appliedLength() const;
  int replacements() const { return replacements_; }
  bool isSuppressed() const { return isSuppressed_; }
  // "placeholder=<minX>..<maxX> length=<l> beside=<b>", for the engine's trace lines.
  std::string frameSummary() const;

 private:
  std::optional<double> storedPosition(const std::string& autosaveName) const;
  void createItem();
  void replace();

  platform::Platform& platform_;
  std::string foldAutosaveName_;
  std::string hiddenAutosaveName_;
  std::unique_ptr<platform::StatusItem> item_;
  std::optional<bool> placedBesideFold_;
  FoldPlaceholderPolicy::Placement lastPlacement_;
  std::set<std::string> loggedKeys_;
  int misplacedStreak_ = 0;
  int replacements_ = 0;
  bool isSuppressed_ = false;
};

}  // namespace tarvolo
