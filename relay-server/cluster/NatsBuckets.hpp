#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "NatsConnection.hpp"
#include "storage/StorageError.hpp"

namespace tallyfox::server {

/// The two key-value buckets of a cluster: pairings in files, and last snapshots in memory. They lie in streams as NATS
/// lays buckets out, except that reads are answered by the stream's leader alone, so that a read sees every change
/// before it. Calls block.
class NatsBuckets {
 public:
  struct Entry {
    std::string value;
    std::uint64_t revision = 0;
  };
  enum class Written { yes, changedMeanwhile };

  NatsBuckets(NatsConnection& connection, const NatsOptions& options, std::size_t snapshotBytes);

  /// Makes the buckets that are missing. The error is one line.
  [[nodiscard]] StorageResult<void> make();

  [[nodiscard]] StorageResult<std::optional<Entry>> pairingEntry(std::string_view key);
  [[nodiscard]] StorageResult<std::optional<Entry>> snapshotEntry(std::string_view key);
  /// The revision is greater than that of all puts before it.
  [[nodiscard]] StorageResult<std::uint64_t> putPairingEntry(std::string_view key, const std::string& value);
  /// Only if the entry still has this revision, or, with 0, if there is none.
  [[nodiscard]] StorageResult<Written> writePairingEntry(std::string_view key, const std::string& value,
                                                         std::uint64_t revision);
  /// What to publish to, to put a snapshot without waiting; who subscribes to it hears each.
  [[nodiscard]] std::string snapshotSubject(std::string_view key) const;

 private:
  [[nodiscard]] StorageResult<void> makeStream(const std::string& bucket, bool inMemory);
  [[nodiscard]] StorageResult<std::optional<Entry>> entry(const std::string& bucket, std::string_view key);
  [[nodiscard]] StorageResult<NatsJetStreamHandle> context();

  NatsConnection& connection_;
  std::string pairings_, snapshots_;
  std::int64_t snapshotBytes_;
  std::int64_t replicas_;
};

}  // namespace tallyfox::server
