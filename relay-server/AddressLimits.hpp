#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <map>
#include <optional>

#include "ClientAddress.hpp"
#include "TokenBucket.hpp"

namespace tallyfox::server {

/// A token bucket for each client. Knows no clock: times are passed in and never go back.
class AddressLimits {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Beyond `greatestClients` (at least one) the one that was heard of least recently is forgotten, so that many
  /// addresses cost a known amount.
  AddressLimits(Rate rate, std::size_t greatestClients) : rate_(rate), greatestClients_(greatestClients) {}

  /// Nothing when the client may, else after how many whole seconds (at least one) it may again. A refusal costs it
  /// nothing.
  [[nodiscard]] std::optional<std::chrono::seconds> refusal(const AddressBytes& client, Time now);
  [[nodiscard]] std::size_t clients() const { return buckets_.size(); }

 private:
  struct Bucket {
    double tokens = 0;
    Time filledAt{};
    std::list<AddressBytes>::iterator place;
  };
  [[nodiscard]] Bucket& bucketOf(const AddressBytes& client, Time now);
  /// A full bucket says no more than none.
  void forgetFull(Time now);
  [[nodiscard]] double filled(const Bucket& bucket, Time now) const;

  Rate rate_;
  std::size_t greatestClients_;
  std::map<AddressBytes, Bucket> buckets_;
  std::list<AddressBytes> recency_;  ///< the most recently heard of first
};

}  // namespace tallyfox::server
