#include "LogField.hpp"

#include <algorithm>
#include <utility>

#include "ClientAddress.hpp"
#include "push/PushClient.hpp"

namespace tallyfox::server {
namespace {

namespace ip = boost::asio::ip;

constexpr std::size_t identifierBytes = 12;
constexpr std::size_t textBytes = 200;

/// Control characters could begin lines of their own or move a terminal's cursor, and so could some beyond ASCII.
bool isPrintable(char c) {
  return c >= ' ' && c <= '~';
}

std::string networkText(const ip::address& client) {
  if (client.is_v4()) return client.to_string();
  if (client.to_v6().is_v4_mapped()) return ip::make_address_v4(ip::v4_mapped, client.to_v6()).to_string();
  return ip::make_address_v6(limitedClient(client)).to_string() + "/64";
}

}  // namespace

LogField LogField::text(LogKey key, std::string_view text, std::size_t greatestBytes) {
  std::string printable(text.substr(0, greatestBytes));
  std::ranges::replace_if(printable, [](char c) { return !isPrintable(c); }, '?');
  return {key, std::move(printable)};
}

LogField LogField::pairing(std::string_view id) {
  return text(LogKey::pairing, id, identifierBytes);
}

LogField LogField::device(std::string_view id) {
  return text(LogKey::device, id, identifierBytes);
}

LogField LogField::node(std::string_view id) {
  return text(LogKey::node, id, identifierBytes);
}

LogField LogField::network(const ip::address& client) {
  return {LogKey::network, networkText(client)};
}

LogField LogField::address(const ip::tcp::endpoint& endpoint) {
  const std::string address = endpoint.address().to_string();
  const std::string port = std::to_string(endpoint.port());
  return {LogKey::address, (endpoint.address().is_v6() ? "[" + address + "]:" : address + ":") + port};
}

LogField LogField::code(CloseCode code) {
  return {LogKey::code, static_cast<std::int64_t>(code)};
}

LogField LogField::status(unsigned httpStatus) {
  return {LogKey::status, static_cast<std::int64_t>(httpStatus)};
}

LogField LogField::count(std::uint64_t count) {
  return {LogKey::count, static_cast<std::int64_t>(count)};
}

LogField LogField::task(LogText task) {
  return text(LogKey::task, task.view(), textBytes);
}

LogField LogField::setting(std::string_view name) {
  return text(LogKey::setting, name, textBytes);
}

LogField LogField::reason(const StorageError& error) {
  return text(LogKey::reason, error.description, textBytes);
}

LogField LogField::reason(const DecodingError& error) {
  return text(LogKey::reason, error.description, textBytes);
}

LogField LogField::reason(const SettingsError& error) {
  return text(LogKey::reason, error.description, textBytes);
}

LogField LogField::reason(const PushOutcome& outcome) {
  return text(LogKey::reason, outcome.reason, textBytes);
}

LogField LogField::reason(const boost::system::error_code& error) {
  return text(LogKey::reason, error.message(), textBytes);
}

}  // namespace tallyfox::server
