#pragma once

#include <cassert>
#include <thread>

namespace tarvolo {

// Catches owners used off the main thread in debug builds; costs nothing in release builds.
class MainThreadChecker {
 public:
  void check() const {
#ifndef NDEBUG
    assert(owner_ == std::this_thread::get_id() && "main-thread owner used from another thread");
#endif
  }

 private:
#ifndef NDEBUG
  std::thread::id owner_ = std::this_thread::get_id();
#endif
};

}  // namespace tarvolo
