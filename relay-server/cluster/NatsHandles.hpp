#pragma once

#include <nats/nats.h>

#include <memory>
#include <string>

namespace tallyfox::server {

/// Frees a handle of the library.
template <auto destroy>
struct NatsDestroyer {
  template <typename Handle>
  void operator()(Handle* handle) const {
    destroy(handle);
  }
};

using NatsOptionsHandle = std::unique_ptr<natsOptions, NatsDestroyer<natsOptions_Destroy>>;
using NatsConnectionHandle = std::unique_ptr<natsConnection, NatsDestroyer<natsConnection_Destroy>>;
using NatsSubscriptionHandle = std::unique_ptr<natsSubscription, NatsDestroyer<natsSubscription_Destroy>>;
using NatsMessageHandle = std::unique_ptr<natsMsg, NatsDestroyer<natsMsg_Destroy>>;
using NatsJetStreamHandle = std::unique_ptr<jsCtx, NatsDestroyer<jsCtx_Destroy>>;
using NatsStreamInfoHandle = std::unique_ptr<jsStreamInfo, NatsDestroyer<jsStreamInfo_Destroy>>;
using NatsPublishedHandle = std::unique_ptr<jsPubAck, NatsDestroyer<jsPubAck_Destroy>>;

/// The words of the library for what went wrong last in this thread.
[[nodiscard]] inline std::string natsErrorText(natsStatus status) {
  const char* const detail = nats_GetLastError(nullptr);
  return detail != nullptr && *detail != '\0' ? detail : natsStatus_GetText(status);
}

}  // namespace tallyfox::server
