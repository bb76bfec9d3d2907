// A snapshot of ten approvals to JSON text and back.

#include <benchmark/benchmark.h>

#include <string>

#include "SampleApprovals.hpp"
#include "base/Json.hpp"

namespace tallyfox {
namespace {

void encodeSnapshot(benchmark::State& state) {
  const auto approvals = sampleApprovals(10);
  std::size_t bytes = 0;
  for (auto _ : state)
    bytes += jsonText(approvalsJson(approvals)).size();
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(encodeSnapshot);

void decodeSnapshot(benchmark::State& state) {
  const std::string text = jsonText(approvalsJson(sampleApprovals(10)));
  for (auto _ : state)
    benchmark::DoNotOptimize(decodedApprovals(parsedJson(text).value()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(decodeSnapshot);

}  // namespace
}  // namespace tallyfox
