// Agents and phones on three relays that are killed one after the other, and their NATS server too, under traffic: no
// pairing is lost, no decision reaches an agent twice, and a phone is never told "offline" of one that did.
// TALLYFOX_CLUSTER_CHAOS=ROUNDS[,SEED] makes it longer, with what is killed drawn at random.
#include <gtest/gtest.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <charconv>
#include <cstdlib>
#include <expected>
#include <functional>
#include <map>
#include <random>
#include <set>

#include "Cluster.hpp"
#include "LiveRelay.hpp"
#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
namespace message = testing::message;
using namespace std::chrono_literals;
using testing::Cluster;
using Socket = websocket::stream<beast::tcp_stream>;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);
constexpr int pairings = 6;
/// Before a client tries the next relay.
constexpr auto pause = 50ms;
/// Longer than a result takes that is going to come at all.
constexpr auto patience = 15s;
/// Results that every pairing has to see between two kills.
constexpr int progress = 40;

/// What became of one decision, told by both ends.
struct Decision {
  int delivered = 0;  ///< to the agent
  int results = 0;    ///< at the phone that asked
  int offline = 0;
  int uncertain = 0;
  bool phoneLost = false;  ///< its phone's connection ended before the answer
  bool silent = false;     ///< no answer came although its phone waited
  bool agentLost = false;  ///< its agent's connection ended after it was delivered
  bool natsLost = false;   ///< NATS was killed meanwhile
};

/// The clients of all pairings, in one thread with the test.
class Traffic {
 public:
  explicit Traffic(const Cluster& cluster) : cluster_(cluster) {
    for (int pairing = 0; pairing < pairings; ++pairing) {
      asio::co_spawn(io_, agent(pairing), asio::detached);
      asio::co_spawn(io_, phone(pairing), asio::detached);
    }
  }
  /// Runs until this holds; false when it takes far too long.
  bool runUntil(const std::function<bool()>& holds) {
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (!holds()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      io_.run_one_for(100ms);
    }
    return true;
  }
  void flow(std::chrono::milliseconds time) { io_.run_for(time); }
  bool progresses() {
    const std::map<int, int> before = results;
    return runUntil([&] {
      for (int pairing = 0; pairing < pairings; ++pairing) {
        const auto start = before.find(pairing);
        if (results[pairing] < (start == before.end() ? 0 : start->second) + progress) return false;
      }
      return true;
    });
  }
  /// Asks nothing new and waits for what was asked.
  bool ends() {
    ending_ = true;
    return runUntil([this] { return phones_ == 0; });
  }
  void natsIsLost() {
    for (auto& [id, decision] : decisions)
      if (decision.results + decision.offline + decision.uncertain == 0) decision.natsLost = true;
  }

  std::map<std::string, Decision> decisions;
  std::map<int, int> results;  ///< by pairing

 private:
  static std::string pairingID(int pairing) { return "P" + std::to_string(pairing); }
  static std::string token(int pairing) { return "token-" + std::to_string(pairing); }

  asio::awaitable<void> sleep(std::chrono::milliseconds time) {
    asio::steady_timer timer(io_, time);
    co_await timer.async_wait(resultOf);
  }

  asio::awaitable<bool> open(Socket& socket, std::uint16_t port, const std::string& path, const std::string& bearer) {
    auto& stream = beast::get_lowest_layer(socket);
    stream.expires_after(patience);
    const auto [refused] = co_await stream.async_connect({asio::ip::address_v4::loopback(), port}, resultOf);
    if (refused) co_return false;
    socket.set_option(websocket::stream_base::decorator([bearer](websocket::request_type& request) {
      if (!bearer.empty()) request.set(beast::http::field::authorization, "Bearer " + bearer);
    }));
    socket.text(true);
    const auto [failed] = co_await socket.async_handshake("relay", path, resultOf);
    co_return !failed;
  }
  asio::awaitable<bool> write(Socket& socket, std::string text) {
    const auto [error, size] = co_await socket.async_write(asio::buffer(text), resultOf);
    co_return !error;
  }
  /// A frame, or why there is none.
  asio::awaitable<std::expected<std::string, beast::error_code>> read(Socket& socket) {
    std::string text;
    auto buffer = asio::dynamic_buffer(text);
    const auto [error, size] = co_await socket.async_read(buffer, resultOf);
    if (error) co_return std::unexpected(error);
    co_return text;
  }

  asio::awaitable<void> agent(int pairing) {
    for (std::size_t turn = static_cast<std::size_t>(pairing);; ++turn) {
      Socket socket(io_);
      const std::uint16_t port = cluster_.port(turn);
      if (port != 0 && co_await open(socket, port, "/", token(pairing))) co_await serve(socket, pairing);
      co_await sleep(pause);
    }
  }
  asio::awaitable<void> serve(Socket& socket, int pairing) {
    beast::get_lowest_layer(socket).expires_never();
    std::vector<std::string> taken;
    bool open = co_await write(socket, message::snapshot("ax1:" + std::to_string(pairing)));
    while (open) {
      const auto frame = co_await read(socket);
      open = frame.has_value();
      const Json parsed = Json::parse(frame.value_or("{}"));
      if (parsed.value("type", "") != "approval.request") continue;
      const std::string id = parsed.at("decisionID");
      ++decisions[id].delivered;
      taken.push_back(id);
      open = co_await write(socket, message::result(id));
    }
    for (const std::string& id : taken)
      decisions[id].agentLost = true;
  }

  asio::awaitable<void> phone(int pairing) {
    ++phones_;
    // Each at another relay than its agent, at first.
    for (std::size_t turn = static_cast<std::size_t>(pairing) + 1; !ending_; ++turn) {
      Socket socket(io_);
      const std::uint16_t port = cluster_.port(turn);
      if (port != 0 && co_await open(socket, port, "/phone", "")) co_await ask(socket, pairing);
      co_await sleep(pause);
    }
    --phones_;
  }
  asio::awaitable<void> ask(Socket& socket, int pairing) {
    if (!co_await write(socket, message::hello(pairingID(pairing), token(pairing), "D1", "Phone"))) co_return;
    // Whatever the relay, it has the snapshot or gets it; agents send theirs but once a connection.
    for (bool upToDate = false; !upToDate;) {
      const auto frame = co_await read(socket);
      if (!frame) co_return;
      upToDate = frame->contains("mac.snapshot");
    }
    while (!ending_) {
      const std::string id = pairingID(pairing) + "-" + std::to_string(++asked_);
      if (!co_await decide(socket, pairing, id)) co_return;
      co_await sleep(5ms);
    }
  }
  /// False when the connection has ended.
  asio::awaitable<bool> decide(Socket& socket, int pairing, const std::string id) {
    decisions[id];
    beast::get_lowest_layer(socket).expires_after(patience);
    bool open = co_await write(socket, message::request(id));
    while (open) {
      const auto frame = co_await read(socket);
      open = frame.has_value();
      if (!open && frame.error() == beast::error::timeout) decisions[id].silent = true;
      const Json parsed = Json::parse(frame.value_or("{}"));
      if (parsed.value("decisionID", "") != id) continue;
      Decision& decision = decisions[id];
      if (parsed.at("type") == "approval.result") {
        ++decision.results;
        ++results[pairing];
      } else {
        ++(parsed.at("reason") == "offline" ? decision.offline : decision.uncertain);
      }
      co_return true;
    }
    decisions[id].phoneLost = !decisions[id].silent;
    co_return false;
  }

  const Cluster& cluster_;
  asio::io_context io_{1};
  int asked_ = 0;
  int phones_ = 0;
  bool ending_ = false;
};

/// What a relay says to another token than the pairing's.
unsigned standing(const Cluster& cluster, std::size_t node, int pairing) {
  return testing::registered(cluster.port(node), "P" + std::to_string(pairing), "other").status;
}

struct Plan {
  int rounds = 4;
  std::optional<unsigned> seed;  ///< in turn without one
};

Plan planned() {
  Plan plan;
  const char* const text = std::getenv("TALLYFOX_CLUSTER_CHAOS");
  if (text == nullptr) return plan;
  const std::string_view wanted(text);
  const std::size_t comma = wanted.find(',');
  std::from_chars(wanted.data(), wanted.data() + std::min(comma, wanted.size()), plan.rounds);
  plan.seed = std::random_device{}();
  if (comma != std::string_view::npos) {
    std::from_chars(wanted.data() + comma + 1, wanted.data() + wanted.size(), *plan.seed);
  }
  return plan;
}

TEST(ClusterChaos, killingAnyOneLosesNoPairingAndPressesNothingTwice) {
  Cluster cluster;
  for (int pairing = 0; pairing < pairings; ++pairing) {
    const std::string number = std::to_string(pairing);
    ASSERT_EQ(testing::registered(cluster.port(0), "P" + number, "token-" + number).status, 204U);
  }
  const Plan plan = planned();
  if (plan.seed) std::printf("TALLYFOX_CLUSTER_CHAOS=%d,%u\n", plan.rounds, *plan.seed);
  std::minstd_rand random(plan.seed.value_or(0));
  Traffic traffic(cluster);
  ASSERT_TRUE(traffic.progresses());
  for (int round = 0; round < plan.rounds; ++round) {
    const std::size_t victim = (plan.seed ? random() : static_cast<unsigned>(round)) % (Cluster::size + 1);
    SCOPED_TRACE("round " + std::to_string(round) + ", killed " + std::to_string(victim));
    if (victim < Cluster::size) {
      cluster.kill(victim);
      ASSERT_TRUE(traffic.progresses()) << "with two relays";
      cluster.start(victim);
    } else {
      traffic.natsIsLost();
      cluster.nats.kill();
      cluster.nats.start();
      // Nobody says when the last relay is connected again.
      for (std::size_t node = 0; node < Cluster::size; ++node)
        while (standing(cluster, node, 0) == 500U)
          traffic.flow(100ms);
    }
    ASSERT_TRUE(traffic.progresses());
  }
  ASSERT_TRUE(traffic.ends());

  std::map<std::string, int> outcomes;
  for (const auto& [id, decision] : traffic.decisions) {
    const int answers = decision.results + decision.offline + decision.uncertain;
    EXPECT_LE(decision.delivered, 1) << id;
    EXPECT_LE(answers, 1) << id;
    EXPECT_TRUE(decision.offline == 0 || decision.delivered == 0) << id << " was offline, and delivered";
    EXPECT_TRUE(decision.results == 0 || decision.delivered == 1) << id;
    if (decision.silent) {
      EXPECT_EQ(decision.delivered, 1) << id << ": the relay has to say so otherwise";
      EXPECT_TRUE(decision.agentLost || decision.natsLost)
          << id << ": the result was under way, and nothing was killed";
    }
    EXPECT_EQ(answers == 0, decision.silent || decision.phoneLost) << id;
    outcomes["unanswered"] += answers == 0 ? 1 : 0;
    outcomes["results"] += decision.results;
    outcomes["offline"] += decision.offline;
    outcomes["uncertain"] += decision.uncertain;
  }
  for (const auto& [name, count] : outcomes)
    RecordProperty(name, count);
  for (int pairing = 0; pairing < pairings; ++pairing)
    EXPECT_EQ(standing(cluster, 0, pairing), 401U) << pairing;
}

}  // namespace
}  // namespace tallyfox::server
