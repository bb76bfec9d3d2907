#pragma once

#include <openssl/evp.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace tallyfox::server {

/// The relay's name towards push services (RFC 8292): a P-256 key that signs each request. A phone's subscription is
/// bound to it.
class VapidKey {
 public:
  /// A PEM file. The error is one line and names it.
  [[nodiscard]] static std::expected<VapidKey, std::string> read(const std::filesystem::path& file);
  /// Writes a new key to a new file, which its owner alone may read. Never replaces a file.
  [[nodiscard]] static std::expected<void, std::string> create(const std::filesystem::path& file);

  /// The uncompressed point in base64url, as browsers take it.
  [[nodiscard]] const std::string& publicKey() const { return publicKey_; }
  /// The value of an `Authorization` header for one push service, such as `https://push.example`; good for an hour.
  /// `contact` is where the service finds a person. Empty when signing fails.
  [[nodiscard]] std::string authorization(std::string_view origin, std::string_view contact,
                                          std::chrono::system_clock::time_point now) const;

 private:
  VapidKey(std::shared_ptr<EVP_PKEY> key, std::string publicKey)
      : key_(std::move(key)), publicKey_(std::move(publicKey)) {}

  std::shared_ptr<EVP_PKEY> key_;
  std::string publicKey_;
};

/// Base64 with the alphabet for addresses, not padded.
[[nodiscard]] std::string base64UrlEncoded(std::string_view bytes);

}  // namespace tallyfox::server
