// Any bytes as a sealed payload: opening never succeeds on what the key did not seal, and never reads out of bounds.

#include <cstddef>
#include <cstdint>

#include "base/Encoding.hpp"
#include "base/Require.hpp"
#include "relay/RelayCrypto.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tallyfox::RelayCrypto;
  const tallyfox::EncryptedRelayPayload asText{1, "", std::string(tallyfox::textOf({data, size}))};
  const tallyfox::EncryptedRelayPayload asBox{1, "", tallyfox::base64Encoded({data, size})};
  tallyfox::require(!RelayCrypto::open(asText, "secret").has_value(), "a forged payload does not open");
  tallyfox::require(!RelayCrypto::open(asBox, "secret").has_value(), "a forged box does not open");
  return 0;
}
