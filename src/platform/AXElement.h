#pragma once

// Accessibility elements at the platform boundary: an opaque, reference-counted handle that
// compares as the system compares its references, the values attributes hold, and the
// system's result codes. Calls on elements may run on any thread.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Geometry.h"

namespace tarvolo::platform {

// The system's Accessibility result codes; those the core acts on are named.
using AXError = int;
namespace ax {
constexpr AXError success = 0;
constexpr AXError failure = -25200;
constexpr AXError illegalArgument = -25201;
constexpr AXError invalidElement = -25202;
constexpr AXError cannotComplete = -25204;
constexpr AXError attributeUnsupported = -25205;
constexpr AXError actionUnsupported = -25206;
constexpr AXError apiDisabled = -25211;
constexpr AXError noValue = -25212;
}  // namespace ax

// What a backend keeps behind a handle.
class AXElementRef {
 public:
  virtual ~AXElementRef() = default;
  virtual bool isEqual(const AXElementRef& other) const = 0;
};

class AXElement {
 public:
  explicit AXElement(std::shared_ptr<const AXElementRef> ref) : ref_(std::move(ref)) {}
  const AXElementRef& ref() const { return *ref_; }
  friend bool operator==(const AXElement& a, const AXElement& b) {
    return a.ref_ == b.ref_ || a.ref_->isEqual(*b.ref_);
  }

 private:
  std::shared_ptr<const AXElementRef> ref_;
};

// An attribute's value. `Other` stands for a value of a type the core never unpacks.
struct AXValue {
  struct Other {
    friend bool operator==(const Other&, const Other&) = default;
  };
  using List = std::vector<AXValue>;
  std::variant<Other, bool, double, std::string, Point, Size, AXElement, List> value;

  const bool* flag() const { return std::get_if<bool>(&value); }
  const double* number() const { return std::get_if<double>(&value); }
  const std::string* text() const { return std::get_if<std::string>(&value); }
  const Point* point() const { return std::get_if<Point>(&value); }
  const Size* size() const { return std::get_if<Size>(&value); }
  const AXElement* element() const { return std::get_if<AXElement>(&value); }
  const List* list() const { return std::get_if<List>(&value); }
};

// A call's result code and, on success, its value.
template <typename T>
struct AXResult {
  AXError error = ax::success;
  std::optional<T> value;
  static AXResult failed(AXError code) { return AXResult{.error = code}; }
};

// Accessibility notifications from one process; destroying it removes its run-loop source and
// releases it. The callback runs on the main thread.
class AXObserver {
 public:
  virtual ~AXObserver() = default;
  virtual AXError addNotification(const AXElement& element, const std::string& notification) = 0;
};

using AXNotificationHandler = std::function<void(const AXElement& element, const std::string& notification)>;

}  // namespace tarvolo::platform
