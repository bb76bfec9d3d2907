// The opening handshake: sections 4.1 to 4.4 of RFC 6455, and what RFC 9110 and RFC 9112 say of any request.
#include <gmock/gmock.h>

#include "ConformanceTest.hpp"

namespace tallyfox::server::conformance {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class HandshakeTest : public ConformanceTest {
 protected:
  std::string answerTo(const std::string& request) {
    RawClient client(relay.port());
    client.send(request);
    return client.httpAnswer();
  }
  struct Request {
    const char* section;
    const char* what;
    std::string text;
    const char* status;
  };
  void expectAnswers(const std::vector<Request>& requests) {
    for (const Request& request : requests) {
      SCOPED_TRACE(std::string(request.section) + ": " + request.what);
      EXPECT_THAT(answerTo(request.text), StartsWith(std::string("HTTP/1.1 ") + request.status));
    }
    expectUndisturbed();
  }
};

// The example of section 1.3.
TEST_F(HandshakeTest, answersTheKeyWithItsHash) {
  const std::string answer = answerTo(Handshake().text());
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 101 Switching Protocols\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nSec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nUpgrade: websocket\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nConnection: upgrade\r\n"));
  const std::string other = answerTo(Handshake{.key = "Sec-WebSocket-Key: x3JJHMbDL1EzLkh9GBhXDw==\r\n"}.text());
  EXPECT_THAT(other, HasSubstr("\r\nSec-WebSocket-Accept: HSmrc0sMlYUkAGmm5OPpG2HaGWk=\r\n"));
}

TEST_F(HandshakeTest, acceptsEveryFormOfAGoodRequest) {
  expectAnswers({
      {"4.2.1", "tokens in any case",
       Handshake{.upgrade = "upgrade: WebSocket\r\n", .connection = "CONNECTION: uPGRADE\r\n"}.text(), "101"},
      {"9110 7.6.1", "a list of options", Handshake{.connection = "Connection: keep-alive, Upgrade\r\n"}.text(), "101"},
      {"9110 5.6.1", "a list with empty elements", Handshake{.connection = "Connection: , ,Upgrade ,\r\n"}.text(),
       "101"},
      {"9110 5.3", "a list over two lines",
       Handshake{.connection = "Connection: keep-alive\r\nConnection: Upgrade\r\n"}.text(), "101"},
      {"9110 7.8", "several protocols", Handshake{.upgrade = "Upgrade: h2c, websocket\r\n"}.text(), "101"},
      {"9110 7.8", "several protocols over two lines",
       Handshake{.upgrade = "Upgrade: h2c\r\nUpgrade: websocket\r\n"}.text(), "101"},
      {"9112 5", "white space around values", Handshake{.version = "Sec-WebSocket-Version: \t13 \r\n"}.text(), "101"},
      {"4.2.1", "the relay's own origin", Handshake{.others = "Origin: http://relay\r\n"}.text(), "101"},
      {"4.2.1", "unknown headers", Handshake{.others = "X-Unknown: 1\r\nCookie: a=b\r\n"}.text(), "101"},
      {"3", "a query", Handshake{.requestLine = "GET /phone?x=1 HTTP/1.1"}.text(), "101"},
      {"9110 8.6", "a length of nothing", Handshake{.others = "Content-Length: 0\r\n"}.text(), "101"},
  });
}

// What no negotiation was about is not in the answer (sections 4.2.2 and 9.1).
TEST_F(HandshakeTest, negotiatesNeitherSubprotocolsNorExtensions) {
  const std::string answer =
      answerTo(Handshake{.others = "Sec-WebSocket-Protocol: chat, superchat\r\n"
                                   "Sec-WebSocket-Extensions: permessage-deflate; client_max_window_bits\r\n"}
                   .text());
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 101 "));
  EXPECT_THAT(answer, Not(HasSubstr("Sec-WebSocket-Protocol")));
  EXPECT_THAT(answer, Not(HasSubstr("Sec-WebSocket-Extensions")));
}

TEST_F(HandshakeTest, refusesABadKey) {
  const auto key = [](const std::string& value) {
    return Handshake{.key = "Sec-WebSocket-Key: " + value + "\r\n"}.text();
  };
  expectAnswers({
      {"4.2.1", "none", Handshake{.key = ""}.text(), "400"},
      {"4.2.1", "an empty one", key(""), "400"},
      {"4.2.1", "15 bytes", key("AAECAwQFBgcICQoLDA0O"), "400"},
      {"4.2.1", "17 bytes", key("AAECAwQFBgcICQoLDA0ODxA="), "400"},
      {"4.2.1", "no base64", key("dGhlIHNhbXBsZSBub25jZ!=="), "400"},
      {"4.2.1", "no padding", key("dGhlIHNhbXBsZSBub25jZQ"), "400"},
      {"4.2.1", "far too long", key(std::string(4000, 'A')), "400"},
      {"11.3.1", "two lines", key("dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ=="), "400"},
  });
}

TEST_F(HandshakeTest, speaksVersionThirteenAlone) {
  for (const char* version : {"12", "14", "8", "0", "013", "13, 8", "13.0", "x", ""}) {
    const std::string answer =
        answerTo(Handshake{.version = std::string("Sec-WebSocket-Version: ") + version + "\r\n"}.text());
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 426 ")) << version;
    EXPECT_THAT(answer, HasSubstr("\r\nSec-WebSocket-Version: 13\r\n")) << version;
    EXPECT_THAT(answer, HasSubstr("\r\nUpgrade: websocket\r\n")) << version;
    EXPECT_THAT(answer, HasSubstr("\r\nConnection: Upgrade, close\r\n")) << version;
  }
  expectAnswers({
      {"4.4", "no version", Handshake{.version = ""}.text(), "426"},
      {"11.3.5", "two lines", Handshake{.version = "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Version: 13\r\n"}.text(),
       "400"},
  });
}

// Without an upgrade these are requests like any other, for which there is nothing at this path.
TEST_F(HandshakeTest, upgradesNothingButAGetOfHttpOneOne) {
  expectAnswers({
      {"9110 7.8", "HTTP/1.0", Handshake{.requestLine = "GET /phone HTTP/1.0"}.text(), "404"},
      {"4.2.1", "POST", Handshake{.requestLine = "POST /phone HTTP/1.1"}.text(), "404"},
      {"4.2.1", "no Upgrade", Handshake{.upgrade = ""}.text(), "404"},
      {"4.2.1", "another protocol", Handshake{.upgrade = "Upgrade: h2c\r\n"}.text(), "404"},
      {"4.2.1", "a longer name", Handshake{.upgrade = "Upgrade: websockets\r\n"}.text(), "404"},
      {"4.2.1", "no Connection", Handshake{.connection = ""}.text(), "404"},
      {"9110 7.8", "Upgrade is not listed in Connection", Handshake{.connection = "Connection: keep-alive\r\n"}.text(),
       "404"},
      {"4.2.1", "a method in lower case", Handshake{.requestLine = "get /phone HTTP/1.1"}.text(), "404"},
  });
}

TEST_F(HandshakeTest, refusesWhatIsNoRequest) {
  expectAnswers({
      // Forgiveness is asked for here, for the sake of clients that send one request after another on a connection.
      {"9112 2.2", "an empty line before the request", "\r\n" + Handshake().text(), "400"},
      {"9112 3.2", "no Host", Handshake{.host = ""}.text(), "400"},
      {"10.2", "the origin of another site", Handshake{.others = "Origin: https://example.org\r\n"}.text(), "403"},
      {"9112 3.2", "two Hosts", Handshake{.host = "Host: relay\r\nHost: relay\r\n"}.text(), "400"},
      {"9112 3.2", "no Host, no upgrade", "GET /healthz HTTP/1.1\r\n\r\n", "400"},
      {"9112 3.2", "HTTP/1.0 needs no Host", "GET /healthz HTTP/1.0\r\n\r\n", "200"},
      {"9112 2.3", "HTTP/2.0", Handshake{.requestLine = "GET /phone HTTP/2.0"}.text(), "400"},
      {"9112 2.3", "no version", Handshake{.requestLine = "GET /phone"}.text(), "400"},
      {"9112 2.3", "a version in lower case", Handshake{.requestLine = "GET /phone http/1.1"}.text(), "400"},
      {"9112 3", "two spaces", Handshake{.requestLine = "GET  /phone HTTP/1.1"}.text(), "400"},
      {"9112 3", "no target", Handshake{.requestLine = "GET HTTP/1.1"}.text(), "400"},
      {"9112 5.1", "white space before the colon", Handshake{.others = "X-Header : 1\r\n"}.text(), "400"},
      {"9112 5", "no colon", Handshake{.others = "X-Header\r\n"}.text(), "400"},
      {"9112 5", "no name", Handshake{.others = ": 1\r\n"}.text(), "400"},
      {"9110 5.5", "a control character", Handshake{.others = std::string("X-Header: a\0b\r\n", 15)}.text(), "400"},
      {"9110 5.5", "a bare CR", Handshake{.others = "X-Header: a\rb\r\n"}.text(), "400"},
      {"9112 6.3", "two lengths", "PUT /x HTTP/1.1\r\nHost: relay\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nab",
       "400"},
      {"9112 6.3", "no number as length", "PUT /x HTTP/1.1\r\nHost: relay\r\nContent-Length: x\r\n\r\n", "400"},
      {"9112 6.1", "a length and chunks",
       "PUT /x HTTP/1.1\r\nHost: relay\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "400"},
      {"9112 7.1", "a bad chunk", "PUT /x HTTP/1.1\r\nHost: relay\r\nTransfer-Encoding: chunked\r\n\r\nx\r\n", "400"},
      {"9110 15.5.1", "no HTTP at all", "\x16\x03\x01\x02\r\n\r\n", "400"},
      {"9110 5.4", "more headers than are read",
       Handshake{.others = "X-Header: " + std::string(9000, 'x') + "\r\n"}.text(), "431"},
      {"9110 5.4", "more headers than are read, in many",
       Handshake{.others =
                     [] {
                       std::string all;
                       for (int i = 0; i < 900; ++i)
                         all += "X: 12345\r\n";
                       return all;
                     }()}
           .text(),
       "431"},
  });
}

// A folded header (RFC 9112 5.2) is either refused or read as one line; it must not hide what follows.
TEST_F(HandshakeTest, readsAFoldedHeaderAsOneLine) {
  EXPECT_THAT(answerTo(Handshake{.others = "X-Header: a\r\n b\r\n"}.text()), StartsWith("HTTP/1.1 101 "));
  EXPECT_THAT(answerTo(Handshake{.connection = "Connection: keep-alive,\r\n Upgrade\r\n"}.text()),
              StartsWith("HTTP/1.1 101 "));
  EXPECT_THAT(
      answerTo(Handshake{.connection = "Connection: keep-alive\r\nX-Header: a\r\n Connection: Upgrade\r\n"}.text()),
      StartsWith("HTTP/1.1 404 "));
}

// Section 4.1 has the client wait for the answer; RFC 9110 7.8 has the server read the whole request before it
// switches.
TEST_F(HandshakeTest, upgradesNoRequestWithMoreBehindIt) {
  expectAnswers({
      {"4.1", "a frame sent along", Handshake().text() + textFrame("{}"), "400"},
      {"9110 7.8", "a body", Handshake{.others = "Content-Length: 2\r\n"}.text() + "{}", "400"},
      {"9110 7.8", "a body to come", Handshake{.others = "Content-Length: 2\r\n"}.text(), "400"},
      {"9110 7.8", "chunks", Handshake{.others = "Transfer-Encoding: chunked\r\n"}.text() + "0\r\n\r\n", "400"},
      {"9112 9.3.2", "a second request", Handshake().text() + Handshake().text(), "400"},
  });
}

TEST_F(HandshakeTest, readsARequestThatComesByteByByte) {
  RawClient client(relay.port());
  client.sendByteByByte(Handshake().text());
  EXPECT_THAT(client.httpAnswer(), StartsWith("HTTP/1.1 101 "));
}

// RFC 9110 9.3.2: the head that a GET would have, and nothing behind it.
TEST_F(HandshakeTest, answersHeadWithoutContent) {
  RawClient client(relay.port());
  client.send("HEAD /nowhere HTTP/1.1\r\nHost: relay\r\n\r\n");
  client.finishSending();
  const std::string answer = client.everything();
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 404 "));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Length: 10\r\n"));
  EXPECT_THAT(answer, ::testing::EndsWith("\r\n\r\n"));
}

// Whatever is refused is refused in order: an answer, then the end.
TEST_F(HandshakeTest, endsTheConnectionAfterARefusal) {
  RawClient client(relay.port());
  client.send(Handshake{.version = ""}.text());
  EXPECT_THAT(client.httpAnswer(), StartsWith("HTTP/1.1 426 "));
  EXPECT_EQ(client.next(), "end");
}

}  // namespace
}  // namespace tallyfox::server::conformance
