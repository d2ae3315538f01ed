#pragma once

#include <any>
#include <functional>
#include <map>
#include <string>

#include "base/MainQueue.h"
#include "base/ObserverList.h"

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
inline constexpr const char* applicationDidBecomeActive = "applicationDidBecomeActive";
// Workspace center.
inline constexpr const char* workspaceDidWake = "workspaceDidWake";
inline constexpr const char* activeSpaceDidChange = "activeSpaceDidChange";
inline constexpr const char* didLaunchApplication = "didLaunchApplication";
inline constexpr const char* didTerminateApplication = "didTerminateApplication";
inline constexpr const char* didActivateApplication = "didActivateApplication";
}  // namespace Notifications

struct Notification {
  std::string name;
  // What the notification is about; the workspace's carry the platform's running application.
  std::any object;
  std::map<std::string, std::string> userInfo;

  template <typename T>
  const T* objectAs() const {
    return std::any_cast<T>(&object);
  }
};

class NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  // The handler runs synchronously inside post(); handlers that must hop to the main queue do so
  // themselves (see `onMainQueue`).
  [[nodiscard]] Subscription addObserver(std::string name, Handler handler);
  void post(const Notification& notification);
  void post(const std::string& name) { post(Notification{.name = name}); }

 private:
  ObserverList<const Notification&> observers_;
};

// Wraps a handler so it runs asynchronously on the main queue, as the app's observers do.
NotificationCenter::Handler onMainQueue(MainQueue& queue, NotificationCenter::Handler handler);

}  // namespace tarvolo
