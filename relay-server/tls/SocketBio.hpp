#pragma once

#include <openssl/bio.h>

namespace tallyfox::server {

/// Reads and writes a socket that does not block. Unlike OpenSSL's own it never raises SIGPIPE, whatever the process
/// has set. The descriptor is borrowed. Null when memory is short.
[[nodiscard]] BIO* makeSocketBio(int descriptor);

}  // namespace tallyfox::server
