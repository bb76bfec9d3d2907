#pragma once

// Certificates made when the test runs: an authority of its own, and server certificates that it signed.

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace tallyfox::testing_network {

struct CertificateRequest {
  std::string alternativeName = "DNS:localhost";  ///< as OpenSSL's configuration writes it
  long validFromSeconds = -3600;                  ///< from now
  long validToSeconds = 3600;
};

/// A key with its certificate; signs others when it is an authority.
class TestCertificate {
 public:
  [[nodiscard]] static TestCertificate authority() { return TestCertificate(nullptr, {}); }
  [[nodiscard]] TestCertificate sign(const CertificateRequest& request) const { return TestCertificate(this, request); }

  [[nodiscard]] std::string certificatePem() const {
    return text([this](BIO* bio) { return PEM_write_bio_X509(bio, certificate_.get()); });
  }
  [[nodiscard]] std::string keyPem() const {
    return text(
        [this](BIO* bio) { return PEM_write_bio_PrivateKey(bio, key_.get(), nullptr, nullptr, 0, nullptr, nullptr); });
  }

 private:
  TestCertificate(const TestCertificate* issuer, const CertificateRequest& request)
      : key_(EVP_EC_gen("P-256"), EVP_PKEY_free), certificate_(X509_new(), X509_free) {
    static long serial = 1;
    X509* certificate = certificate_.get();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial++);
    X509_gmtime_adj(X509_getm_notBefore(certificate), request.validFromSeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate), request.validToSeconds);
    X509_set_pubkey(certificate, key_.get());
    const std::string name = issuer != nullptr ? "Test server" : "Test authority " + std::to_string(serial);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    const TestCertificate& signer = issuer != nullptr ? *issuer : *this;
    X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate_.get()));
    if (issuer != nullptr)
      extend(NID_subject_alt_name, request.alternativeName);
    else
      extend(NID_basic_constraints, "critical,CA:TRUE");
    if (X509_sign(certificate, signer.key_.get(), EVP_sha256()) == 0) throw std::runtime_error("signing failed");
  }

  void extend(int kind, const std::string& value) {
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str());
    if (extension == nullptr) throw std::runtime_error("no such extension");
    X509_add_ext(certificate_.get(), extension, -1);
    X509_EXTENSION_free(extension);
  }

  template <typename Write>
  static std::string text(Write write) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), BIO_free);
    if (write(bio.get()) != 1) throw std::runtime_error("PEM failed");
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(size)};
  }

  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_;
  std::unique_ptr<X509, decltype(&X509_free)> certificate_;
};

}  // namespace tallyfox::testing_network
