#include "discovery/owners/AccessibleIconReader.h"

#include <set>
#include <utility>

#include "base/Log.h"
#include "base/Text.h"

namespace tarvolo {

AccessibleIconReader::AccessibleIconReader(Dependencies dependencies)
    : platform_(dependencies.platform),
      targets_(std::move(dependencies.targets)),
      wanted_(std::move(dependencies.wanted)),
      delivered_(std::move(dependencies.delivered)),
      queue_(dependencies.platform.makeSerialQueue(std::string(queueLabel))),
      rereadWork_(dependencies.platform.mainQueue()) {}

AccessibleIconReader::~AccessibleIconReader() = default;

void AccessibleIconReader::read() {
  mainThread_.check();
  if (!wanted_()) return;
  const std::uint64_t generation = ++generation_;
  latest_->store(generation);

  // One still setting itself up may not answer for a while; it is read once it has finished.
  const double now = platform_.clock().currentDate();
  std::set<int> stillLaunching;
  for (const auto& app : platform_.workspace().runningApplications()) {
    if (!app.finishedLaunching && app.launchDate && now - *app.launchDate < launchingSkipLimit) {
      stillLaunching.insert(app.pid);
    }
  }
  std::vector<Target> targets;
  std::vector<std::string> launching;
  for (auto& target : targets_()) {
    if (stillLaunching.contains(target.pid)) {
      launching.push_back(text::lowercased(target.bundleID));
      continue;
    }
    targets.push_back(std::move(target));
  }
  if (launching != launchingSkipped_ && !launching.empty()) {
    MenuBarLog::log(LogLine("catalog read deferred").add("launching", std::set<std::string>(launching.begin(), launching.end())));
  }
  launchingSkipped_ = launching;
  if (launching.empty()) {
    rereadWork_.cancel();
  } else {
    rereadWork_.schedule(launchingRereadDelay, bindWeak(weakFactory_.handle(), &AccessibleIconReader::read));
  }

  queue_->post(0, [queue = queue_, &accessibility = platform_.accessibility(), latest = latest_, generation,
                   targets = std::move(targets),
                   done = bindWeak(weakFactory_.handle(), &AccessibleIconReader::arrived, generation)] {
    // Superseded before it started: the newer reading is already queued behind it.
    if (latest->load() != generation) return;
    std::vector<platform::WindowInfo> windows;
    for (const auto& target : targets) {
      auto elements = accessibility.extrasMenuBarItems(target.pid);
      if (!elements) continue;
      for (const auto& element : *elements) {
        if (!element.frame) continue;
        // Owned by the identifier, so that matching is exact.
        windows.push_back({.ownerName = target.bundleID, .ownerPid = target.pid, .bounds = element.frame});
      }
    }
    queue->postToMain([done, windows = std::move(windows)]() mutable { done(std::move(windows)); });
  });
}

void AccessibleIconReader::arrived(std::uint64_t generation, std::vector<platform::WindowInfo> windows) {
  mainThread_.check();
  if (generation != generation_ || !wanted_()) {
    MenuBarLog::log(LogLine("catalog read dropped").add("generation", generation).add("current", generation_));
    return;
  }
  icons_ = std::move(windows);
  delivered_();
}

}  // namespace tarvolo
