#include <Security/SecRandom.h>

#include "base/Crypto.hpp"

namespace tallyfox {

bool fillWithSecureRandom(std::span<std::uint8_t> bytes) {
  return bytes.empty() || SecRandomCopyBytes(kSecRandomDefault, bytes.size(), bytes.data()) == errSecSuccess;
}

}  // namespace tallyfox
