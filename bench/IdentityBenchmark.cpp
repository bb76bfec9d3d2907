// The two identities of a dialog, beside the digest of a text of the same length, which bounds them from below.

#include <benchmark/benchmark.h>

#include <string>

#include "SampleApprovals.hpp"
#include "detection/DialogIdentity.hpp"

namespace tallyfox {
namespace {

void approvalID(benchmark::State& state) {
  const PendingApproval approval = sampleApprovals(1).front();
  for (auto _ : state)
    benchmark::DoNotOptimize(DialogIdentity::approvalID("com.example.notes", approval));
}
BENCHMARK(approvalID);

void suppressionID(benchmark::State& state) {
  const PendingApproval approval = sampleApprovals(1).front();
  const std::vector<std::string> labels = approval.buttonLabels();
  for (auto _ : state)
    benchmark::DoNotOptimize(
        DialogIdentity::suppressionID("com.example.notes", approval.windowTitle, approval.messageLines, labels));
}
BENCHMARK(suppressionID);

void digestOfAsManyBytes(benchmark::State& state) {
  const std::string text(190, 'x');
  for (auto _ : state)
    benchmark::DoNotOptimize(DialogIdentity::digestID(text));
}
BENCHMARK(digestOfAsManyBytes);

}  // namespace
}  // namespace tallyfox
