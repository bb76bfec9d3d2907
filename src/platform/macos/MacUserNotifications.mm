#include "platform/macos/MacUserNotifications.hpp"

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>

#include <utility>

#include "base/CallbackGate.hpp"
#include "base/Lifetime.hpp"
#include "platform/macos/FoundationText.hpp"

/// Without a delegate the system keeps back what arrives while the application is in front, and the status window is
/// there at every launch.
@interface TallyfoxNotificationPresenter : NSObject <UNUserNotificationCenterDelegate>
@end

@implementation TallyfoxNotificationPresenter

- (void)userNotificationCenter:(UNUserNotificationCenter*)__unused center
       willPresentNotification:(UNNotification*)__unused notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler {
  completionHandler(UNNotificationPresentationOptionList | UNNotificationPresentationOptionBanner |
                    UNNotificationPresentationOptionSound);
}

@end

namespace tallyfox::mac_os {
namespace {

/// Asking for the centre throws in a process that the system does not know as an application: one without a bundle
/// identifier, or a bare executable that carries one.
UNUserNotificationCenter* notificationCenter() {
  NSBundle* const bundle = NSBundle.mainBundle;
  if (bundle.bundleIdentifier == nil || ![bundle.bundleURL.pathExtension isEqualToString:@"app"]) return nil;
  @try {
    return UNUserNotificationCenter.currentNotificationCenter;
  } @catch (NSException*) {
    return nil;
  }
}

using Answer = std::expected<bool, std::string>;

}  // namespace

struct MacUserNotifications::Impl {
  explicit Impl(SerialQueue& queue) : mainQueue(queue) { center.delegate = presenter; }
  ~Impl() {
    gate->close();
    center.delegate = nil;
  }

  SerialQueue& mainQueue;
  UNUserNotificationCenter* center = notificationCenter();
  /// The centre does not hold it.
  TallyfoxNotificationPresenter* presenter = [[TallyfoxNotificationPresenter alloc] init];
  /// Answers come on a thread of the system's.
  std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
  Lifetime lifetime;
};

MacUserNotifications::MacUserNotifications(SerialQueue& mainQueue) : impl_(std::make_unique<Impl>(mainQueue)) {}

MacUserNotifications::~MacUserNotifications() = default;

void MacUserNotifications::requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) {
  @autoreleasepool {
    SerialQueue& mainQueue = impl_->mainQueue;
    const auto guarded =
        std::make_shared<std::function<void(const Answer&)>>(impl_->lifetime.guard(std::move(completion)));
    const auto answer = [&mainQueue, guarded](Answer given) {
      mainQueue.post([guarded, given = std::move(given)] { (*guarded)(given); });
    };
    if (impl_->center == nil) return answer(std::unexpected("Notifications need an application bundle."));
    const std::shared_ptr<CallbackGate> gate = impl_->gate;
    const auto onAnswer = ^(BOOL granted, NSError* error) {
      std::function<void()> pass = [&] {
        answer(error == nil ? Answer(granted != NO) : std::unexpected(errorText(error)));
      };
      gate->call(pass);
    };
    [impl_->center requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                                 completionHandler:onAnswer];
  }
}

void MacUserNotifications::add(const UserNotification& notification) {
  if (impl_->center == nil) return;
  @autoreleasepool {
    UNMutableNotificationContent* const content = [[UNMutableNotificationContent alloc] init];
    content.title = foundationText(notification.title);
    content.body = foundationText(notification.body);
    content.sound = UNNotificationSound.defaultSound;
    UNNotificationRequest* const request =
        [UNNotificationRequest requestWithIdentifier:foundationText(notification.identifier)
                                             content:content
                                             trigger:nil];
    [impl_->center addNotificationRequest:request withCompletionHandler:nil];
  }
}

}  // namespace tallyfox::mac_os
