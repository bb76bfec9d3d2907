#include "tls/TlsContext.hpp"

#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <sys/stat.h>

#include <cstring>
#include <string_view>
#include <utility>

namespace tallyfox::server {
namespace {

/// Forward secrecy and authenticated encryption; what TLS 1.3 has is all of this kind.
constexpr const char* tls12Ciphers = "ECDHE+AESGCM:ECDHE+CHACHA20";
constexpr std::string_view http11 = "\x08http/1.1";

/// The first reason that OpenSSL gave; the later ones only say who asked.
std::string sslReason() {
  const unsigned long code = ERR_get_error();
  const char* const reason = ERR_SYSTEM_ERROR(code) ? nullptr : ERR_reason_error_string(code);
  if (reason != nullptr) return reason;
  return ERR_SYSTEM_ERROR(code) ? std::string(std::strerror(ERR_GET_REASON(code))) : "unknown failure";
}

std::unexpected<std::string> fault(std::string_view what, const std::filesystem::path& file) {
  return std::unexpected(fmt::format("{} {}: {}", what, file.string(), sslReason()));
}

/// A client that speaks other protocols only is told so; one that names none speaks ours.
int selectProtocol(SSL*, const unsigned char** chosen, unsigned char* chosenSize, const unsigned char* offered,
                   unsigned int offeredSize, void*) {
  unsigned char* found = nullptr;
  const auto* const ours = reinterpret_cast<const unsigned char*>(http11.data());
  if (SSL_select_next_proto(&found, chosenSize, ours, static_cast<unsigned int>(http11.size()), offered, offeredSize) !=
      OPENSSL_NPN_NEGOTIATED) {
    return SSL_TLSEXT_ERR_ALERT_FATAL;
  }
  *chosen = found;
  return SSL_TLSEXT_ERR_OK;
}

bool configure(SSL_CTX& context) {
  SSL_CTX_set_mode(&context,
                   SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  SSL_CTX_set_options(&context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
  // Clients resume by tickets, which they keep; a second ticket would serve nobody.
  SSL_CTX_set_session_cache_mode(&context, SSL_SESS_CACHE_OFF);
  SSL_CTX_set_alpn_select_cb(&context, selectProtocol, nullptr);
  // Nobody is there to type a passphrase.
  SSL_CTX_set_default_passwd_cb(&context, [](char*, int, int, void*) { return 0; });
  return SSL_CTX_set_num_tickets(&context, 1) == 1 && SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION) == 1 &&
         SSL_CTX_set_cipher_list(&context, tls12Ciphers) == 1;
}

std::vector<std::string> warningsOf(const SSL_CTX& context, const TlsContext::Files& files) {
  std::vector<std::string> warnings;
  struct stat status{};
  if (stat(files.key.c_str(), &status) == 0 && (status.st_mode & S_IROTH) != 0) {
    warnings.push_back(fmt::format("Everyone on this machine can read the TLS key {}.", files.key.string()));
  }
  const X509* const certificate = SSL_CTX_get0_certificate(&context);
  if (certificate != nullptr && X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0) {
    warnings.push_back(fmt::format("The TLS certificate {} has expired.", files.certificate.string()));
  }
  return warnings;
}

}  // namespace

std::expected<TlsContext, std::string> TlsContext::load(Files files) {
  TlsContext context(std::move(files));
  if (auto loaded = context.reload(); !loaded) return std::unexpected(std::move(loaded.error()));
  return context;
}

std::expected<void, std::string> TlsContext::reload() {
  ERR_clear_error();
  std::unique_ptr<SSL_CTX, Free> fresh(SSL_CTX_new(TLS_server_method()));
  if (!fresh || !configure(*fresh)) return std::unexpected("Unable to set up TLS: " + sslReason());
  if (SSL_CTX_use_certificate_chain_file(fresh.get(), files_.certificate.c_str()) != 1)
    return fault("Unable to use the TLS certificate", files_.certificate);
  if (SSL_CTX_use_PrivateKey_file(fresh.get(), files_.key.c_str(), SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_check_private_key(fresh.get()) != 1) {
    return fault("Unable to use the TLS key", files_.key);
  }
  warnings_ = warningsOf(*fresh, files_);
  context_ = std::move(fresh);
  return {};
}

}  // namespace tallyfox::server
