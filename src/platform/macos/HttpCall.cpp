#include "platform/macos/HttpCall.hpp"

#include <utility>

#include "platform/macos/NetworkErrors.hpp"

namespace tallyfox::mac_os {

void HttpCall::answered(int status) {
  if (!status_) status_ = status;
}

void HttpCall::spoke(std::string_view protocolName) {
  isHttp_ = protocolName != "http/0.9";
}

void HttpCall::ended(TransportError reason) {
  const Completion completion = std::exchange(completion_, nullptr);
  if (!status_) return gate_->call(completion, std::unexpected(std::move(reason)));
  if (!isHttp_) return gate_->call(completion, std::unexpected(TransportError{notHttpText}));
  gate_->call(completion, HttpResponse{*status_});
}

}  // namespace tallyfox::mac_os
