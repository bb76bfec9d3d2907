#pragma once

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include <functional>
#include <string>

#include "base/Date.hpp"
#include "base/HttpHeaders.hpp"
#include "platform/WebSocketTransport.hpp"

// Objective-C. What the WebSocket transport and the HTTP client share.

namespace tallyfox::mac_os {

/// A serial queue on which every callback of a transport runs.
[[nodiscard]] dispatch_queue_t makeNetworkQueue(const char* label);
/// Runs `work` on the queue, after everything that is there already.
void runOn(dispatch_queue_t queue, std::function<void()> work);
void runOnAfter(dispatch_queue_t queue, Seconds delay, std::function<void()> work);

/// A session for one task, which keeps nothing: no cache, no cookies. It keeps its delegate until it is invalidated,
/// and calls it on a serial queue of its own. `timeout` is for silence, not for the whole.
[[nodiscard]] NSURLSession* makeSession(id<NSURLSessionDelegate> delegate, Seconds timeout);

/// Absent (nil) when the address or a header is none for a URL session. Header names and values are well-formed.
[[nodiscard]] NSMutableURLRequest* makeRequest(const std::string& address, const HeaderList& headers, Seconds timeout);

[[nodiscard]] NSString* stringOf(const std::string& utf8);  ///< nil when it is no UTF-8
[[nodiscard]] TransportError transportErrorOf(NSError* error);

}  // namespace tallyfox::mac_os
