#pragma once

#include <functional>
#include <memory>
#include <utility>

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

// A callable that runs `action` on the owner (a member function, or anything invocable with
// the owner first), with `bound` and then the call's own arguments; once the owner is gone,
// calling it does nothing.
template <typename T, typename Action, typename... Bound>
auto bindWeak(WeakHandle<T> handle, Action action, Bound... bound) {
  return [handle = std::move(handle), action = std::move(action), bound...](auto&&... rest) {
    if (T* owner = handle.get()) std::invoke(action, *owner, bound..., std::forward<decltype(rest)>(rest)...);
  };
}

}  // namespace tarvolo
