#include "NatsBuckets.hpp"

#include <fmt/format.h>

#include <chrono>
#include <utility>

namespace tallyfox::server {
namespace {

/// For one answer of a server that is near.
constexpr std::chrono::milliseconds answerTime{2'000};
/// A phone that comes after a day without a word of its agent may as well wait for the next.
constexpr std::chrono::nanoseconds snapshotAge = std::chrono::hours(24);

std::string streamOf(const std::string& bucket) {
  return "KV_" + bucket;
}

std::string subjectOf(const std::string& bucket, std::string_view key) {
  return fmt::format("$KV.{}.{}", bucket, key);
}

std::unexpected<StorageError> failure(natsStatus status, jsErrCode code = {}) {
  if (code == JSNotEnabledErr || code == JSNotEnabledForAccountErr || status == NATS_NO_RESPONDERS) {
    return std::unexpected(StorageError{"NATS has no JetStream: enable jetstream in its configuration"});
  }
  return std::unexpected(StorageError{natsErrorText(status)});
}

}  // namespace

NatsBuckets::NatsBuckets(NatsConnection& connection, const NatsOptions& options, std::size_t snapshotBytes)
    : connection_(connection),
      pairings_(options.prefix + "_pairings"),
      snapshots_(options.prefix + "_snapshots"),
      snapshotBytes_(static_cast<std::int64_t>(snapshotBytes)),
      replicas_(options.replicas) {}

std::string NatsBuckets::snapshotSubject(std::string_view key) const {
  return subjectOf(snapshots_, key);
}

StorageResult<NatsJetStreamHandle> NatsBuckets::context() {
  jsOptions options;
  jsOptions_Init(&options);
  options.Wait = answerTime.count();
  jsCtx* raw = nullptr;
  const natsStatus status = natsConnection_JetStream(&raw, connection_.handle(), &options);
  if (status != NATS_OK) return failure(status);
  return NatsJetStreamHandle(raw);
}

StorageResult<void> NatsBuckets::make() {
  if (auto made = makeStream(pairings_, false); !made) return made;
  return makeStream(snapshots_, true);
}

StorageResult<void> NatsBuckets::makeStream(const std::string& bucket, bool inMemory) {
  const auto js = context();
  if (!js) return std::unexpected(js.error());
  const std::string name = streamOf(bucket);
  jsErrCode code{};
  jsStreamInfo* found = nullptr;
  natsStatus status = js_GetStreamInfo(&found, js->get(), name.c_str(), nullptr, &code);
  const NatsStreamInfoHandle existing(found);
  if (status == NATS_OK) return {};
  if (status != NATS_NOT_FOUND) return failure(status, code);
  const std::string subject = subjectOf(bucket, ">");
  const char* subjects[] = {subject.c_str()};
  jsStreamConfig config;
  jsStreamConfig_Init(&config);
  config.Name = name.c_str();
  config.Subjects = subjects;
  config.SubjectsLen = 1;
  config.MaxMsgsPerSubject = 1;
  config.AllowRollup = true;
  config.DenyDelete = true;
  config.Replicas = replicas_;
  if (inMemory) {
    config.Storage = js_MemoryStorage;
    config.MaxBytes = snapshotBytes_;
    config.MaxAge = snapshotAge.count();
    config.Discard = js_DiscardOld;
  } else {
    config.Storage = js_FileStorage;
    config.Discard = js_DiscardNew;
  }
  code = {};
  status = js_AddStream(nullptr, js->get(), &config, nullptr, &code);
  // Another node may have been faster.
  if (status != NATS_OK && code != JSStreamNameExistErr) return failure(status, code);
  return {};
}

StorageResult<std::optional<NatsBuckets::Entry>> NatsBuckets::entry(const std::string& bucket, std::string_view key) {
  const auto js = context();
  if (!js) return std::unexpected(js.error());
  jsErrCode code{};
  natsMsg* raw = nullptr;
  const natsStatus status =
      js_GetLastMsg(&raw, js->get(), streamOf(bucket).c_str(), subjectOf(bucket, key).c_str(), nullptr, &code);
  const NatsMessageHandle message(raw);
  if (status == NATS_NOT_FOUND && code == JSNoMessageFoundErr) return std::nullopt;
  if (status != NATS_OK) return failure(status, code);
  const auto size = static_cast<std::size_t>(natsMsg_GetDataLength(raw));
  return Entry{.value = size == 0 ? std::string() : std::string(natsMsg_GetData(raw), size),
               .revision = natsMsg_GetSequence(raw)};
}

StorageResult<std::optional<NatsBuckets::Entry>> NatsBuckets::pairingEntry(std::string_view key) {
  return entry(pairings_, key);
}

StorageResult<std::optional<NatsBuckets::Entry>> NatsBuckets::snapshotEntry(std::string_view key) {
  return entry(snapshots_, key);
}

StorageResult<std::uint64_t> NatsBuckets::putPairingEntry(std::string_view key, const std::string& value) {
  const auto js = context();
  if (!js) return std::unexpected(js.error());
  jsErrCode code{};
  jsPubAck* raw = nullptr;
  const natsStatus status = js_Publish(&raw, js->get(), subjectOf(pairings_, key).c_str(), value.data(),
                                       static_cast<int>(value.size()), nullptr, &code);
  const NatsPublishedHandle published(raw);
  if (status != NATS_OK) return failure(status, code);
  return published->Sequence;
}

StorageResult<NatsBuckets::Written> NatsBuckets::writePairingEntry(std::string_view key, const std::string& value,
                                                                   std::uint64_t revision) {
  const auto js = context();
  if (!js) return std::unexpected(js.error());
  jsPubOptions options;
  jsPubOptions_Init(&options);
  options.ExpectLastSubjectSeq = revision;
  options.ExpectNoMessage = revision == 0;
  jsErrCode code{};
  jsPubAck* raw = nullptr;
  const natsStatus status = js_Publish(&raw, js->get(), subjectOf(pairings_, key).c_str(), value.data(),
                                       static_cast<int>(value.size()), &options, &code);
  const NatsPublishedHandle published(raw);
  if (status != NATS_OK && code == JSStreamWrongLastSequenceErr) return Written::changedMeanwhile;
  if (status != NATS_OK) return failure(status, code);
  return Written::yes;
}

}  // namespace tallyfox::server
