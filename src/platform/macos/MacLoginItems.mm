// The login item through ServiceManagement's SMAppService (macOS 13+).
//
// OS quirks handled here:
// - The SDK subset has no ServiceManagement header: the framework is loaded with dlopen and the
//   class reached by name; the methods used are declared below as they exist at run time.
// - status: 0 not registered, 1 enabled, 2 requires approval, 3 not found.
// - Registering may leave the item awaiting the user's approval in System Settings.

#include "platform/macos/MacBackend.h"

#include <dlfcn.h>

@protocol TRVAppService <NSObject>
@property(readonly) NSInteger status;
- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
@end

@protocol TRVAppServiceClass <NSObject>
+ (id<TRVAppService>)mainAppService;
+ (void)openSystemSettingsLoginItems;
@end

namespace tarvolo::platform::mac {

namespace {

Class<TRVAppServiceClass> appServiceClass() {
  static Class cls = [] {
    dlopen("/System/Library/Frameworks/ServiceManagement.framework/ServiceManagement", RTLD_LAZY);
    return NSClassFromString(@"SMAppService");
  }();
  if (!cls || ![cls respondsToSelector:@selector(mainAppService)]) return nil;
  return (Class<TRVAppServiceClass>)cls;
}

id<TRVAppService> mainAppService() {
  Class<TRVAppServiceClass> cls = appServiceClass();
  return cls ? [cls mainAppService] : nil;
}

std::string describe(NSError* error) {
  if (!error) return "unknown error";
  const char* text = error.localizedDescription.UTF8String;
  return std::string(text ? text : "unknown error") + " (" +
         std::to_string(static_cast<long>(error.code)) + ")";
}

}  // namespace

LoginItemStatus MacLoginItemService::status() const {
  id<TRVAppService> service = mainAppService();
  if (!service) return LoginItemStatus::notFound;
  switch (service.status) {
    case 0: return LoginItemStatus::notRegistered;
    case 1: return LoginItemStatus::enabled;
    case 2: return LoginItemStatus::requiresApproval;
    default: return LoginItemStatus::notFound;
  }
}

std::optional<std::string> MacLoginItemService::registerMainApp() {
  id<TRVAppService> service = mainAppService();
  if (!service) return std::string("the login-item service is unavailable");
  NSError* error = nil;
  if ([service registerAndReturnError:&error]) return std::nullopt;
  return describe(error);
}

std::optional<std::string> MacLoginItemService::unregisterMainApp() {
  id<TRVAppService> service = mainAppService();
  if (!service) return std::string("the login-item service is unavailable");
  NSError* error = nil;
  if ([service unregisterAndReturnError:&error]) return std::nullopt;
  return describe(error);
}

void MacLoginItemService::openSystemSettingsLoginItems() {
  if (Class<TRVAppServiceClass> cls = appServiceClass()) [cls openSystemSettingsLoginItems];
}

}  // namespace tarvolo::platform::mac
