#include "TlsTestClient.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <chrono>
#include <utility>

namespace tallyfox::server::testing {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

/// Longer than anything takes that is going to happen at all.
constexpr std::chrono::seconds patience{100};

asio::ssl::context trusting(const std::filesystem::path& authority, const TlsTestClient::Options& options) {
  asio::ssl::context context(asio::ssl::context::tls_client);
  context.load_verify_file(authority.string());
  context.set_verify_mode(asio::ssl::verify_peer);
  context.set_verify_callback(asio::ssl::host_name_verification("localhost"));
  SSL_CTX* const native = context.native_handle();
  // An old client is old in its ciphers too.
  SSL_CTX_set_security_level(native, 0);
  SSL_CTX_set_min_proto_version(native, TLS1_VERSION);
  SSL_CTX_set_max_proto_version(native, options.greatestVersion);
  SSL_CTX_set_alpn_protos(native, reinterpret_cast<const unsigned char*>(options.protocols.data()),
                          static_cast<unsigned int>(options.protocols.size()));
  return context;
}

}  // namespace

struct TlsTestClient::State {
  using Stream = asio::ssl::stream<boost::beast::tcp_stream>;

  State(const std::filesystem::path& authority, const Options& options) : context(trusting(authority, options)) {}

  asio::io_context io;
  asio::ssl::context context;
  Stream stream{io, context};
  websocket::stream<Stream&> socket{stream};
  std::string unread;

  template <typename Initiation>
  boost::system::error_code run(Initiation initiate) {
    std::optional<boost::system::error_code> outcome;
    initiate([&outcome](boost::system::error_code error, auto&&...) { outcome = error; });
    io.restart();
    io.run_for(patience);
    if (outcome) return *outcome;
    stream.next_layer().close();
    io.restart();
    io.run();
    return asio::error::timed_out;
  }
};

TlsTestClient::TlsTestClient(std::uint16_t port, const std::filesystem::path& authority, const Options& options)
    : state_(std::make_unique<State>(authority, options)) {
  state_->stream.next_layer().socket().connect({asio::ip::address_v4::loopback(), port});
  const auto error =
      state_->run([&](auto done) { state_->stream.async_handshake(asio::ssl::stream_base::client, std::move(done)); });
  if (error) failure = error.message();
}

TlsTestClient::~TlsTestClient() = default;

std::string TlsTestClient::version() const {
  return SSL_get_version(state_->stream.native_handle());
}

std::string TlsTestClient::protocol() const {
  const unsigned char* chosen = nullptr;
  unsigned int size = 0;
  SSL_get0_alpn_selected(state_->stream.native_handle(), &chosen, &size);
  return {reinterpret_cast<const char*>(chosen), size};
}

std::string TlsTestClient::peerName() const {
  const X509* const certificate = SSL_get0_peer_certificate(state_->stream.native_handle());
  if (certificate == nullptr) return "none";
  std::string name(100, '\0');
  const int size = X509_NAME_get_text_by_NID(X509_get_subject_name(certificate), NID_commonName, name.data(),
                                             static_cast<int>(name.size()));
  name.resize(static_cast<std::size_t>(std::max(size, 0)));
  return name;
}

void TlsTestClient::write(const std::string& text) {
  state_->run([&](auto done) { asio::async_write(state_->stream, asio::buffer(text), std::move(done)); });
}

void TlsTestClient::shutdownSend() {
  state_->stream.next_layer().socket().shutdown(asio::ip::tcp::socket::shutdown_send);
}

std::string TlsTestClient::readUntil(const std::string& end) {
  auto buffer = asio::dynamic_buffer(state_->unread);
  state_->run([&](auto done) { asio::async_read_until(state_->stream, buffer, end, std::move(done)); });
  const std::size_t found = state_->unread.find(end);
  if (found == std::string::npos) return std::exchange(state_->unread, {});
  std::string text = state_->unread.substr(0, found + end.size());
  state_->unread.erase(0, text.size());
  return text;
}

std::optional<std::string> TlsTestClient::readToEnd() {
  auto buffer = asio::dynamic_buffer(state_->unread);
  const auto error = state_->run([&](auto done) { asio::async_read(state_->stream, buffer, std::move(done)); });
  if (error == asio::error::timed_out) return std::nullopt;
  return std::exchange(state_->unread, {});
}

unsigned TlsTestClient::upgrade(const std::string& path, const std::string& token) {
  state_->socket.set_option(websocket::stream_base::decorator([token](websocket::request_type& request) {
    if (!token.empty()) request.set(boost::beast::http::field::authorization, "Bearer " + token);
  }));
  state_->socket.text(true);
  state_->socket.read_message_max(0);
  websocket::response_type response;
  state_->run([&](auto done) { state_->socket.async_handshake(response, "localhost", path, std::move(done)); });
  return response.result_int();
}

void TlsTestClient::send(const std::string& frame) {
  state_->run([&](auto done) { state_->socket.async_write(asio::buffer(frame), std::move(done)); });
}

std::string TlsTestClient::next() {
  std::string text;
  auto buffer = asio::dynamic_buffer(text);
  const auto error = state_->run([&](auto done) { state_->socket.async_read(buffer, std::move(done)); });
  if (error == asio::error::timed_out) return "silence";
  if (error == websocket::error::closed) return "closed " + std::to_string(state_->socket.reason().code);
  if (error) return "cut";
  return text;
}

void TlsTestClient::cut() {
  state_->stream.next_layer().close();
}

}  // namespace tallyfox::server::testing
