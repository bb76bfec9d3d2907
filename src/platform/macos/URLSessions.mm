#include "platform/macos/URLSessions.hpp"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/macos/NetworkErrors.hpp"

namespace tallyfox::mac_os {

dispatch_queue_t makeNetworkQueue(const char* label) {
  return dispatch_queue_create(label, dispatch_queue_attr_make_with_autorelease_frequency(
                                          DISPATCH_QUEUE_SERIAL, DISPATCH_AUTORELEASE_FREQUENCY_WORK_ITEM));
}

void runOn(dispatch_queue_t queue, std::function<void()> work) {
  // A block copies what it captures; messages are large.
  const auto held = std::make_shared<std::function<void()>>(std::move(work));
  dispatch_async(queue, ^{
    (*held)();
  });
}

void runOnAfter(dispatch_queue_t queue, Seconds delay, std::function<void()> work) {
  constexpr double dayInSeconds = 86'400;
  const double seconds = std::clamp(delay.count(), 0.0, 365 * dayInSeconds);
  const auto held = std::make_shared<std::function<void()>>(std::move(work));
  const auto nanoseconds = static_cast<std::int64_t>(seconds * static_cast<double>(NSEC_PER_SEC));
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), queue, ^{
    (*held)();
  });
}

NSURLSession* makeSession(id<NSURLSessionDelegate> delegate, Seconds timeout) {
  NSURLSessionConfiguration* const configuration = NSURLSessionConfiguration.ephemeralSessionConfiguration;
  configuration.URLCache = nil;
  configuration.HTTPCookieStorage = nil;
  configuration.HTTPShouldSetCookies = NO;
  configuration.HTTPCookieAcceptPolicy = NSHTTPCookieAcceptPolicyNever;
  configuration.timeoutIntervalForRequest = timeout.count();
  configuration.timeoutIntervalForResource = timeout.count();
  NSOperationQueue* const queue = [[NSOperationQueue alloc] init];
  queue.maxConcurrentOperationCount = 1;
  return [NSURLSession sessionWithConfiguration:configuration delegate:delegate delegateQueue:queue];
}

NSMutableURLRequest* makeRequest(const std::string& address, const HeaderList& headers, Seconds timeout) {
  NSString* const text = stringOf(address);
  NSURL* const url = text == nil ? nil : [NSURL URLWithString:text];
  if (url == nil) return nil;
  NSMutableURLRequest* const request = [NSMutableURLRequest requestWithURL:url];
  request.timeoutInterval = timeout.count();
  request.HTTPShouldHandleCookies = NO;
  for (const auto& [name, value] : headers) {
    NSString* const nameText = stringOf(name);
    NSString* const valueText = stringOf(value);
    if (nameText == nil || valueText == nil) return nil;
    [request setValue:valueText forHTTPHeaderField:nameText];
  }
  return request;
}

NSString* stringOf(const std::string& utf8) {
  return [[NSString alloc] initWithBytes:utf8.data() length:utf8.size() encoding:NSUTF8StringEncoding];
}

TransportError transportErrorOf(NSError* error) {
  if (error == nil) return {connectionLostText};
  return {networkErrorDescription(error.domain.UTF8String, error.code)};
}

}  // namespace tallyfox::mac_os
