#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <cstddef>
#include <expected>
#include <memory>
#include <string>
#include <vector>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/macos/CFRef.hpp"
#include "platform/macos/QueuedCallback.hpp"

namespace tallyfox::mac_os {

/// One observer of one application: its notifications, and its source in the main run loop. Made and destroyed on the
/// main thread.
///
/// A program that is still starting refuses some notifications and takes others. The refused ones are asked for again a
/// few times, so that it is not heard half for good.
class AXObserverRegistration : public Subscription {
 public:
  using Receiver = QueuedCallback<std::string>;

  /// `registration` holds whatever was accepted; null when nothing was, because the application does not answer.
  struct Result {
    std::unique_ptr<AXObserverRegistration> registration;
    bool isTimedOut = false;
  };

  /// `application` is an element of the Mac's backend.
  [[nodiscard]] static std::expected<Result, AXError> made(const AXUIElement& application,
                                                           const std::vector<std::string>& notifications,
                                                           SerialQueue& mainQueue, std::shared_ptr<Receiver> receiver);
  AXObserverRegistration(AXUIElement application, CFRef<AXObserverRef> observer, SerialQueue& mainQueue,
                         std::shared_ptr<Receiver> receiver);
  ~AXObserverRegistration() override;
  AXObserverRegistration(const AXObserverRegistration&) = delete;
  AXObserverRegistration& operator=(const AXObserverRegistration&) = delete;

 private:
  static void receive(AXObserverRef observer, AXUIElementRef element, CFStringRef notification, void* token);
  /// Asks for all of these in one go, as long as there are answers. What is refused for now is left to be asked for
  /// again. The error is a reason to give the registration up.
  std::expected<void, AXError> add(const std::vector<std::string>& notifications);
  void scheduleAnotherTry();

  const AXUIElement application_;
  const CFRef<AXObserverRef> observer_;
  const std::shared_ptr<Receiver> receiver_;
  void* const token_;
  SerialQueue& mainQueue_;
  std::vector<std::string> added_;
  std::vector<std::string> refused_;
  bool isTimedOut_ = false;  ///< the last round ended with a silent application
  std::size_t tries_ = 0;
  ScheduledHandle anotherTry_;
};

}  // namespace tallyfox::mac_os
