#pragma once

#include <memory>

namespace tarvolo {

// A non-owning reference that turns null once its owner is gone. Main-thread only.
template <typename T>
class WeakHandle {
 public:
  WeakHandle() = default;
  T* get() const { return control_ ? *control_ : nullptr; }
  explicit operator bool() const { return get() != nullptr; }
  T* operator->() const { return get(); }

 private:
  template <typename>
  friend class WeakHandleFactory;
  explicit WeakHandle(std::shared_ptr<T*> control) : control_(std::move(control)) {}
  std::shared_ptr<T*> control_;
};

// Declare the factory as the owner's last member, so handles die before the members they reach.
template <typename T>
class WeakHandleFactory {
 public:
  explicit WeakHandleFactory(T* owner) : control_(std::make_shared<T*>(owner)) {}
  ~WeakHandleFactory() { *control_ = nullptr; }
  WeakHandleFactory(const WeakHandleFactory&) = delete;
  WeakHandleFactory& operator=(const WeakHandleFactory&) = delete;

  WeakHandle<T> handle() const { return WeakHandle<T>(control_); }
  // Invalidates every handle given out so far.
  void invalidate() {
    T* owner = *control_;
    *control_ = nullptr;
    control_ = std::make_shared<T*>(owner);
  }

 private:
  std::shared_ptr<T*> control_;
};

}  // namespace tarvolo
