#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/FoldPlaceholderController.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

// The fold: the collapsed separator's far edge should reach the application menus. A collapse
// that stops short gets a tail, remembered per screen and app once a verification saw it cover
// the fold; on newer systems a placeholder item fills the rest. Main thread only.
class FoldTails {
 public:
  struct Dependencies {
    platform::Platform& platform;
    const SeparatorItems& items;
    const CollapseScreens& screens;
    const CollapseLengthStore& lengths;
    CollapseHost& host;
  };

  explicit FoldTails(Dependencies dependencies);
  ~FoldTails();
  FoldTails(const FoldTails&) = delete;
  FoldTails& operator=(const FoldTails&) = delete;

  // Creates the placeholder when the system and the user's setting call for it, between the
  // items of these autosave names.
  void installFoldPlaceholder(const std::string& foldAutosaveName, const std::string& hiddenAutosaveName);

  // --- screens where the ejection length keeps the separator from the menus
  // The length the system ejects above on this screen, when it stopped a collapse short.
  std::optional<double> ejectionCap(const ScreenKey& screen) const;
  // Remembers it and brings in the placeholder to fill the rest; true when it was not known.
  bool noteEjectionCap(const ScreenKey& screen, double length);
  const FoldPlaceholderController* foldPlaceholder() const { return foldPlaceholder_.get(); }

  // --- tails
  void restoreFoldTails();
  void persistFoldTails();
  // Forgets the tails and ejection caps of screens not among `keeping`; says whether any went.
  // Unpersisted.
  bool pruneToScreens(const std::vector<ScreenKey>& keeping);
  std::optional<double> storedTail(const PerAppKey& pair) const;
  bool tailRejected(const PerAppKey& pair) const { return collapseFoldTailRejected_.count(pair) > 0; }
  // A newly launched or quit app gets another chance at a tail.
  void forgetRejectedTails(const std::optional<BundleID>& bundleID);
  const std::map<PerAppKey, double>& collapseFoldTailByPair() const { return collapseFoldTailByPair_; }

  void noteCollapseFoldTail(const PerAppKey& pair, double length, double base);
  void rememberVerifiedCollapseFoldTail(const PerAppKey& pair);
  void revertCollapseFoldTailIfRejected(const PerAppKey& pair, double length);
  struct TailAttempt {
    PerAppKey pair;
    double length = 0;
    double separatorLeading = 0;
    double menusRight = 0;
  };
  // Lengthens an underfolded collapse by the room left to the menus; false when there is none.
  bool tryCollapseFoldTail(const TailAttempt& attempt);

  // --- the placeholder
  // Where the fold really ends: the placeholder beside the fold continues the separator.
  double foldLeadingEdge(const SeparatorMeasurement& measurement) const;
  // The placeholder's collapsed length for a separator of `separatorLength`, judged from the
  // short reference reading; absent without a placeholder or a reference.
  std::optional<double> foldPlaceholderCollapsedLength(double separatorLength,
                                                       const std::optional<SeparatorReference>& reference,
                                                       std::optional<double> lastHiddenMaxX);
  void applyFoldPlaceholder(MenuBarPresentation presentation, std::optional<double> collapsedLength);
  // Reads where the placeholder sits; true when the belief changed.
  bool checkFoldPlaceholder(MenuBarPresentation presentation, std::optional<Rect> fold, std::optional<Rect> hidden);
  // The same from a gap sample; true when the placeholder should be read again on the next one.
  bool checkFoldPlaceholderFromSample(MenuBarPresentation presentation, const Rect& fold, const Rect& hidden);
  // The own items' frames for the engine's traces, the placeholder's included.
  std::string ownFramesSummary() const;

 private:
  void restoreEjectionCaps();
  void createFoldPlaceholder();

  platform::Platform& platform_;
  const SeparatorItems& items_;
  const CollapseScreens& screens_;
  const CollapseLengthStore& lengths_;
  CollapseHost& host_;

  std::map<PerAppKey, double> collapseFoldTailByPair_;
  std::map<PerAppKey, double> collapseFoldTailBaseByPair_;
  std::set<PerAppKey> collapseFoldTailVerified_;
  std::set<PerAppKey> collapseFoldTailRejected_;
  std::map<ScreenKey, double> ejectionCapByScreen_;
  std::unique_ptr<FoldPlaceholderController> foldPlaceholder_;
  std::optional<std::pair<std::string, std::string>> placeholderAutosaveNames_;  // fold, hidden
  int placeholderRereads_ = 0;
};

}  // namespace tarvolo
