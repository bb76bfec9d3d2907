#include "TestPushServer.hpp"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <regex>
#include <thread>

#include "base/Encoding.hpp"

namespace tallyfox::server::testing {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);
/// Longer than anything takes that is going to happen at all.
constexpr std::chrono::seconds patience{100};

std::string base64UrlDecoded(std::string text) {
  std::ranges::replace(text, '-', '+');
  std::ranges::replace(text, '_', '/');
  text.resize((text.size() + 3) / 4 * 4, '=');
  const auto bytes = base64Decoded(text);
  return bytes ? std::string(bytes->begin(), bytes->end()) : "";
}

/// The signature in the form of OpenSSL.
std::string derOf(const std::string& numbers) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(numbers.data());
  ECDSA_SIG* const signature = ECDSA_SIG_new();
  ECDSA_SIG_set0(signature, BN_bin2bn(bytes, 32, nullptr), BN_bin2bn(bytes + 32, 32, nullptr));
  std::string der(static_cast<std::size_t>(i2d_ECDSA_SIG(signature, nullptr)), '\0');
  auto* end = reinterpret_cast<unsigned char*>(der.data());
  i2d_ECDSA_SIG(signature, &end);
  ECDSA_SIG_free(signature);
  return der;
}

std::shared_ptr<EVP_PKEY> publicKeyOf(const std::string& point) {
  std::string group = "P-256";
  std::string octets = point;
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, group.data(), 0),
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, octets.data(), octets.size()),
      OSSL_PARAM_construct_end()};
  EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr);
  EVP_PKEY* key = nullptr;
  EVP_PKEY_fromdata_init(context);
  EVP_PKEY_fromdata(context, &key, EVP_PKEY_PUBLIC_KEY, const_cast<OSSL_PARAM*>(parameters));
  EVP_PKEY_CTX_free(context);
  return {key, EVP_PKEY_free};
}

bool isSigned(EVP_PKEY* key, const std::string& text, const std::string& der) {
  EVP_MD_CTX* const context = EVP_MD_CTX_new();
  const bool good = EVP_DigestVerifyInit(context, nullptr, EVP_sha256(), nullptr, key) == 1 &&
                    EVP_DigestVerify(context, reinterpret_cast<const unsigned char*>(der.data()), der.size(),
                                     reinterpret_cast<const unsigned char*>(text.data()), text.size()) == 1;
  EVP_MD_CTX_free(context);
  return good;
}

}  // namespace

VapidClaims verifiedVapid(const std::string& authorization) {
  static const std::regex form("vapid t=(([A-Za-z0-9_-]+)\\.([A-Za-z0-9_-]+))\\.([A-Za-z0-9_-]+), k=([A-Za-z0-9_-]+)");
  std::smatch parts;
  if (!std::regex_match(authorization, parts, form)) return {};
  const std::string signature = base64UrlDecoded(parts[4]);
  const std::string point = base64UrlDecoded(parts[5]);
  if (signature.size() != 64 || point.size() != 65 || point.front() != '\x04') return {};
  const auto key = publicKeyOf(point);
  if (!key || !isSigned(key.get(), parts[1], derOf(signature))) return {};
  return {.header = base64UrlDecoded(parts[2]), .claims = base64UrlDecoded(parts[3]), .key = parts[5]};
}

struct TestPushServer::State {
  explicit State(const TestAuthority::Issued& issued) {
    tls.use_certificate_chain_file(issued.certificate.string());
    tls.use_private_key_file(issued.key.string(), asio::ssl::context::pem);
    asio::co_spawn(io, accept(), asio::detached);
    thread = std::thread([this] { io.run(); });
  }
  ~State() {
    io.stop();
    thread.join();
  }

  asio::awaitable<void> accept() {
    while (true) {
      auto [error, socket] = co_await acceptor.async_accept(resultOf);
      if (error) co_return;
      asio::co_spawn(io, serve(std::move(socket)), asio::detached);
    }
  }

  asio::awaitable<void> serve(tcp::socket socket) {
    ++connections;
    greatestConnections = std::max(greatestConnections, connections);
    const std::unique_ptr<std::size_t, void (*)(std::size_t*)> counted(&connections, [](std::size_t* all) { --*all; });
    asio::ssl::stream<tcp::socket> stream(std::move(socket), tls);
    const auto [failed] = co_await stream.async_handshake(asio::ssl::stream_base::server, resultOf);
    if (failed) co_return;
    boost::beast::flat_buffer buffer;
    http::request<http::string_body> request;
    const auto [error, size] = co_await http::async_read(stream, buffer, request, resultOf);
    if (error) co_return;
    const std::string answer = take(request);
    if (!answer.empty()) co_await asio::async_write(stream, asio::buffer(answer), resultOf);
    // Until the client is done with it.
    char more = 0;
    co_await stream.async_read_some(asio::buffer(&more, 1), resultOf);
  }

  std::string take(const http::request<http::string_body>& request) {
    PushRequest taken{.method = std::string(request.method_string()),
                      .target = std::string(request.target()),
                      .headers = {},
                      .body = request.body()};
    for (const auto& field : request) {
      std::string name(field.name_string());
      std::ranges::transform(name, name.begin(), [](char c) { return static_cast<char>(std::tolower(c)); });
      taken.headers[name] = std::string(field.value());
    }
    const std::scoped_lock lock(mutex);
    requests.push_back(std::move(taken));
    came.notify_all();
    if (answers.empty()) return "HTTP/1.1 201 Created\r\nContent-Length: 0\r\n\r\n";
    std::string answer = std::move(answers.front());
    answers.pop_front();
    return answer;
  }

  asio::io_context io{1};
  asio::ssl::context tls{asio::ssl::context::tls_server};
  tcp::acceptor acceptor{io, {asio::ip::address_v4::loopback(), 0}};
  std::size_t connections = 0;
  std::size_t greatestConnections = 0;
  std::mutex mutex;
  std::condition_variable came;
  std::deque<PushRequest> requests;
  std::deque<std::string> answers;
  std::thread thread;
};

TestPushServer::TestPushServer(const TestAuthority::Issued& issued) : state_(std::make_unique<State>(issued)) {}
TestPushServer::~TestPushServer() = default;

std::uint16_t TestPushServer::port() const {
  return state_->acceptor.local_endpoint().port();
}

void TestPushServer::answerWith(std::string answer) {
  const std::scoped_lock lock(state_->mutex);
  state_->answers.push_back(std::move(answer));
}

PushRequest TestPushServer::next() {
  std::unique_lock lock(state_->mutex);
  if (!state_->came.wait_for(lock, patience, [this] { return !state_->requests.empty(); })) return {};
  PushRequest request = std::move(state_->requests.front());
  state_->requests.pop_front();
  return request;
}

std::size_t TestPushServer::waiting() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->requests.size();
}

std::size_t TestPushServer::greatestConnections() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->greatestConnections;
}

}  // namespace tallyfox::server::testing
