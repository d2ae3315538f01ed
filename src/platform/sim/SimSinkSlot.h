#pragma once

// Where the desktop reports system events: the app's sink while its process has set one.

#include "platform/Platform.h"

namespace tarvolo::sim {

class SimSinkSlot {
 public:
  void set(platform::SystemEventSink* sink) { sink_ = sink; }
  // Calls `report` with the sink; does nothing while there is none.
  template <typename Report>
  void report(Report&& report) {
    if (sink_) report(*sink_);
  }

 private:
  platform::SystemEventSink* sink_ = nullptr;
};

}  // namespace tarvolo::sim
