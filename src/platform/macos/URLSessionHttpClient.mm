#include "platform/macos/URLSessionHttpClient.hpp"

#import <Foundation/Foundation.h>

#include <string>
#include <utility>

#include "platform/macos/HttpCall.hpp"
#include "platform/macos/NetworkErrors.hpp"
#include "platform/macos/NetworkRequests.hpp"
#include "platform/macos/URLSessions.hpp"

/// Tells one call what the system tells of its task. Calls come on the session's queue and are passed on in their
/// order.
@interface TallyfoxHttpDelegate : NSObject <NSURLSessionDataDelegate>
- (instancetype)initWithCall:(std::shared_ptr<tallyfox::mac_os::HttpCall>)call queue:(dispatch_queue_t)queue;
@end

@implementation TallyfoxHttpDelegate {
  std::shared_ptr<tallyfox::mac_os::HttpCall> _call;
  dispatch_queue_t _queue;
}

- (instancetype)initWithCall:(std::shared_ptr<tallyfox::mac_os::HttpCall>)call queue:(dispatch_queue_t)queue {
  if ((self = [super init])) {
    _call = std::move(call);
    _queue = queue;
  }
  return self;
}

- (void)noteResponse:(NSURLResponse*)response {
  if (![response isKindOfClass:NSHTTPURLResponse.class]) return;
  const int status = static_cast<int>(static_cast<NSHTTPURLResponse*>(response).statusCode);
  tallyfox::mac_os::runOn(_queue, [call = _call, status] { call->answered(status); });
}

/// Refused: the redirect is the answer.
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler {
  [self noteResponse:response];
  completionHandler(nil);
}

- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
  [self noteResponse:response];
  completionHandler(NSURLSessionResponseCancel);
}

- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    didFinishCollectingMetrics:(NSURLSessionTaskMetrics*)metrics {
  NSString* const protocolName = metrics.transactionMetrics.lastObject.networkProtocolName;
  if (protocolName == nil) return;
  tallyfox::mac_os::runOn(_queue, [call = _call, name = std::string(protocolName.UTF8String)] { call->spoke(name); });
}

- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error {
  const tallyfox::TransportError reason = error == nil ? tallyfox::TransportError{tallyfox::mac_os::notHttpText}
                                                       : tallyfox::mac_os::transportErrorOf(error);
  tallyfox::mac_os::runOn(_queue, [call = _call, reason] { call->ended(reason); });
}

@end

namespace tallyfox::mac_os {
namespace {

class URLSessionExchange : public HttpExchange {
 public:
  URLSessionExchange(NSURLSessionTask* task, std::shared_ptr<CallbackGate> gate)
      : task_(task), gate_(std::move(gate)) {}
  ~URLSessionExchange() override {
    gate_->close();
    [task_ cancel];
  }

 private:
  NSURLSessionTask* task_;
  std::shared_ptr<CallbackGate> gate_;
};

NSURLRequest* requestOf(const HttpRequest& request) {
  const auto address = requestAddress(request.url, {"http", "https"});
  if (!address || !isSendable(request.method, request.headers)) return nil;
  NSMutableURLRequest* const urlRequest = makeRequest(*address, request.headers, request.timeout);
  urlRequest.HTTPMethod = stringOf(request.method);
  if (!request.body.empty())
    urlRequest.HTTPBody = [NSData dataWithBytes:request.body.data() length:request.body.size()];
  return urlRequest;
}

/// A request that is under way; nil when it is none. Its session, and what that keeps, goes with it.
NSURLSessionTask* begin(NSURLRequest* request, Seconds timeout, const std::shared_ptr<HttpCall>& call,
                        dispatch_queue_t queue) {
  if (request == nil) return nil;
  NSURLSession* session = nil;
  @try {
    session = makeSession([[TallyfoxHttpDelegate alloc] initWithCall:call queue:queue], timeout);
    NSURLSessionTask* const task = [session dataTaskWithRequest:request];
    [task resume];
    [session finishTasksAndInvalidate];
    return task;
  } @catch (NSException*) {
    [session invalidateAndCancel];
    return nil;
  }
}

}  // namespace

struct URLSessionHttpClient::Impl {
  dispatch_queue_t queue = makeNetworkQueue("tallyfox.http");
};

URLSessionHttpClient::URLSessionHttpClient() : impl_(std::make_unique<Impl>()) {}
URLSessionHttpClient::~URLSessionHttpClient() = default;

std::unique_ptr<HttpExchange> URLSessionHttpClient::send(
    const HttpRequest& request, std::function<void(std::expected<HttpResponse, TransportError>)> completion) {
  auto gate = std::make_shared<CallbackGate>();
  const auto call = std::make_shared<HttpCall>(std::move(completion), gate);
  NSURLSessionTask* task = nil;
  @autoreleasepool {
    task = begin(requestOf(request), request.timeout, call, impl_->queue);
  }
  if (task == nil) {
    runOn(impl_->queue, [call] { call->ended({invalidRequestText}); });
  } else {
    // The session counts from the last byte that came; this counts from the start.
    runOnAfter(impl_->queue, request.timeout, [weak = std::weak_ptr(call), task] {
      if (const auto pending = weak.lock()) pending->ended({timedOutText});
      [task cancel];
    });
  }
  return std::make_unique<URLSessionExchange>(task, std::move(gate));
}

}  // namespace tallyfox::mac_os
