// One question to a relay, over the network as the agent would have it: what is seen of certificate, clock and answer,
// and that every failure is a sentence within the time.

#include "platform/linux/RelayProbe.hpp"

#include <gtest/gtest.h>

#include "base/HttpDate.hpp"
#include "platform/NetworkFixture.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::linux_os {
namespace {

using namespace testing_network;
using std::chrono::system_clock;

constexpr const char* answer =
    "HTTP/1.1 204 No Content\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\nConnection: close\r\n\r\n";

/// Trusts one authority, as an owner would have it by SSL_CERT_FILE.
class RelayProbeTest : public testing::Test {
 protected:
  RelayProbeTest() {
    writeFile(folder_ / "authority.pem", authority.certificatePem());
    ::setenv("SSL_CERT_FILE", (folder_ / "authority.pem").c_str(), 1);
  }
  ~RelayProbeTest() override { ::unsetenv("SSL_CERT_FILE"); }

  [[nodiscard]] static LoopbackServer secureServer(const TestCertificate& certificate) {
    return LoopbackServer(overTls(certificate, [](TlsSocket& socket) {
      char request[4096];
      socket.read_some(boost::asio::buffer(request));
      boost::asio::write(socket, boost::asio::buffer(std::string(answer)));
    }));
  }
  [[nodiscard]] static DoctorFacts::RelayHost probed(const std::string& url, Seconds timeout = Seconds(20),
                                                     const ProxySettings& proxies = {}) {
    return probedRelay(
        {.method = "GET", .url = url, .headers = {{"authorization", "Bearer token"}}, .body = {}, .timeout = timeout},
        proxies);
  }
  /// What a server with this certificate is refused for.
  [[nodiscard]] static DoctorFacts::RelayHost refused(const TestCertificate& certificate) {
    const LoopbackServer server = secureServer(certificate);
    auto seen = probed("https://" + localhostPort(server) + "/healthz");
    EXPECT_EQ(seen.status, 0) << "nothing is said to a stranger";
    return seen;
  }

  const TestCertificate authority = TestCertificate::authority();

 private:
  TemporaryFolder folder_;
};

TEST_F(RelayProbeTest, seesAnswerClockAndCertificate) {
  const LoopbackServer server = secureServer(authority.sign({.validToSeconds = 86400}));
  const auto before = system_clock::now() - std::chrono::seconds(1);
  const auto seen = probed("https://" + localhostPort(server) + "/healthz");
  EXPECT_EQ(seen.failure, std::nullopt);
  EXPECT_EQ(seen.host, localhostPort(server));
  EXPECT_TRUE(seen.isSecure);
  EXPECT_EQ(seen.proxy, "");
  EXPECT_EQ(seen.status, 204);
  EXPECT_EQ(seen.relayTime, parsedHttpDate("Sun, 06 Nov 1994 08:49:37 GMT"));
  EXPECT_GE(seen.askedAt, before);
  EXPECT_LE(seen.askedAt, system_clock::now());
  ASSERT_TRUE(seen.certificateExpiry.has_value());
  EXPECT_GE(*seen.certificateExpiry, before + std::chrono::hours(24));
  EXPECT_LE(*seen.certificateExpiry, system_clock::now() + std::chrono::hours(24));
}

TEST_F(RelayProbeTest, asksPlainlyOnThisComputer) {
  contract::Recorder<std::string> heads;
  const LoopbackServer server([&](Tcp::socket socket) {
    heads.add(readHead(socket));
    boost::asio::write(socket, boost::asio::buffer(std::string("HTTP/1.1 401 Unauthorized\r\n\r\n")));
  });
  const auto seen = probed("http://" + server.authority() + "/api/pairings/p/relay-token");
  EXPECT_EQ(seen.failure, std::nullopt);
  EXPECT_FALSE(seen.isSecure);
  EXPECT_EQ(seen.status, 401);
  EXPECT_EQ(seen.relayTime, std::nullopt);
  EXPECT_EQ(seen.certificateExpiry, std::nullopt);
  ASSERT_EQ(heads.size(), 1U);
  EXPECT_EQ(heads.all()[0], "GET /api/pairings/p/relay-token HTTP/1.1\r\nHost: " + server.authority() +
                                "\r\nUser-Agent: Tallyfox\r\nConnection: close\r\nauthorization: Bearer token\r\n\r\n");
}

TEST_F(RelayProbeTest, tellsAnExpiredCertificateWithItsEnd) {
  const auto seen = refused(authority.sign({.validFromSeconds = -7200, .validToSeconds = -3600}));
  EXPECT_EQ(seen.failure, "The certificate could not be verified: certificate has expired.");
  ASSERT_TRUE(seen.certificateExpiry.has_value());
  EXPECT_LT(*seen.certificateExpiry, system_clock::now());
}

TEST_F(RelayProbeTest, tellsACertificateThatIsNotYetValid) {
  EXPECT_EQ(refused(authority.sign({.validFromSeconds = 3600, .validToSeconds = 7200})).failure,
            "The certificate could not be verified: certificate is not yet valid.");
}

TEST_F(RelayProbeTest, tellsACertificateForAnotherName) {
  EXPECT_EQ(refused(authority.sign({.alternativeName = "DNS:relay.example.org"})).failure,
            "The certificate could not be verified: hostname mismatch.");
}

TEST_F(RelayProbeTest, tellsACertificateOfAStranger) {
  const auto seen = refused(TestCertificate::authority().sign({}));
  EXPECT_EQ(seen.failure, "The certificate could not be verified: unable to get local issuer certificate.");
  EXPECT_TRUE(seen.certificateExpiry.has_value());
}

TEST_F(RelayProbeTest, tellsWhyThereIsNoAnswer) {
  const RefusingPort deaf;
  EXPECT_EQ(probed("http://" + deaf.authority() + "/").failure, "Connection refused.");
  const LoopbackServer rude([](Tcp::socket socket) { readHead(socket); });
  EXPECT_EQ(probed("http://" + rude.authority() + "/").failure, "The connection was lost.");
  const LoopbackServer other(answeringWith("220 mail.example.org ready\r\n\r\n"));
  EXPECT_EQ(probed("http://" + other.authority() + "/").failure, "The answer is not valid HTTP.");
  const auto invalid = probed("ftp://relay.example.org/");
  EXPECT_EQ(invalid.failure, "The request is not valid.");
  EXPECT_EQ(invalid.status, 0);
}

TEST_F(RelayProbeTest, doesNotWaitForAServerThatHangs) {
  const SilentServer silent;
  const auto start = std::chrono::steady_clock::now();
  for (const std::string scheme : {"http", "https"}) {
    const auto seen = probed(scheme + "://" + silent.authority() + "/healthz", Seconds(0.3));
    EXPECT_EQ(seen.failure, "The connection timed out.") << scheme;
    EXPECT_EQ(seen.host, silent.authority());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(RelayProbeTest, goesThroughTheProxyAndNamesIt) {
  contract::Recorder<std::string> heads;
  const LoopbackServer proxy([&](Tcp::socket socket) {
    heads.add(readHead(socket));
    boost::asio::write(socket, boost::asio::buffer(std::string("HTTP/1.1 403 Forbidden\r\n\r\n")));
  });
  memory::MemoryEnvironment environment;
  environment.set("https_proxy", "http://kim:pass@" + proxy.authority());
  const auto seen = probed("https://relay.example.org/healthz", Seconds(20), ProxySettings::from(environment));
  EXPECT_EQ(seen.failure, "The proxy refused the connection with HTTP 403.");
  EXPECT_EQ(seen.proxy, proxy.authority()) << "without its credentials";
  EXPECT_EQ(heads.size(), 1U);
}

}  // namespace
}  // namespace tallyfox::linux_os
