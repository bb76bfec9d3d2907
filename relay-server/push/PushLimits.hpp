#pragma once

#include <chrono>
#include <cstddef>

namespace tallyfox::server {

/// Every bound of Web Push; tests tighten them.
struct PushLimits {
  /// A phone is asked to look at most so often; what comes meanwhile is one request at the end.
  std::chrono::milliseconds interval{5'000};
  /// From resolving a service's name to the end of its answer.
  std::chrono::milliseconds requestTime{15'000};
  /// Requests at once, to all services; more phones wait their turn.
  std::size_t requests = 16;
  /// Phones with a request under way or waiting. Further ones are not asked: the service is not answering.
  std::size_t phones = 10'000;
  /// Times that one request is sent, the first one included.
  unsigned attempts = 4;
  /// Before the second time; then twice as long each time, unless the service says when to come again.
  std::chrono::milliseconds retryDelay{5'000};
  /// When a service wants to be left alone for longer, the request is given up: its owner looks by himself before that.
  std::chrono::milliseconds greatestDelay{600'000};
  /// How long a service keeps a request for a phone that is off; a dialog is rarely open for longer.
  std::chrono::seconds timeToLive{3'600};
  /// Of an answer; what it says does not matter.
  std::size_t answerBytes = 64U * 1024U;
};

}  // namespace tallyfox::server
