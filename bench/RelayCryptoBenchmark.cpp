// Sealing and opening a snapshot of ten approvals, beside the bare cipher over the same bytes: what the key derivation,
// the nonce and base64 add must not double the cost. And the digest that identifies the snapshot.

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>

#include "SampleApprovals.hpp"
#include "base/Json.hpp"
#include "relay/RelayCrypto.hpp"

namespace tallyfox {
namespace {

const std::string secret(64, 'a');

std::string snapshotText() {
  return jsonText(approvalsJson(sampleApprovals(10)));
}

void count(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

/// One AES-256-GCM encryption as the library's manual writes it: a context, a key, a nonce, the bytes, the tag.
void rawEncryption(benchmark::State& state) {
  const std::string text = snapshotText();
  const std::uint8_t key[32] = {1};
  const std::uint8_t nonce[12] = {2};
  Bytes output(text.size() + 16);
  for (auto _ : state) {
    const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    int written = 0;
    int finished = 0;
    EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key, nonce);
    EVP_EncryptUpdate(context.get(), output.data(), &written, bytesOf(text).data(), static_cast<int>(text.size()));
    EVP_EncryptFinal_ex(context.get(), output.data() + written, &finished);
    EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, 16, output.data() + text.size());
    benchmark::DoNotOptimize(output.data());
    benchmark::ClobberMemory();
  }
  count(state, text.size());
}
BENCHMARK(rawEncryption);

void sealSnapshot(benchmark::State& state) {
  const std::string text = snapshotText();
  for (auto _ : state)
    benchmark::DoNotOptimize(RelayCrypto::seal(bytesOf(text), secret));
  count(state, text.size());
}
BENCHMARK(sealSnapshot);

void openSnapshot(benchmark::State& state) {
  const std::string text = snapshotText();
  const auto sealed = RelayCrypto::seal(bytesOf(text), secret);
  if (!sealed) return state.SkipWithError("the snapshot could not be sealed");
  for (auto _ : state)
    benchmark::DoNotOptimize(RelayCrypto::open(*sealed, secret));
  count(state, text.size());
}
BENCHMARK(openSnapshot);

void snapshotID(benchmark::State& state) {
  const auto approvals = sampleApprovals(10);
  for (auto _ : state)
    benchmark::DoNotOptimize(RelayCrypto::snapshotID(approvals));
}
BENCHMARK(snapshotID);

}  // namespace
}  // namespace tallyfox
