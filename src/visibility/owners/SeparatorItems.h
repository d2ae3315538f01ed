#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Geometry.h"
#include "platform/Platform.h"
#include "visibility/CollapseReasons.h"

namespace tarvolo {

// One reading of the normal separator (and the toggle beside it).
struct SeparatorMeasurement {
  double arrowFacingEdge = 0;  // x of the edge that faces the toggle
  double leadingEdge = 0;      // x of the far edge
  double windowWidth = 0;
  double buttonWidth = 0;
  double chosenWidth = 0;   // the width believed
  bool usable = false;      // fresh for the requested length
  bool sharedHost = false;  // the window also holds other items
  bool orderKnown = false;
  bool separatorLeftOfToggle = false;
  std::string source;  // "button" or "window"
  std::optional<double> toggleAnchor;
  std::optional<SeparatorReadFailure> failure;  // noWindow when nothing could be read
};

// A separator and its neighbour as read while the separator was short: what later readings of
// the lengthened separator are judged against.
struct SeparatorReference {
  double arrowFacingEdge = 0;
  double leadingEdge = 0;
  std::optional<double> toggleAnchor;
  double length = 0;
};

// The own items as the collapse-length engine uses them: it lengthens and measures the normal
// separator and reads the frames of the other two. Frames are absent while unknown, and every
// call is harmless while the items do not exist.
class SeparatorItems {
 public:
  virtual ~SeparatorItems() = default;

  // The toggle and the normal separator both exist.
  virtual bool canMeasure() const = 0;
  virtual SeparatorMeasurement measureSeparator(double requestedLength) const = 0;

  virtual std::optional<Rect> toggleFrame() const = 0;
  virtual std::optional<Rect> separatorFrame() const = 0;
  virtual std::optional<Rect> alwaysHiddenSeparatorFrame() const = 0;
  virtual std::optional<Rect> alwaysHiddenSeparatorWindowFrame() const = 0;

  virtual double separatorLength() const = 0;
  virtual void setSeparatorLength(double length) = 0;
  virtual void setSeparatorTitle(const std::string& title) = 0;
  virtual void setAlwaysHiddenSeparatorLength(double length) = 0;

  // Whether the three items stand in order, always-hidden separator left of the separator left of
  // the toggle; absent while their frames cannot tell (unread, or a separator still long).
  virtual std::optional<bool> ownItemsInOrder() const = 0;

  // The screen whose menu bar holds the items: the toggle's, else the primary one.
  virtual std::optional<platform::ScreenInfo> statusItemScreen() const = 0;
};

}  // namespace tarvolo
