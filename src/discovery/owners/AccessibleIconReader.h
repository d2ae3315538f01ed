#pragma once

// Reads other applications' menu-bar items through Accessibility, on a background queue: one
// application that does not answer costs a reading a short time-out and never the main thread.
// A newer reading supersedes an older one; applications still launching are left out and read
// once they have finished, or once they have had long enough. The last reading stays until the
// next one or until it is forgotten. Main thread only, except the reading itself.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"

namespace tarvolo {

class AccessibleIconReader {
 public:
  // Applications still launching are read again this long after a reading that skipped them.
  static constexpr double launchingRereadDelay = 1.0;
  // Some applications never say they have finished launching: this long after their start they
  // are read all the same.
  static constexpr double launchingSkipLimit = 10.0;
  static constexpr std::string_view queueLabel = "com.ostrand.tarvolo.catalog-accessibility";

  struct Target {
    int pid = 0;
    std::string bundleID;
  };
  struct Dependencies {
    platform::Platform& platform;
    // The applications to read, asked at the start of every reading.
    std::function<std::vector<Target>()> targets;
    // Whether readings are wanted now; one that arrives once they are not is dropped.
    std::function<bool()> wanted;
    // Runs on the main thread when a reading that is still current has arrived.
    std::function<void()> delivered;
  };

  explicit AccessibleIconReader(Dependencies dependencies);
  ~AccessibleIconReader();
  AccessibleIconReader(const AccessibleIconReader&) = delete;
  AccessibleIconReader& operator=(const AccessibleIconReader&) = delete;

  // Starts a reading, unless readings are not wanted.
  void read();
  // The last reading, as window descriptions owned by each application's bundle identifier.
  const std::vector<platform::WindowInfo>& lastReading() const { return icons_; }
  void forget() { icons_.clear(); }

 private:
  void arrived(std::uint64_t generation, std::vector<platform::WindowInfo> windows);

  platform::Platform& platform_;
  std::function<std::vector<Target>()> targets_;
  std::function<bool()> wanted_;
  std::function<void()> delivered_;
  MainThreadChecker mainThread_;
  std::vector<platform::WindowInfo> icons_;
  std::uint64_t generation_ = 0;
  // The newest generation, for the queue to skip readings already superseded.
  std::shared_ptr<std::atomic<std::uint64_t>> latest_ = std::make_shared<std::atomic<std::uint64_t>>(0);
  // Applications the last reading left out because they were still launching, lower-cased.
  std::vector<std::string> launchingSkipped_;
  std::shared_ptr<platform::SerialQueue> queue_;
  WorkItem rereadWork_;
  WeakHandleFactory<AccessibleIconReader> weakFactory_{this};
};

}  // namespace tarvolo
