#include "platform/macos/MacAccessibilityObservers.hpp"

#import <Foundation/Foundation.h>

#include <chrono>
#include <map>
#include <utility>

#include "platform/macos/AXObserverRegistration.hpp"
#include "platform/macos/ProcessStatus.hpp"

using TrustChangeCallback = tallyfox::mac_os::QueuedCallback<>;

/// Told by the distributed notification centre, on the main thread.
@interface TallyfoxTrustChangeReceiver : NSObject
- (instancetype)initWithCallback:(std::unique_ptr<TrustChangeCallback>)callback;
- (void)accessibilityDidChange:(NSNotification*)notification;
/// Nothing is told from now on.
- (void)stop;
@end

@implementation TallyfoxTrustChangeReceiver {
  std::unique_ptr<TrustChangeCallback> _callback;
}

- (instancetype)initWithCallback:(std::unique_ptr<TrustChangeCallback>)callback {
  self = [super init];
  if (self != nil) _callback = std::move(callback);
  return self;
}

- (void)accessibilityDidChange:(NSNotification*)__unused notification {
  if (_callback) _callback->tell();
}

- (void)stop {
  _callback.reset();
}

@end

namespace tallyfox::mac_os {
namespace {

/// Shorter than the time after which a program that has just started is looked at again.
constexpr std::chrono::milliseconds pauseAfterSilence{1500};

class TrustObservation : public Subscription {
 public:
  explicit TrustObservation(std::unique_ptr<TrustChangeCallback> callback)
      : receiver_([[TallyfoxTrustChangeReceiver alloc] initWithCallback:std::move(callback)]) {
    [NSDistributedNotificationCenter.defaultCenter addObserver:receiver_
                                                      selector:@selector(accessibilityDidChange:)
                                                          name:@"com.apple.accessibility.api"
                                                        object:nil
                                            suspensionBehavior:NSNotificationSuspensionBehaviorDeliverImmediately];
  }
  ~TrustObservation() override {
    [NSDistributedNotificationCenter.defaultCenter removeObserver:receiver_];
    [receiver_ stop];
  }
  TrustObservation(const TrustObservation&) = delete;
  TrustObservation& operator=(const TrustObservation&) = delete;

 private:
  TallyfoxTrustChangeReceiver* receiver_;
};

}  // namespace

struct MacAccessibilityObservers::Impl {
  using Time = std::chrono::steady_clock::time_point;

  bool isLeftAlone(std::int32_t process) {
    std::erase_if(silentSince, [now = std::chrono::steady_clock::now()](const auto& entry) {
      return now - entry.second >= pauseAfterSilence;
    });
    return silentSince.contains(process);
  }

  SerialQueue& mainQueue;
  Accessibility& accessibility;
  std::map<std::int32_t, Time> silentSince;
};

MacAccessibilityObservers::MacAccessibilityObservers(SerialQueue& mainQueue, Accessibility& accessibility)
    : impl_(new Impl{mainQueue, accessibility, {}}) {}

MacAccessibilityObservers::~MacAccessibilityObservers() = default;

std::expected<std::unique_ptr<Subscription>, AXError> MacAccessibilityObservers::observe(
    std::int32_t processIdentifier, const std::vector<std::string>& notifications,
    std::function<void(const std::string& notification)> onNotification) {
  if (!isProcessRunning(processIdentifier)) return std::unexpected(AXError::invalidElement);
  if (!impl_->accessibility.isProcessTrusted()) return std::unexpected(AXError::notTrusted);
  if (impl_->isLeftAlone(processIdentifier)) return std::unexpected(AXError::cannotComplete);
  @autoreleasepool {
    auto result = AXObserverRegistration::made(
        impl_->accessibility.applicationElement(processIdentifier), notifications, impl_->mainQueue,
        std::make_shared<AXObserverRegistration::Receiver>(impl_->mainQueue, std::move(onNotification)));
    if (!result) return std::unexpected(result.error());
    if (result->isTimedOut) impl_->silentSince.insert_or_assign(processIdentifier, std::chrono::steady_clock::now());
    if (!result->registration) return std::unexpected(AXError::cannotComplete);
    return std::move(result->registration);
  }
}

std::unique_ptr<Subscription> MacAccessibilityObservers::observeTrustChanges(std::function<void()> onChange) {
  @autoreleasepool {
    return std::make_unique<TrustObservation>(
        std::make_unique<TrustChangeCallback>(impl_->mainQueue, std::move(onChange)));
  }
}

}  // namespace tallyfox::mac_os
