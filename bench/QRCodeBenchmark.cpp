// Drawing the pairing code: a payload of the usual size at the scale of the status window, and the code alone.

#include <benchmark/benchmark.h>

#include <string>

#include "base/Bytes.hpp"
#include "pairing/PairingPayload.hpp"
#include "pairing/QRCodeRenderer.hpp"

namespace tallyfox {
namespace {

void drawPairingCode(benchmark::State& state) {
  const PairingPayload payload{.backendURL = "https://relay.example.com",
                               .pairingID = "tallyfox-" + std::string(32, '3'),
                               .relaySecret = std::string(64, 'a'),
                               .e2eSecret = std::string(64, 'b')};
  const std::string text = payload.encoded();
  for (auto _ : state)
    benchmark::DoNotOptimize(QRCodeRenderer::image(bytesOf(text), static_cast<int>(state.range(0))));
}
BENCHMARK(drawPairingCode)->Arg(1)->Arg(10);

}  // namespace
}  // namespace tallyfox
