// The Mac backend's test target: the platform contract and the backend's own checks, on the
// real system. They need a logged-in session (status items, screens and windows talk to the
// window server): `./build-macos --test`.

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
  @autoreleasepool {
    ::testing::InitGoogleTest(&argc, argv);
    NSApplication* application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    [application finishLaunching];
    return RUN_ALL_TESTS();
  }
}
