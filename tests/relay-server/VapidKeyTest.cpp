// The relay's key towards push services: kept from others, and its signatures verified by other means than its own.
#include "push/VapidKey.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "TemporaryDirectory.hpp"
#include "TestPushServer.hpp"
#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::StartsWith;
using testing::verifiedVapid;

class VapidKeyTest : public ::testing::Test {
 protected:
  [[nodiscard]] VapidKey made() const {
    EXPECT_TRUE(VapidKey::create(file));
    auto key = VapidKey::read(file);
    if (!key) throw std::runtime_error(key.error());
    return std::move(*key);
  }
  void write(EVP_PKEY* key, const char* passphrase) const {
    std::FILE* const out = std::fopen(file.c_str(), "w");
    PEM_write_PKCS8PrivateKey(out, key, passphrase == nullptr ? nullptr : EVP_aes_256_cbc(), passphrase,
                              passphrase == nullptr ? 0 : 4, nullptr, nullptr);
    std::fclose(out);
    EVP_PKEY_free(key);
  }
  [[nodiscard]] std::string fault() const {
    const auto key = VapidKey::read(file);
    return key ? "none" : key.error();
  }

  testing::TemporaryDirectory directory;
  fs::path file = directory.path() / "push.pem";
};

TEST_F(VapidKeyTest, isMadeForItsOwnerAlone) {
  const VapidKey key = made();
  struct stat status{};
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_EQ(key.publicKey().size(), 87U) << "65 bytes in base64url";
  EXPECT_EQ(VapidKey::read(file)->publicKey(), key.publicKey());
}

TEST_F(VapidKeyTest, replacesNoFile) {
  std::ofstream(file) << "precious";
  EXPECT_EQ(VapidKey::create(file).error(), "Unable to create the push key " + file.string() + ": File exists");
  std::ifstream kept(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "precious");
  fs::remove(file);
  fs::create_symlink(directory.path() / "elsewhere", file);
  EXPECT_FALSE(VapidKey::create(file)) << "nor makes one at the end of a link";
  EXPECT_FALSE(fs::exists(directory.path() / "elsewhere"));
  EXPECT_THAT(VapidKey::create(directory.path() / "absent" / "key").error(), EndsWith("No such file or directory"));
}

TEST_F(VapidKeyTest, signsWhatAServiceVerifies) {
  const VapidKey key = made();
  const std::chrono::system_clock::time_point now{std::chrono::seconds(1'800'000'000)};
  // Half of all signatures have a number that begins with a zero bit or byte more than others.
  for (int count = 0; count < 600; ++count) {
    const auto verified =
        verifiedVapid(key.authorization("https://push.example:8443", "mailto:operator@example.org", now));
    ASSERT_EQ(verified.key, key.publicKey());
    EXPECT_EQ(*parsedJson(verified.header), (Json{{"typ", "JWT"}, {"alg", "ES256"}}));
    EXPECT_EQ(
        *parsedJson(verified.claims),
        (Json{{"aud", "https://push.example:8443"}, {"exp", 1'800'003'600}, {"sub", "mailto:operator@example.org"}}));
  }
}

TEST_F(VapidKeyTest, changedClaimsDoNotVerify) {
  const std::string good = made().authorization("https://push.example", "mailto:o@example.org", {});
  ASSERT_NE(verifiedVapid(good).key, "");
  std::string changed = good;
  changed[changed.find('.') + 3] ^= 1;
  EXPECT_EQ(verifiedVapid(changed).key, "");
}

TEST_F(VapidKeyTest, isNothingElseThanAP256Key) {
  EXPECT_EQ(fault(), "Unable to read the push key " + file.string() + ": No such file or directory");
  std::ofstream(file) << "no key";
  EXPECT_THAT(fault(), EndsWith(": it is no private key as PEM without a passphrase"));
  write(EVP_EC_gen("P-256"), "pass");
  EXPECT_THAT(fault(), EndsWith(": it is no private key as PEM without a passphrase"));
  write(EVP_EC_gen("P-384"), nullptr);
  EXPECT_THAT(fault(), EndsWith(": it is no P-256 key"));
  write(EVP_RSA_gen(2048), nullptr);
  EXPECT_THAT(fault(), EndsWith(": it is no P-256 key"));
  write(EVP_EC_gen("P-256"), nullptr);
  EXPECT_EQ(fault(), "none");
}

}  // namespace
}  // namespace tallyfox::server
