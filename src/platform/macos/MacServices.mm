// Time, the main queue, logging, the defaults store, system facts and the application object.
//
// OS quirks handled here:
// - Clock::now() reads the uptime clock that NSEvent timestamps and dispatch_after use, so event
//   times and scheduled delays compare directly; it stands still while the Mac sleeps.
// - dispatch_after cannot be revoked once submitted; MacPendingTasks keeps the tasks by id.
// - The unified log stores dynamic strings as <private> unless the format marks them public.
// - NSUserDefaults reads fall through to the global domain and registered defaults; the key
//   list is taken from the app's own persistent domain only.
// - An accessory app shows no menu bar, yet key equivalents still go through NSApp.mainMenu
//   while one of its windows is key: without Edit and Window menus, ⌘C/⌘V/⌘A/⌘Z do nothing in
//   its text fields and ⌘W closes nothing. The main menu is never seen; it carries them.

#include <pwd.h>
#include <sys/sysctl.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unordered_set>

#include "platform/macos/MacBackend.h"

namespace tarvolo::platform::mac {

double MacClock::now() const {
  return static_cast<double>(clock_gettime_nsec_np(CLOCK_UPTIME_RAW)) / 1e9;
}

double MacClock::currentDate() const { return [NSDate date].timeIntervalSince1970; }

namespace {

// App Nap may stretch an idle accessory app's short timers to seconds; the collapse probes and
// their verification are timed in tenths of a second.
constexpr double kPromptTaskDelay = 1.0;

}  // namespace

struct MacMainQueue::PromptTasks {
  std::unordered_set<TaskId> ids;
  id activity = nil;

  void added(TaskId id, double delaySeconds) {
    if (delaySeconds <= 0 || delaySeconds > kPromptTaskDelay) return;
    ids.insert(id);
    if (activity) return;
    activity = [NSProcessInfo.processInfo beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                                            reason:@"Measuring the menu bar after a change"];
  }

  void removed(TaskId id) {
    if (ids.erase(id) == 0 || !ids.empty() || !activity) return;
    [NSProcessInfo.processInfo endActivity:activity];
    activity = nil;
  }
};

MacMainQueue::MacMainQueue() {
  // The table runs the hooks under its lock; they share the prompt tasks with it.
  auto prompt = std::make_shared<PromptTasks>();
  pending_ = MacPendingTasks::create({.added = [prompt](TaskId id, double delay) { prompt->added(id, delay); },
                                      .removed = [prompt](TaskId id) { prompt->removed(id); }});
}

TaskId MacMainQueue::post(double delaySeconds, std::function<void()> task) {
  return pending_->post(dispatch_get_main_queue(), delaySeconds, std::move(task));
}

void MacMainQueue::cancel(TaskId id) { pending_->cancel(id); }

MacLogSink::MacLogSink()
    : menubar_(os_log_create("com.ostrand.tarvolo", "menubar")), state_(os_log_create("com.ostrand.tarvolo", "state")) {}

void MacLogSink::write(LogCategory category, std::string_view message) {
  std::string text(message);
  switch (category) {
    case LogCategory::menubar: os_log(menubar_, "%{public}s", text.c_str()); return;
    case LogCategory::state: os_log(state_, "%{public}s", text.c_str()); return;
  }
}

void MacLogSink::writeSystemLog(std::string_view line) {
  NSLog(@"%@", [[NSString alloc] initWithBytes:line.data() length:line.size() encoding:NSUTF8StringEncoding]);
}

void MacLogSink::writeStandardOutput(std::string_view line) {
  std::string text(line);
  if (text.empty() || text.back() != '\n') text.push_back('\n');
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

namespace {

NSString* ownDefaultsDomain() {
  NSString* identifier = NSBundle.mainBundle.bundleIdentifier;
  return identifier ? identifier : NSProcessInfo.processInfo.processName;
}

}  // namespace

std::optional<DefaultsValue> MacDefaults::object(const std::string& key) const {
  id value = [NSUserDefaults.standardUserDefaults objectForKey:nsString(key)];
  if (!value) return std::nullopt;
  return defaultsValueFrom(value);
}

void MacDefaults::set(const std::string& key, DefaultsValue value) {
  [NSUserDefaults.standardUserDefaults setObject:propertyListFrom(value) forKey:nsString(key)];
}

void MacDefaults::remove(const std::string& key) {
  [NSUserDefaults.standardUserDefaults removeObjectForKey:nsString(key)];
}

std::vector<std::string> MacDefaults::keys() const {
  NSDictionary* domain = [NSUserDefaults.standardUserDefaults persistentDomainForName:ownDefaultsDomain()];
  std::vector<std::string> out;
  out.reserve(domain.count);
  for (id key in domain) {
    if ([key isKindOfClass:[NSString class]]) out.push_back(stdString(key));
  }
  std::sort(out.begin(), out.end());
  return out;
}

int MacSystemInfo::osMajorVersion() const {
  auto reported = static_cast<int>(NSProcessInfo.processInfo.operatingSystemVersion.majorVersion);
  struct utsname name {};
  int darwinMajor = uname(&name) == 0 ? std::atoi(name.release) : 0;
  return effectiveOSMajorVersion(reported, darwinMajor);
}

std::optional<std::string> MacSystemInfo::osBuildVersion() const {
  char build[64] = {};
  size_t size = sizeof(build);
  if (sysctlbyname("kern.osversion", build, &size, nullptr, 0) != 0 || build[0] == '\0') return std::nullopt;
  return std::string(build);
}

std::vector<std::string> MacSystemInfo::preferredLanguages() const {
  std::vector<std::string> out;
  for (NSString* language in [NSLocale preferredLanguages]) out.push_back(stdString(language));
  return out;
}

std::vector<std::string> MacSystemInfo::processArguments() const {
  NSArray<NSString*>* arguments = NSProcessInfo.processInfo.arguments;
  std::vector<std::string> out;
  for (NSUInteger i = 1; i < arguments.count; ++i) out.push_back(stdString(arguments[i]));
  return out;
}

std::string MacSystemInfo::ownBundleIdentifier() const { return stdString(NSBundle.mainBundle.bundleIdentifier); }

void MacApplication::setActivationPolicy(ActivationPolicy policy) {
  [NSApplication.sharedApplication setActivationPolicy:nsActivationPolicy(policy)];
}

ActivationPolicy MacApplication::activationPolicy() const {
  return activationPolicyFrom(NSApplication.sharedApplication.activationPolicy);
}

// The user database's entry, not $HOME, which a sandbox or a launcher may have changed.
std::string MacSystemInfo::homeDirectory() const {
  if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir && entry->pw_dir[0] != '\0') {
    return entry->pw_dir;
  }
  return stdString(NSHomeDirectory());
}

void MacApplication::terminate() { [NSApplication.sharedApplication terminate:nil]; }

void MacApplication::setMainMenu(const Menu& appCommands) {
  NSMenu* main = [[NSMenu alloc] initWithTitle:@""];
  menuTargets_ = [NSMutableArray array];
  for (const MainMenuSection& section : mainMenuWith(appCommands).sections) {
    NSMenu* menu = [[NSMenu alloc] initWithTitle:nsString(section.title)];
    for (const MainMenuItem& entry : section.items) {
      if (entry.isSeparator) {
        [menu addItem:[NSMenuItem separatorItem]];
        continue;
      }
      // A standard command has no target: AppKit sends it along the responder chain, to the
      // focused field or the key window.
      SEL action = entry.responderAction ? NSSelectorFromString(nsString(selectorName(*entry.responderAction)))
                                         : @selector(perform:);
      NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:nsString(entry.title)
                                                    action:action
                                             keyEquivalent:nsString(entry.keyEquivalent)];
      item.keyEquivalentModifierMask =
          NSEventModifierFlagCommand | (entry.shift ? NSEventModifierFlagShift : NSEventModifierFlags{0});
      if (!entry.responderAction) {
        TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:entry.perform];
        [menuTargets_ addObject:target];
        item.target = target;
      }
      [menu addItem:item];
    }
    NSMenuItem* holder = [[NSMenuItem alloc] initWithTitle:nsString(section.title) action:nil keyEquivalent:@""];
    holder.submenu = menu;
    [main addItem:holder];
  }
  NSApplication.sharedApplication.mainMenu = main;
}

void MacApplication::copyToPasteboard(const std::string& text) {
  NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
  [pasteboard clearContents];
  [pasteboard setString:nsString(text) forType:NSPasteboardTypeString];
}

void MacApplication::openURL(const std::string& address) {
  NSURL* url = [NSURL URLWithString:nsString(address)];
  if (url) [NSWorkspace.sharedWorkspace openURL:url];
}

}  // namespace tarvolo::platform::mac
