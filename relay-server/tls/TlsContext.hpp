#pragma once

#include <openssl/ssl.h>

#include <expected>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tallyfox::server {

/// What the relay's own TLS shows to its clients. TLS 1.2 with forward secrecy and authenticated encryption, or 1.3;
/// ALPN http/1.1.
class TlsContext {
 public:
  struct Files {
    std::filesystem::path certificate;  ///< the chain as PEM, the relay's own certificate first
    std::filesystem::path key;          ///< as PEM, without a passphrase
    bool operator==(const Files&) const = default;
  };

  /// The error is one line.
  [[nodiscard]] static std::expected<TlsContext, std::string> load(Files files);
  /// Reads both files again, for connections to come; those that are open keep what they have. After an error
  /// everything stays as it was.
  [[nodiscard]] std::expected<void, std::string> reload();

  /// For the next connection.
  [[nodiscard]] SSL_CTX& current() const { return *context_; }
  /// What the owner should look after in the files that are in use, a line each.
  [[nodiscard]] const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  struct Free {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  };
  explicit TlsContext(Files files) : files_(std::move(files)) {}

  Files files_;
  std::unique_ptr<SSL_CTX, Free> context_;
  std::vector<std::string> warnings_;
};

}  // namespace tallyfox::server
