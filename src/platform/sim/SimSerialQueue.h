#pragma once

// A serial background queue on the desktop's virtual clock. The simulator runs on one thread, so
// "running on the main thread and waiting" is a plain call; what a task's calls cost (a process
// that does not answer Accessibility makes its caller wait out the messaging time-out) delays
// the queue's next task and the results the task hands to the main thread, as waiting would.

#include <functional>
#include <memory>
#include <map>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace tarvolo::sim {

class SimMainQueue;
class SimWaitLedger;

class SimSerialQueue final : public platform::SerialQueue {
 public:
  SimSerialQueue(SimMainQueue& mainQueue, SimWaitLedger& waits, std::string label);
  ~SimSerialQueue() override;

  platform::TaskId post(double delaySeconds, std::function<void()> task) override;
  void cancel(platform::TaskId id) override;
  void runOnMainSync(const std::function<void()>& task) override { task(); }
  void postToMain(std::function<void()> task) override;

  const std::string& label() const { return label_; }

 private:
  void run(platform::TaskId id, std::function<void()> task);

  SimMainQueue& mainQueue_;
  SimWaitLedger& waits_;
  std::string label_;
  double busyUntil_ = 0;
  bool inTask_ = false;
  std::vector<std::function<void()>> toMain_;
  platform::TaskId nextId_ = 0;
  // Our ids to the main queue's, for tasks not yet run.
  std::map<platform::TaskId, platform::TaskId> pending_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace tarvolo::sim
