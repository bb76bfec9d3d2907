#include <openssl/rand.h>

#include <climits>

#include "base/Crypto.hpp"

namespace tallyfox {

bool fillWithSecureRandom(std::span<std::uint8_t> bytes) {
  return bytes.size() <= INT_MAX && RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1;
}

}  // namespace tallyfox
