#pragma once

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "CloseCode.hpp"
#include "LogEvent.hpp"
#include "SettingsError.hpp"
#include "base/Json.hpp"
#include "storage/StorageError.hpp"

namespace tallyfox::server {

struct PushOutcome;

/// A text of the program itself.
class LogText {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a literal is meant to be written where this is wanted
  consteval LogText(const char* text) : text_(text) {}
  [[nodiscard]] std::string_view view() const { return text_; }

 private:
  std::string_view text_;
};

/// One thing that a log line tells. There is a way to make one of what may be logged, and of nothing else: identifiers
/// are cut to 12 characters, errors are of kinds that quote no values, and no text from outside keeps control
/// characters or more than 200 bytes.
class LogField {
 public:
  using Value = std::variant<std::int64_t, std::string>;

  [[nodiscard]] static LogField pairing(std::string_view id);
  [[nodiscard]] static LogField device(std::string_view id);
  /// Whose request it was, as limits count it: an IPv4 address, or an IPv6 network of 64 bits.
  [[nodiscard]] static LogField network(const boost::asio::ip::address& client);
  /// Where the relay itself listens or connects to.
  [[nodiscard]] static LogField address(const boost::asio::ip::tcp::endpoint& endpoint);
  [[nodiscard]] static LogField code(CloseCode code);
  [[nodiscard]] static LogField status(unsigned httpStatus);
  [[nodiscard]] static LogField count(std::uint64_t count);
  /// One relay of several.
  [[nodiscard]] static LogField node(std::string_view id);
  /// What could not be done.
  [[nodiscard]] static LogField task(LogText task);
  /// The name of an option.
  [[nodiscard]] static LogField setting(std::string_view name);
  [[nodiscard]] static LogField reason(const StorageError& error);
  [[nodiscard]] static LogField reason(const DecodingError& error);
  [[nodiscard]] static LogField reason(const SettingsError& error);
  [[nodiscard]] static LogField reason(const PushOutcome& outcome);
  [[nodiscard]] static LogField reason(const boost::system::error_code& error);

  [[nodiscard]] LogKey key() const { return key_; }
  [[nodiscard]] const Value& value() const { return value_; }

 private:
  LogField(LogKey key, Value value) : key_(key), value_(std::move(value)) {}
  [[nodiscard]] static LogField text(LogKey key, std::string_view text, std::size_t greatestBytes);

  LogKey key_;
  Value value_;
};

}  // namespace tallyfox::server
