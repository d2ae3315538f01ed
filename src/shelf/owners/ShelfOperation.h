#pragma once

// The background procedures of the Icon Shelf (scans, opening a menu, the guarded click) run as
// steps on a serial queue. Each belongs to one operation that the main thread may cancel; every
// step checks it first and stops silently once it is gone or cancelled.

#include <atomic>
#include <memory>

namespace tarvolo {

class ShelfOperation {
 public:
  void cancel() { cancelled_.store(true); }
  bool isCancelled() const { return cancelled_.load(); }

 private:
  std::atomic<bool> cancelled_{false};
};

// Gone (its owner dropped it) counts as cancelled.
inline bool operationStopped(const std::weak_ptr<ShelfOperation>& operation) {
  auto alive = operation.lock();
  return !alive || alive->isCancelled();
}

}  // namespace tarvolo
