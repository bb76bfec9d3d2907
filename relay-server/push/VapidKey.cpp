#include "push/VapidKey.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/Bytes.hpp"
#include "base/Encoding.hpp"

namespace tallyfox::server {
namespace {

/// One coordinate of P-256, one half of a signature.
constexpr std::size_t numberBytes = 32;
/// Push services take a day at most.
constexpr std::chrono::hours lifetime{1};

using Key = std::shared_ptr<EVP_PKEY>;
using Number = std::unique_ptr<BIGNUM, decltype(&BN_free)>;
using File = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

bool isP256(const EVP_PKEY* key) {
  std::array<char, 32> group{};
  return EVP_PKEY_get_group_name(key, group.data(), group.size(), nullptr) == 1 &&
         std::string_view(group.data()) == SN_X9_62_prime256v1;
}

void append(std::string& bytes, const BIGNUM* number) {
  std::array<unsigned char, numberBytes> padded{};
  if (BN_bn2binpad(number, padded.data(), static_cast<int>(padded.size())) < 0) padded.fill(0);
  bytes.append(padded.begin(), padded.end());
}

std::optional<std::string> publicPoint(const EVP_PKEY* key) {
  std::string point = "\x04";
  for (const char* coordinate : {OSSL_PKEY_PARAM_EC_PUB_X, OSSL_PKEY_PARAM_EC_PUB_Y}) {
    BIGNUM* number = nullptr;
    if (EVP_PKEY_get_bn_param(key, coordinate, &number) != 1) return std::nullopt;
    append(point, number);
    BN_free(number);
  }
  return point;
}

/// The two numbers of the signature side by side, as JSON web signatures want them, in place of OpenSSL's DER.
std::optional<std::string> signature(EVP_PKEY* key, std::string_view text) {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1) return std::nullopt;
  std::array<unsigned char, 80> der{};
  std::size_t size = der.size();
  const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
  if (EVP_DigestSign(context.get(), der.data(), &size, bytes, text.size()) != 1) return std::nullopt;
  const unsigned char* start = der.data();
  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> numbers(
      d2i_ECDSA_SIG(nullptr, &start, static_cast<long>(size)), ECDSA_SIG_free);
  if (!numbers) return std::nullopt;
  std::string both;
  append(both, ECDSA_SIG_get0_r(numbers.get()));
  append(both, ECDSA_SIG_get0_s(numbers.get()));
  return both;
}

std::unexpected<std::string> fault(std::string_view task, const std::filesystem::path& file, std::string_view reason) {
  return std::unexpected(fmt::format("Unable to {} the push key {}: {}", task, file.string(), reason));
}

}  // namespace

std::string base64UrlEncoded(std::string_view bytes) {
  std::string text = base64Encoded(bytesOf(bytes));
  std::ranges::replace(text, '+', '-');
  std::ranges::replace(text, '/', '_');
  text.resize(text.find_last_not_of('=') + 1);
  return text;
}

std::expected<VapidKey, std::string> VapidKey::read(const std::filesystem::path& path) {
  const File file(std::fopen(path.c_str(), "re"), std::fclose);
  if (!file) return fault("read", path, std::strerror(errno));
  // Nobody is there to type a passphrase.
  const auto noPassphrase = [](char*, int, int, void*) { return 0; };
  const Key key(PEM_read_PrivateKey(file.get(), nullptr, noPassphrase, nullptr), EVP_PKEY_free);
  ERR_clear_error();
  if (!key) return fault("read", path, "it is no private key as PEM without a passphrase");
  const auto point = isP256(key.get()) ? publicPoint(key.get()) : std::nullopt;
  if (!point) return fault("read", path, "it is no P-256 key");
  return VapidKey(key, base64UrlEncoded(*point));
}

std::expected<void, std::string> VapidKey::create(const std::filesystem::path& path) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return fault("create", path, std::strerror(errno));
  const Key key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  File file(fdopen(descriptor, "w"), std::fclose);
  bool written = key && file &&
                 PEM_write_PKCS8PrivateKey(file.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1 &&
                 std::fflush(file.get()) == 0 && fsync(descriptor) == 0;
  if (!file) close(descriptor);
  if (file && std::fclose(file.release()) != 0) written = false;
  if (written) return {};
  unlink(path.c_str());
  return fault("create", path, "it cannot be written");
}

std::string VapidKey::authorization(std::string_view origin, std::string_view contact,
                                    std::chrono::system_clock::time_point now) const {
  const auto expires = std::chrono::duration_cast<std::chrono::seconds>((now + lifetime).time_since_epoch()).count();
  const nlohmann::json claims{{"aud", origin}, {"exp", expires}, {"sub", contact}};
  const std::string text = base64UrlEncoded(R"({"typ":"JWT","alg":"ES256"})") + "." + base64UrlEncoded(claims.dump());
  const auto signed64 = signature(key_.get(), text);
  if (!signed64) return {};
  return fmt::format("vapid t={}.{}, k={}", text, base64UrlEncoded(*signed64), publicKey_);
}

}  // namespace tallyfox::server
