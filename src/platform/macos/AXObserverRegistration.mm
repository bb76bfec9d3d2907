#include "platform/macos/AXObserverRegistration.hpp"

#include <array>
#include <chrono>
#include <utility>

#include "platform/macos/AXValueCoding.hpp"
#include "platform/macos/CFText.hpp"
#include "platform/macos/CallbackTokens.hpp"
#include "platform/macos/MacElement.hpp"
#include "platform/macos/MessagingTimeouts.hpp"
#include "platform/macos/ProcessStatus.hpp"

namespace tallyfox::mac_os {
namespace {

/// The system's callback gets no more than one pointer. Never destroyed: a callback may come while the program ends.
CallbackTokens<AXObserverRegistration::Receiver>& tokens() {
  static auto& all = *new CallbackTokens<AXObserverRegistration::Receiver>;
  return all;
}

/// A large program takes seconds to start.
constexpr std::array pausesBeforeTries = {Seconds{1}, Seconds{3}, Seconds{10}};

/// A call and whether it was waited for rather than refused.
struct Waited {
  ::AXError error = kAXErrorSuccess;
  bool isTimedOut = false;
};

template <typename Call>
Waited waitedFor(Call call) {
  const auto start = std::chrono::steady_clock::now();
  Waited waited{.error = call()};
  const Seconds elapsed = std::chrono::steady_clock::now() - start;
  waited.isTimedOut = waited.error == kAXErrorCannotComplete && elapsed >= MessagingTimeouts::standard / 2;
  return waited;
}

}  // namespace

AXObserverRegistration::AXObserverRegistration(AXUIElement application, CFRef<AXObserverRef> observer,
                                               SerialQueue& mainQueue, std::shared_ptr<Receiver> receiver)
    : application_(std::move(application)),
      observer_(std::move(observer)),
      receiver_(std::move(receiver)),
      token_(tokens().add(receiver_)),
      mainQueue_(mainQueue) {
  CFRunLoopAddSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer_.get()), kCFRunLoopCommonModes);
}

AXObserverRegistration::~AXObserverRegistration() {
  tokens().remove(token_);
  const MacElement& application = *MacElement::of(application_);
  if (isProcessRunning(application.processIdentifier())) {
    for (const std::string& notification : added_) {
      const Waited removal = waitedFor([&] {
        return AXObserverRemoveNotification(observer_.get(), application.object(), cfString(notification).get());
      });
      // The system drops what is left with the observer.
      if (removal.isTimedOut) break;
    }
  }
  CFRunLoopRemoveSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer_.get()), kCFRunLoopCommonModes);
}

void AXObserverRegistration::receive(AXObserverRef, AXUIElementRef, CFStringRef notification, void* token) {
  if (const auto receiver = tokens().find(token)) receiver->tell(textOf(notification));
}

std::expected<AXObserverRegistration::Result, AXError> AXObserverRegistration::made(
    const AXUIElement& application, const std::vector<std::string>& notifications, SerialQueue& mainQueue,
    std::shared_ptr<Receiver> receiver) {
  const MacElement* element = MacElement::of(application);
  if (element == nullptr || element->object() == nullptr) return std::unexpected(AXError::invalidElement);
  element->setTimeout(MessagingTimeouts::standard);
  AXObserverRef created = nullptr;
  const ::AXError creation = AXObserverCreate(element->processIdentifier(), &receive, &created);
  auto observer = CFRef<AXObserverRef>::adopt(created);
  if (creation != kAXErrorSuccess || !observer) {
    // Whatever the reason given: the only argument that can be wrong is the process.
    const bool isRunning = isProcessRunning(element->processIdentifier());
    return std::unexpected(isRunning ? AXError::cannotComplete : AXError::invalidElement);
  }
  Result result;
  result.registration =
      std::make_unique<AXObserverRegistration>(application, std::move(observer), mainQueue, std::move(receiver));
  AXObserverRegistration& registration = *result.registration;
  if (const auto added = registration.add(notifications); !added) return std::unexpected(added.error());
  result.isTimedOut = registration.isTimedOut_;
  if (registration.added_.empty() && !registration.refused_.empty()) {
    result.registration.reset();
  } else {
    registration.scheduleAnotherTry();
  }
  return result;
}

std::expected<void, AXError> AXObserverRegistration::add(const std::vector<std::string>& notifications) {
  const MacElement& application = *MacElement::of(application_);
  refused_.clear();
  isTimedOut_ = false;
  for (const std::string& notification : notifications) {
    if (isTimedOut_) {
      refused_.push_back(notification);
      continue;
    }
    const Waited addition = waitedFor([&] {
      return AXObserverAddNotification(observer_.get(), application.object(), cfString(notification).get(), token_);
    });
    if (addition.error == kAXErrorSuccess || addition.error == kAXErrorNotificationAlreadyRegistered) {
      added_.push_back(notification);
      continue;
    }
    const AXError reason = errorOf(addition.error, application.processIdentifier());
    if (reason == AXError::invalidElement || reason == AXError::notTrusted) return std::unexpected(reason);
    isTimedOut_ = addition.isTimedOut;
    if (reason == AXError::cannotComplete) refused_.push_back(notification);
  }
  return {};
}

void AXObserverRegistration::scheduleAnotherTry() {
  if (refused_.empty() || tries_ == pausesBeforeTries.size()) return;
  anotherTry_ = mainQueue_.after(pausesBeforeTries.at(tries_++), [this] {
    const std::vector<std::string> wanted = std::exchange(refused_, {});
    if (add(wanted)) scheduleAnotherTry();
  });
}

}  // namespace tallyfox::mac_os
