// WebSockets over real sockets, beside what the contract shows: refused upgrades with their status, frames that break
// off, close codes, TLS with its proof of the host, and tasks that end in the midst of things.

#include "platform/linux/BeastWebSocketTransport.hpp"

#include <gtest/gtest.h>

#include <latch>

#include "base/Limits.hpp"
#include "platform/NetworkFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using contract::Recorder;
using testing_network::answeringWith;
using testing_network::LoopbackServer;
using testing_network::overTls;
using testing_network::Tcp;
using testing_network::TestCertificate;
using testing_network::TlsSocket;
using testing_network::TrustingNetwork;
using testing_network::waitUntil;
namespace websocket = testing_network::websocket;

using Frame = std::expected<Bytes, TransportError>;

/// A connection that asks for one frame.
struct Client {
  Client(NetworkThread& network, const std::string& url, Seconds timeout = Seconds{10}) : transport(network) {
    task = transport.start({url, {}, timeout},
                           {[events = events] { events.add("open"); }, [events = events] { events.add("close"); }});
    receive();
  }
  void receive() {
    task->receive([frames = frames](const Frame& frame) { frames.add(frame); });
  }
  /// The outcome of the first receive: the text, or the description of the failure.
  std::string outcome() {
    if (!waitUntil([this] { return frames.size() > 0; })) return "nothing";
    const Frame frame = frames.all().front();
    return frame ? std::string(textOf(*frame)) : frame.error().description;
  }

  BeastWebSocketTransport transport;
  Recorder<std::string> events;
  Recorder<Frame> frames;
  std::unique_ptr<WebSocketTask> task;
};

/// Upgrades and hands the socket over.
template <typename Serve>
LoopbackServer::Handler afterUpgrade(Serve serve) {
  return [serve](Tcp::socket socket) {
    websocket::stream<Tcp::socket> stream(std::move(socket));
    stream.accept();
    serve(stream);
  };
}

TEST(BeastWebSocketTransport, tellsTheStatusOfARefusedUpgrade) {
  NetworkThread network;
  for (const std::string status : {"401", "410", "500", "204"}) {
    const LoopbackServer server(answeringWith("HTTP/1.1 " + status + " X\r\ncontent-length: 0\r\n\r\n"));
    Client client(network, "ws://" + server.authority());
    EXPECT_EQ(client.outcome(), "The relay answered the WebSocket request with HTTP " + status + ".");
    EXPECT_EQ(client.events.size(), 0U);
  }
}

TEST(BeastWebSocketTransport, describesWhatIsNoWebSocketServer) {
  NetworkThread network;
  const LoopbackServer garbage(answeringWith("220 mail.example ready\r\n\r\n"));
  EXPECT_EQ(Client(network, "ws://" + garbage.authority()).outcome(), "The answer is not valid HTTP.");
  const LoopbackServer wrongKey(
      answeringWith("HTTP/1.1 101 Switching Protocols\r\nupgrade: websocket\r\n"
                    "connection: upgrade\r\nsec-websocket-accept: bm8=\r\n\r\n"));
  EXPECT_NE(Client(network, "ws://" + wrongKey.authority()).outcome(), "nothing");
  const testing_network::SilentServer silent;
  EXPECT_EQ(Client(network, "ws://" + silent.authority(), Seconds{0.2}).outcome(), "The connection timed out.");
}

TEST(BeastWebSocketTransport, givesTheCloseCodeOfTheOtherSide) {
  NetworkThread network;
  const LoopbackServer server(afterUpgrade([](auto& stream) { stream.close(websocket::close_reason(4401)); }));
  Client client(network, "ws://" + server.authority());
  EXPECT_EQ(client.outcome(), "The other side closed the connection with code 4401.");
  EXPECT_EQ(client.frames.all().front().error().closeCode, 4401);
}

TEST(BeastWebSocketTransport, noticesAConnectionThatBreaksOffInAFrame) {
  NetworkThread network;
  const LoopbackServer server(afterUpgrade([](auto& stream) {
    const std::string head("\x81\x7e\x10\x00 half", 9);  // a text frame of 4096 bytes, of which a few come
    boost::asio::write(stream.next_layer(), boost::asio::buffer(head));
  }));
  Client client(network, "ws://" + server.authority());
  EXPECT_EQ(client.outcome(), "The connection was lost.");
  EXPECT_TRUE(waitUntil([&] { return client.events.count("close") == 1; }));
}

TEST(BeastWebSocketTransport, endsOnBytesThatAreNoFrame) {
  NetworkThread network;
  const LoopbackServer server(afterUpgrade([](auto& stream) {
    boost::asio::write(stream.next_layer(), boost::asio::buffer(std::string(64, '\xff')));
    testing_network::readToEnd(stream.next_layer());
  }));
  Client client(network, "ws://" + server.authority());
  EXPECT_EQ(client.outcome(), "The other side broke the WebSocket protocol.");
}

TEST(BeastWebSocketTransport, refusesAFrameOverTheLimitBeforeItHasCome) {
  NetworkThread network;
  const LoopbackServer server(afterUpgrade([](auto& stream) {
    std::string head("\x81\x7f", 2);
    for (int shift = 56; shift >= 0; shift -= 8)
      head += static_cast<char>((std::uint64_t{limits::frameBytes + 1} >> static_cast<unsigned>(shift)) & 0xFFU);
    boost::asio::write(stream.next_layer(), boost::asio::buffer(head));
    testing_network::readToEnd(stream.next_layer());
  }));
  Client client(network, "ws://" + server.authority());
  EXPECT_EQ(client.outcome(), "A message exceeds the size limit.");
}

TEST(BeastWebSocketTransport, keepsTheLastFrameAndTheFailureForLater) {
  NetworkThread network;
  const LoopbackServer server(afterUpgrade([](auto& stream) {
    stream.write(boost::asio::buffer(std::string("one")));
    stream.write(boost::asio::buffer(std::string("two")));
    stream.close(websocket::close_reason(4410));
  }));
  Client client(network, "ws://" + server.authority());
  EXPECT_EQ(client.outcome(), "one");
  client.receive();
  EXPECT_TRUE(waitUntil([&] { return client.frames.size() == 2; }));
  EXPECT_TRUE(client.frames.all()[1].has_value());
  EXPECT_TRUE(waitUntil([&] { return client.events.count("close") == 1; }));
  client.receive();
  ASSERT_TRUE(waitUntil([&] { return client.frames.size() == 3; }));
  EXPECT_EQ(client.frames.all()[2].error().closeCode, 4410);
}

TEST(BeastWebSocketTransport, sendsTheCloseFrameThoughTheTaskGoesAtOnce) {
  NetworkThread network;
  Recorder<int> codes;
  const LoopbackServer server(afterUpgrade([codes](auto& stream) {
    boost::beast::flat_buffer buffer;
    boost::system::error_code error;
    stream.read(buffer, error);
    codes.add(stream.reason().code);
  }));
  Client client(network, "ws://" + server.authority());
  EXPECT_TRUE(waitUntil([&] { return client.events.count("open") == 1; }));
  client.task->cancel(1001);
  client.task.reset();
  EXPECT_TRUE(waitUntil([&] { return codes.size() == 1; }));
  EXPECT_EQ(codes.all().front(), 1001);
}

TEST(BeastWebSocketTransport, refusesToQueueWithoutBound) {
  NetworkThread network;
  const testing_network::SilentServer silent;
  Client client(network, "ws://" + silent.authority());
  const Recorder<std::string> failures;
  const std::string large(limits::outgoingBytes / 2 + 1, 'x');
  for (int round = 0; round < 2; ++round)
    client.task->send(large, [failures](const auto& sent) { failures.add(sent ? "sent" : sent.error().description); });
  EXPECT_TRUE(waitUntil([&] { return failures.size() == 1; }));
  EXPECT_EQ(failures.all().front(), "Too much is waiting to be sent.");
}

TEST(BeastWebSocketTransport, canBeDestroyedByItsOwnCallback) {
  NetworkThread network;
  std::latch isArmed(1);
  const LoopbackServer server(afterUpgrade([&isArmed](auto& stream) {
    stream.write(boost::asio::buffer(std::string("one")));
    isArmed.wait();
  }));
  Client client(network, "ws://" + server.authority());
  EXPECT_EQ(client.outcome(), "one");
  const Recorder<int> ended;
  client.task->receive([&client, ended](const Frame&) {
    client.task.reset();
    ended.add(1);
  });
  isArmed.count_down();
  EXPECT_TRUE(waitUntil([&] { return ended.size() == 1; }));
}

TEST(BeastWebSocketTransport, failsForAnAddressThatIsNone) {
  NetworkThread network;
  for (const std::string url : {"", "relay", "http://127.0.0.1/", "ws://"})
    EXPECT_EQ(Client(network, url).outcome(), "The request is not valid.") << url;
}

TEST(BeastWebSocketTransport, keepsAfterASleepOnlyWhatProvesThatItLives) {
  NetworkThread network;
  BeastWebSocketTransport transport(network);
  const LoopbackServer living(afterUpgrade([](auto& stream) {
    boost::beast::flat_buffer buffer;
    for (;;) {
      stream.read(buffer);  // answers pings
      stream.write(buffer.data());
      buffer.clear();
    }
  }));
  const LoopbackServer dead(afterUpgrade([](auto& stream) { testing_network::readToEnd(stream.next_layer()); }));
  const testing_network::SilentServer halfWay;
  struct Connection {
    Connection(BeastWebSocketTransport& from, const std::string& authority)
        : task(from.start({"ws://" + authority, {}, Seconds{30}}, {[events = events] { events.add("open"); }, {}})) {
      task->receive([frames = frames](const Frame& frame) {
        frames.add(frame ? std::string(textOf(*frame)) : frame.error().description);
      });
    }
    Recorder<std::string> events;
    Recorder<std::string> frames;
    std::unique_ptr<WebSocketTask> task;
  };
  Connection good(transport, living.authority());
  Connection lost(transport, dead.authority());
  const Connection connecting(transport, halfWay.authority());
  ASSERT_TRUE(waitUntil([&] { return good.events.size() + lost.events.size() == 2; }));

  transport.demandProofOfLife();
  ASSERT_TRUE(waitUntil([&] { return connecting.frames.size() == 1; }));
  EXPECT_EQ(connecting.frames.all().front(), "The connection was lost.");
  EXPECT_EQ(lost.frames.size(), 0U);
  transport.demandProofOfLife();  // asks again amid the first time, as a machine may that wakes twice
  ASSERT_TRUE(waitUntil([&] { return lost.frames.size() == 1; }));
  EXPECT_EQ(lost.frames.all().front(), "The connection was lost.");
  EXPECT_EQ(good.frames.size(), 0U);
  good.task->send("still here", [](const std::expected<void, TransportError>&) {});
  ASSERT_TRUE(waitUntil([&] { return good.frames.size() == 1; }));
  EXPECT_EQ(good.frames.all().front(), "still here");
}

LoopbackServer::Handler greetingOverTls(const TestCertificate& certificate) {
  return overTls(certificate, [](TlsSocket& socket) {
    websocket::stream<TlsSocket&> stream(socket);
    stream.accept();
    stream.write(boost::asio::buffer(std::string("hello")));
    boost::beast::flat_buffer buffer;
    boost::system::error_code error;
    stream.read(buffer, error);
  });
}

TEST(BeastWebSocketTransport, opensOverTlsToTheRightHost) {
  const auto authority = TestCertificate::authority();
  TrustingNetwork trusting(authority);
  const LoopbackServer server(greetingOverTls(authority.sign({})));
  EXPECT_EQ(Client(trusting.network(), "wss://" + localhostPort(server)).outcome(), "hello");
}

TEST(BeastWebSocketTransport, doesNotOpenToAHostThatProvesNothing) {
  const auto authority = TestCertificate::authority();
  TrustingNetwork trusting(authority);
  const LoopbackServer otherHost(greetingOverTls(authority.sign({.alternativeName = "DNS:relay.example"})));
  Client wrong(trusting.network(), "wss://" + localhostPort(otherHost));
  EXPECT_EQ(wrong.outcome(), "The certificate could not be verified: hostname mismatch.");
  EXPECT_EQ(wrong.events.size(), 0U);
  const LoopbackServer unknown(greetingOverTls(TestCertificate::authority().sign({})));
  EXPECT_EQ(Client(trusting.network(), "wss://" + localhostPort(unknown)).outcome(),
            "The certificate could not be verified: unable to get local issuer certificate.");
}

}  // namespace
}  // namespace tallyfox::linux_os
