#include "TestAuthority.hpp"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <stdexcept>
#include <utility>

namespace tallyfox::server::testing {
namespace {

using Key = std::shared_ptr<EVP_PKEY>;
using Certificate = std::shared_ptr<X509>;

void check(bool good) {
  if (!good) throw std::runtime_error("no test certificate");
}

Key newKey() {
  return {EVP_EC_gen("P-256"), EVP_PKEY_free};
}

void extend(X509* certificate, X509* issuer, int kind, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, &context, kind, value), X509_EXTENSION_free);
  check(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

/// Not yet signed, and named as its own issuer.
Certificate newCertificate(const Key& key, const std::string& name, long serial, long validSeconds) {
  Certificate certificate(X509_new(), X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -7200);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validSeconds);
  X509_NAME* const subject = X509_get_subject_name(certificate.get());
  const auto* const text = reinterpret_cast<const unsigned char*>(name.c_str());
  check(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1);
  check(X509_set_issuer_name(certificate.get(), subject) == 1);
  check(X509_set_pubkey(certificate.get(), key.get()) == 1);
  return certificate;
}

template <typename Write>
void writeTo(const std::filesystem::path& path, Write write) {
  const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "w"), std::fclose);
  check(file && write(file.get()) == 1);
}

}  // namespace

struct TestAuthority::State {
  explicit State(const std::string& name) : certificate(newCertificate(key, name, 1, 3600)) {}

  Key key = newKey();
  Certificate certificate;
  long serial = 1;
};

TestAuthority::TestAuthority(std::filesystem::path directory)
    : directory_(std::move(directory)),
      certificate_(directory_ / "authority.pem"),
      state_(std::make_unique<State>("Authority of " + directory_.filename().string())) {
  X509* const own = state_->certificate.get();
  extend(own, own, NID_basic_constraints, "critical,CA:TRUE");
  extend(own, own, NID_key_usage, "critical,keyCertSign");
  check(X509_sign(own, state_->key.get(), EVP_sha256()) > 0);
  writeTo(certificate_, [&](std::FILE* file) { return PEM_write_X509(file, own); });
}

TestAuthority::~TestAuthority() = default;

TestAuthority::Issued TestAuthority::issue(const std::string& name, long validSeconds) {
  const Key key = newKey();
  const Certificate certificate = newCertificate(key, name, ++state_->serial, validSeconds);
  X509* const authority = state_->certificate.get();
  check(X509_set_issuer_name(certificate.get(), X509_get_subject_name(authority)) == 1);
  extend(certificate.get(), authority, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1");
  check(X509_sign(certificate.get(), state_->key.get(), EVP_sha256()) > 0);
  Issued issued{.certificate = directory_ / (name + ".pem"), .key = directory_ / (name + ".key")};
  writeTo(issued.certificate, [&](std::FILE* file) { return PEM_write_X509(file, certificate.get()); });
  writeTo(issued.key, [&](std::FILE* file) {
    return PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
  std::filesystem::permissions(issued.key, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  return issued;
}

}  // namespace tallyfox::server::testing
