// Built only where the framework's headers are. Its classes are looked up by name once it is loaded: a class named in
// the code would have to be linked, and the agent could not start without the framework.

#include "platform/macos/SparkleUpdater.hpp"

#import <Foundation/Foundation.h>
#import <Sparkle/Sparkle.h>

#include <string>
#include <type_traits>

#include "base/Require.hpp"
#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {
namespace {

void requireMainThread() {
  require(NSThread.isMainThread, "updates are an affair of the main thread");
}

/// What the delegate answers; no from one that is silenced. An exception ends here, not in the framework.
template <typename Call>
auto hears(UpdaterDelegate* delegate, const Call& call) noexcept {
  requireMainThread();
  using Answer = decltype(call(*delegate));
  if constexpr (std::is_void_v<Answer>) {
    if (delegate != nullptr) call(*delegate);
  } else {
    return delegate != nullptr && call(*delegate) ? YES : NO;
  }
}

UpdateItem itemOf(SUAppcastItem* update) {
  return {utf8Text(update.displayVersionString)};
}

}  // namespace
}  // namespace tallyfox::mac_os

/// Passes on what the framework asks and tells, until it is silenced.
@interface TallyfoxUserDriverDelegate : NSObject <SPUStandardUserDriverDelegate>
- (instancetype)initWithDelegate:(tallyfox::UpdaterDelegate*)delegate;
- (void)silence;
@end

@implementation TallyfoxUserDriverDelegate {
  tallyfox::UpdaterDelegate* _delegate;
}

- (instancetype)initWithDelegate:(tallyfox::UpdaterDelegate*)delegate {
  if ((self = [super init])) _delegate = delegate;
  return self;
}

- (void)silence {
  _delegate = nullptr;
}

- (BOOL)supportsGentleScheduledUpdateReminders {
  return tallyfox::mac_os::hears(_delegate, [](auto& heard) { return heard.supportsGentleScheduledUpdateReminders(); });
}

- (BOOL)standardUserDriverShouldHandleShowingScheduledUpdate:(SUAppcastItem*)update
                                         andInImmediateFocus:(BOOL)immediateFocus {
  return tallyfox::mac_os::hears(_delegate, [&](auto& heard) {
    return heard.shouldHandleShowingScheduledUpdate(tallyfox::mac_os::itemOf(update), immediateFocus != NO);
  });
}

- (void)standardUserDriverWillHandleShowingUpdate:(BOOL)handleShowingUpdate
                                        forUpdate:(SUAppcastItem*)update
                                            state:(SPUUserUpdateState*)state {
  tallyfox::mac_os::hears(_delegate, [&](auto& heard) {
    heard.willHandleShowingUpdate(handleShowingUpdate != NO, tallyfox::mac_os::itemOf(update));
  });
}

- (void)standardUserDriverDidReceiveUserAttentionForUpdate:(SUAppcastItem*)update {
  tallyfox::mac_os::hears(_delegate,
                          [&](auto& heard) { heard.didReceiveUserAttention(tallyfox::mac_os::itemOf(update)); });
}

- (void)standardUserDriverWillFinishUpdateSession {
  tallyfox::mac_os::hears(_delegate, [](auto& heard) { heard.willFinishUpdateSession(); });
}

@end

namespace tallyfox::mac_os {
namespace {

/// The framework's controller, which keeps its delegate weakly.
class RunningSparkle : public RunningUpdater {
 public:
  RunningSparkle(Class controllerClass, UpdaterDelegate& delegate, Console& console)
      : delegate_([[TallyfoxUserDriverDelegate alloc] initWithDelegate:&delegate]) {
    @try {
      controller_ =
          [static_cast<SPUStandardUpdaterController*>([controllerClass alloc]) initWithStartingUpdater:YES
                                                                                       updaterDelegate:nil
                                                                                    userDriverDelegate:delegate_];
    } @catch (NSException* exception) {
      console.printLine("Unable to start updates: " + utf8Text(exception.reason));
    }
  }
  ~RunningSparkle() override { [delegate_ silence]; }

  void checkForUpdates() override {
    requireMainThread();
    [controller_ checkForUpdates:nil];
  }

 private:
  TallyfoxUserDriverDelegate* delegate_;
  SPUStandardUpdaterController* controller_ = nil;
};

class LoadedSparkle : public Updater {
 public:
  LoadedSparkle(Class controllerClass, Console& console) : controllerClass_(controllerClass), console_(console) {}

  std::unique_ptr<RunningUpdater> start(UpdaterDelegate& delegate) override {
    requireMainThread();
    return std::make_unique<RunningSparkle>(controllerClass_, delegate, console_);
  }

 private:
  Class controllerClass_;
  Console& console_;
};

}  // namespace

std::unique_ptr<Updater> SparkleUpdater::load(Console& console) {
  requireMainThread();
  NSString* const folder = NSBundle.mainBundle.privateFrameworksPath;
  if (folder == nil) return nullptr;
  NSBundle* const framework = [NSBundle bundleWithPath:[folder stringByAppendingPathComponent:@"Sparkle.framework"]];
  if (framework == nil) return nullptr;
  NSError* error = nil;
  if (![framework loadAndReturnError:&error]) {
    // It is there and does not load: a signature that does not fit, which the owner's reports should show.
    console.printLine("Unable to load the update framework: " + errorText(error));
    return nullptr;
  }
  const Class controllerClass = [framework classNamed:@"SPUStandardUpdaterController"];
  if (![controllerClass instancesRespondToSelector:@selector(initWithStartingUpdater:
                                                                     updaterDelegate:userDriverDelegate:)])
    return nullptr;
  return std::make_unique<LoadedSparkle>(controllerClass, console);
}

}  // namespace tallyfox::mac_os
