// Requests over real sockets: statuses, refusals, silence and garbage become what the seam promises, and no answer is
// taken from a server whose certificate does not prove that it is the one asked for.

#include "platform/linux/BeastHttpClient.hpp"

#include <gtest/gtest.h>

#include "platform/NetworkFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using contract::Recorder;
using testing_network::answeringWith;
using testing_network::LoopbackServer;
using testing_network::overTls;
using testing_network::TestCertificate;
using testing_network::TlsSocket;
using testing_network::TrustingNetwork;
using testing_network::waitUntil;

/// One request's outcome: the status, or the error's description.
std::string outcomeOf(NetworkThread& network, HttpRequest request) {
  BeastHttpClient client(network);
  const Recorder<std::string> seen;
  const auto exchange = client.send(request, [seen](const std::expected<HttpResponse, TransportError>& response) {
    seen.add(response ? std::to_string(response->status) : response.error().description);
  });
  if (!waitUntil([&] { return seen.size() > 0; })) return "nothing";
  return seen.all().front();
}

std::string outcomeOf(NetworkThread& network, const std::string& url, Seconds timeout = Seconds{10}) {
  return outcomeOf(network, HttpRequest{"PUT", url, {{"authorization", "Bearer secret"}}, "{}", timeout});
}

void answer204(TlsSocket& socket) {
  boost::beast::flat_buffer buffer;
  testing_network::http::request<testing_network::http::string_body> request;
  testing_network::http::read(socket, buffer, request);
  boost::asio::write(socket, boost::asio::buffer(std::string("HTTP/1.1 204 No Content\r\n\r\n")));
}

std::string outcomeOverTls(const testing_network::CertificateRequest& certificate, const std::string& host) {
  const auto authority = TestCertificate::authority();
  TrustingNetwork trusting(authority);
  const LoopbackServer server(overTls(authority.sign(certificate), answer204));
  return outcomeOf(trusting.network(), "https://" + host + ":" + server.port() + "/x");
}

TEST(BeastHttpClient, describesFailuresWithoutSecrets) {
  NetworkThread network;
  const testing_network::RefusingPort refusing;
  EXPECT_EQ(outcomeOf(network, "http://" + refusing.authority()), "Connection refused.");
  EXPECT_EQ(outcomeOf(network, "http://no-such-host.invalid/"), "The host name does not resolve.");
  const LoopbackServer closing([](testing_network::Tcp::socket socket) { testing_network::readHead(socket); });
  EXPECT_EQ(outcomeOf(network, "http://" + closing.authority()), "The connection was lost.");
  const LoopbackServer garbage(answeringWith("220 mail.example ready\r\n\r\n"));
  EXPECT_EQ(outcomeOf(network, "http://" + garbage.authority()), "The answer is not valid HTTP.");
  const testing_network::SilentServer silent;
  EXPECT_EQ(outcomeOf(network, "http://" + silent.authority(), Seconds{0.2}), "The connection timed out.");
}

TEST(BeastHttpClient, givesUpOnHalfAnAnswerWhenTheTimeIsOver) {
  NetworkThread network;
  const LoopbackServer half(answeringWith("HTTP/1.1 204 No Con"));
  EXPECT_EQ(outcomeOf(network, "http://" + half.authority(), Seconds{0.3}), "The connection timed out.");
}

TEST(BeastHttpClient, isCompleteWithTheHeadOfAnAnswer) {
  NetworkThread network;
  const LoopbackServer endless(answeringWith("HTTP/1.1 500 Oops\r\ncontent-length: 99999999999\r\n\r\nbeginning"));
  EXPECT_EQ(outcomeOf(network, "http://" + endless.authority()), "500");
}

TEST(BeastHttpClient, waitsForTheFinalAnswerBehindInterimOnes) {
  NetworkThread network;
  const LoopbackServer server(answeringWith("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 410 Gone\r\n\r\n"));
  EXPECT_EQ(outcomeOf(network, "http://" + server.authority()), "410");
}

TEST(BeastHttpClient, refusesAHeadWithoutEnd) {
  NetworkThread network;
  const LoopbackServer server(answeringWith("HTTP/1.1 204 No Content\r\nx: " + std::string(100'000, 'x')));
  EXPECT_EQ(outcomeOf(network, "http://" + server.authority()), "The answer is not valid HTTP.");
}

TEST(BeastHttpClient, sendsNothingForARequestThatIsNotValid) {
  NetworkThread network;
  for (const std::string url : {"", "relay.example", "ftp://127.0.0.1/", "wss://127.0.0.1/", "http:///path"})
    EXPECT_EQ(outcomeOf(network, url), "The request is not valid.") << url;
  const HttpRequest forged{"GET", "http://127.0.0.1:1/", {{"authorization", "a\r\nx: y"}}, "", Seconds{5}};
  EXPECT_EQ(outcomeOf(network, forged), "The request is not valid.");
}

TEST(BeastHttpClient, takesAnAnswerFromTheRightHost) {
  EXPECT_EQ(outcomeOverTls({}, "localhost"), "204");
  EXPECT_EQ(outcomeOverTls({.alternativeName = "IP:127.0.0.1"}, "127.0.0.1"), "204");
}

TEST(BeastHttpClient, refusesACertificateOfAnotherHost) {
  EXPECT_EQ(outcomeOverTls({.alternativeName = "DNS:relay.example"}, "localhost"),
            "The certificate could not be verified: hostname mismatch.");
  EXPECT_EQ(outcomeOverTls({}, "127.0.0.1"), "The certificate could not be verified: IP address mismatch.");
}

TEST(BeastHttpClient, refusesACertificateOutsideItsTime) {
  EXPECT_EQ(outcomeOverTls({.validFromSeconds = -7200, .validToSeconds = -3600}, "localhost"),
            "The certificate could not be verified: certificate has expired.");
  EXPECT_EQ(outcomeOverTls({.validFromSeconds = 3600, .validToSeconds = 7200}, "localhost"),
            "The certificate could not be verified: certificate is not yet valid.");
}

TEST(BeastHttpClient, refusesACertificateOfAnUnknownAuthority) {
  const auto authority = TestCertificate::authority();
  const auto other = TestCertificate::authority();
  TrustingNetwork trusting(other);
  const LoopbackServer server(overTls(authority.sign({}), answer204));
  EXPECT_EQ(outcomeOf(trusting.network(), "https://" + localhostPort(server)),
            "The certificate could not be verified: unable to get local issuer certificate.");
}

TEST(BeastHttpClient, refusesATlsVersionThatIsTooOld) {
  const auto authority = TestCertificate::authority();
  TrustingNetwork trusting(authority);
  const LoopbackServer server(overTls(authority.sign({}), answer204, TLS1_1_VERSION));
  EXPECT_EQ(outcomeOf(trusting.network(), "https://" + localhostPort(server)),
            "The secure connection could not be established.");
}

TEST(BeastHttpClient, doesNotSpeakPlainlyToATlsAddress) {
  NetworkThread network;
  const LoopbackServer plain(answeringWith("HTTP/1.1 204 No Content\r\n\r\n"));
  EXPECT_NE(outcomeOf(network, "https://" + localhostPort(plain), Seconds{1}), "204");
}

TEST(BeastHttpClient, isSilentAfterItsNetworkThreadIsGone) {
  auto network = std::make_unique<NetworkThread>();
  BeastHttpClient client(*network);
  const testing_network::SilentServer silent;
  const Recorder<int> seen;
  auto exchange =
      client.send({"GET", "http://" + silent.authority(), {}, "", Seconds{0.05}}, [seen](const auto&) { seen.add(1); });
  network.reset();
  const std::size_t before = seen.size();
  exchange.reset();
  exchange =
      client.send({"GET", "http://" + silent.authority(), {}, "", Seconds{0.05}}, [seen](const auto&) { seen.add(1); });
  EXPECT_NE(exchange, nullptr);
  EXPECT_EQ(seen.size(), before);
}

}  // namespace
}  // namespace tallyfox::linux_os
