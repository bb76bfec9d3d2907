#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "base/CallbackGate.hpp"
#include "platform/HttpClient.hpp"

namespace tallyfox::mac_os {

/// What is known of one request, and its one completion, which passes the gate. Network queue only.
class HttpCall {
 public:
  using Completion = std::function<void(std::expected<HttpResponse, TransportError>)>;

  HttpCall(Completion completion, std::shared_ptr<CallbackGate> gate)
      : completion_(std::move(completion)), gate_(std::move(gate)) {}

  /// The head of an answer came. The first counts.
  void answered(int status);
  /// The protocol that the answer was in, as the system names it. HTTP/0.9 is what it calls any bytes at all.
  void spoke(std::string_view protocolName);
  /// The request is over; only the first time counts. An answer counts for more than what became of the connection
  /// after it.
  void ended(TransportError reason);

 private:
  Completion completion_;
  std::shared_ptr<CallbackGate> gate_;
  std::optional<int> status_;
  bool isHttp_ = true;
};

}  // namespace tallyfox::mac_os
