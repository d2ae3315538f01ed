// Time, the main queue, logging, the defaults store, system facts and the application object.
//
// OS quirks handled here:
// - Clock::now() reads the uptime clock that NSEvent timestamps and dispatch_after use, so event
//   times and scheduled delays compare directly; it stands still while the Mac sleeps.
// - dispatch_after cannot be revoked once submitted. Each block looks its task up by id when it
//   fires and finds nothing if the task was cancelled or the queue object is gone.
// - The unified log stores dynamic strings as <private> unless the format marks them public.
// - NSUserDefaults reads fall through to the global domain and registered defaults; the key
//   list is taken from the app's own persistent domain only.

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

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

void MacMainQueue::Pending::forget(TaskId id) {
  if (prompt.erase(id) == 0 || !prompt.empty() || !activity) return;
  [NSProcessInfo.processInfo endActivity:activity];
  activity = nil;
}

MacMainQueue::MacMainQueue() : pending_(std::make_shared<Pending>()) {}

TaskId MacMainQueue::post(double delaySeconds, std::function<void()> task) {
  TaskId id = 0;
  {
    std::lock_guard lock(pending_->mutex);
    id = ++pending_->lastId;
    pending_->tasks.emplace(id, std::move(task));
    if (delaySeconds > 0 && delaySeconds <= kPromptTaskDelay) {
      pending_->prompt.insert(id);
      if (!pending_->activity) {
        pending_->activity = [NSProcessInfo.processInfo
            beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                              reason:@"Measuring the menu bar after a change"];
      }
    }
  }
  std::weak_ptr<Pending> weakPending = pending_;
  dispatch_block_t block = ^{
    std::shared_ptr<Pending> pending = weakPending.lock();
    if (!pending) return;
    std::function<void()> run;
    {
      std::lock_guard lock(pending->mutex);
      auto it = pending->tasks.find(id);
      if (it == pending->tasks.end()) return;
      run = std::move(it->second);
      pending->tasks.erase(it);
      pending->forget(id);
    }
    if (run) run();
  };
  if (delaySeconds <= 0) {
    dispatch_async(dispatch_get_main_queue(), block);
  } else {
    auto nanoseconds = static_cast<int64_t>(delaySeconds * static_cast<double>(NSEC_PER_SEC));
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), dispatch_get_main_queue(), block);
  }
  return id;
}

void MacMainQueue::cancel(TaskId id) {
  std::function<void()> dropped;
  {
    std::lock_guard lock(pending_->mutex);
    auto it = pending_->tasks.find(id);
    if (it == pending_->tasks.end()) return;
    dropped = std::move(it->second);
    pending_->tasks.erase(it);
    pending_->forget(id);
  }
  // `dropped` dies here, outside the lock: its captures may cancel other tasks.
}

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

void MacApplication::setMainMenu(const Menu& menu) {
  NSMenu* main = [[NSMenu alloc] initWithTitle:@""];
  NSMenuItem* appItem = [[NSMenuItem alloc] initWithTitle:@"Tarvolo" action:nil keyEquivalent:@""];
  NSMenu* appMenu = [[NSMenu alloc] initWithTitle:@"Tarvolo"];
  menuTargets_ = [NSMutableArray array];
  for (const MenuItem& entry : menu.items) {
    if (entry.isSeparator) {
      [appMenu addItem:[NSMenuItem separatorItem]];
      continue;
    }
    TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:entry.perform];
    [menuTargets_ addObject:target];
    NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:nsString(entry.title)
                                                  action:@selector(perform:)
                                           keyEquivalent:nsString(entry.keyEquivalent)];
    item.target = target;
    [appMenu addItem:item];
  }
  appItem.submenu = appMenu;
  [main addItem:appItem];
  NSApplication.sharedApplication.mainMenu = main;
}

void MacApplication::openURL(const std::string& address) {
  NSURL* url = [NSURL URLWithString:nsString(address)];
  if (url) [NSWorkspace.sharedWorkspace openURL:url];
}

}  // namespace tarvolo::platform::mac
