#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/Subscription.h"
#include "platform/Platform.h"

namespace tarvolo {

// Names posted on the app's two centers.
namespace Notifications {
// Default center: the app's own.
inline constexpr const char* itemCategoryDidChange = "itemCategoryDidChange";
inline constexpr const char* menuBarCatalogDidChange = "menuBarCatalogDidChange";
inline constexpr const char* nativeVisibilityAvailabilityDidChange = "nativeVisibilityAvailabilityDidChange";
inline constexpr const char* appLanguageDidChange = "appLanguageDidChange";
// Default center: the system's.
inline constexpr const char* applicationDidChangeScreenParameters = "applicationDidChangeScreenParameters";
inline constexpr const char* menuDidBeginTracking = "menuDidBeginTracking";
inline constexpr const char* menuDidEndTracking = "menuDidEndTracking";
inline constexpr const char* currentLocaleDidChange = "currentLocaleDidChange";
// Workspace center.
inline constexpr const char* workspaceDidWake = "workspaceDidWake";
inline constexpr const char* activeSpaceDidChange = "activeSpaceDidChange";
inline constexpr const char* didLaunchApplication = "didLaunchApplication";
inline constexpr const char* didTerminateApplication = "didTerminateApplication";
inline constexpr const char* didActivateApplication = "didActivateApplication";
}  // namespace Notifications

struct Notification {
  std::string name;
  // The application the workspace notifications are about.
  std::optional<platform::RunningApplication> application;
  std::map<std::string, std::string> userInfo;
};

class NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  NotificationCenter() : observers_(std::make_shared<Observers>()) {}

  // The handler runs synchronously inside post(); handlers that must hop to the main queue do so
  // themselves (see `onMainQueue`).
  [[nodiscard]] Subscription addObserver(std::string name, Handler handler);
  void post(const Notification& notification);
  void post(const std::string& name) { post(Notification{.name = name}); }

 private:
  struct Entry {
    std::string name;
    Handler handler;
  };
  struct Observers {
    unsigned long long nextId = 0;
    std::map<unsigned long long, Entry> entries;
  };
  std::shared_ptr<Observers> observers_;
};

// Wraps a handler so it runs asynchronously on the main queue, as the app's observers do.
NotificationCenter::Handler onMainQueue(platform::MainQueue& queue, NotificationCenter::Handler handler);

}  // namespace tarvolo
