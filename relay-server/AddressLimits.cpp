#include "AddressLimits.hpp"

#include <algorithm>
#include <cmath>

namespace tallyfox::server {

std::optional<std::chrono::seconds> AddressLimits::refusal(const AddressBytes& client, Time now) {
  Bucket& bucket = bucketOf(client, now);
  bucket.tokens = filled(bucket, now);
  bucket.filledAt = now;
  // Sums of fractions fall short of whole numbers by less than this.
  constexpr double rounding = 1e-9;
  if (bucket.tokens + rounding < 1) {
    const double wait = std::ceil((1 - bucket.tokens) / rate_.perSecond - rounding);
    return std::chrono::seconds(static_cast<std::int64_t>(std::clamp(wait, 1.0, 3600.0)));
  }
  bucket.tokens -= 1;
  return std::nullopt;
}

AddressLimits::Bucket& AddressLimits::bucketOf(const AddressBytes& client, Time now) {
  forgetFull(now);
  const auto [found, isNew] = buckets_.try_emplace(client);
  Bucket& bucket = found->second;
  if (isNew) {
    bucket = {.tokens = rate_.burst, .filledAt = now, .place = recency_.insert(recency_.begin(), client)};
    if (buckets_.size() > greatestClients_) {
      buckets_.erase(recency_.back());
      recency_.pop_back();
    }
  } else {
    recency_.splice(recency_.begin(), recency_, bucket.place);
  }
  return bucket;
}

void AddressLimits::forgetFull(Time now) {
  while (!recency_.empty()) {
    const auto oldest = buckets_.find(recency_.back());
    if (filled(oldest->second, now) < rate_.burst) return;
    buckets_.erase(oldest);
    recency_.pop_back();
  }
}

double AddressLimits::filled(const Bucket& bucket, Time now) const {
  const std::chrono::duration<double> passed = std::max(now - bucket.filledAt, Time::duration::zero());
  return std::min(rate_.burst, bucket.tokens + passed.count() * rate_.perSecond);
}

}  // namespace tallyfox::server
