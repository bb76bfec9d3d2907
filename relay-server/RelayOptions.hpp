#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ClientAddress.hpp"
#include "RelayLog.hpp"
#include "cluster/NatsOptions.hpp"
#include "push/PushOptions.hpp"
#include "tls/TlsContext.hpp"

namespace tallyfox::server {

inline constexpr std::string_view usageText =
    "usage: tallyfox-relay --listen ADDRESS:PORT (--data DIRECTORY | --nats URL) [OPTION]...";

/// The whole help, as --help prints it.
[[nodiscard]] std::string helpText();

struct ListenAddress {
  std::string address;     ///< an IP address literal, IPv6 without brackets
  std::uint16_t port = 0;  ///< 0 takes any free port
  bool operator==(const ListenAddress&) const = default;
};

struct GivenOptions;

/// The command line, with what a file adds to it.
struct RelayOptions {
  enum class Purpose { serve, makePushKey, showHelp, showVersion };

  Purpose purpose = Purpose::serve;
  std::string address;     ///< an IP address literal, IPv6 without brackets
  std::uint16_t port = 0;  ///< 0 takes any free port
  std::filesystem::path dataDirectory;
  std::vector<Network> trustedProxies{};  ///< whose word on their clients' addresses is taken
  /// Where the phone page is; empty for none, absent for the installed one.
  std::optional<std::filesystem::path> pageDirectory{};
  std::optional<TlsContext::Files> tls{};  ///< absent where connections are plain
  std::optional<PushOptions> push{};       ///< absent without Web Push
  std::filesystem::path newPushKey{};      ///< where `makePushKey` writes it
  LogSettings log{};
  /// How long sockets are let go when the relay is to end; absent for as long as their number needs.
  std::optional<std::chrono::seconds> drainTime{};
  std::optional<ListenAddress> metrics{};  ///< where metrics are told, if anywhere
  std::optional<NatsOptions> nats{};       ///< makes this relay one of several, without a data directory
  bool operator==(const RelayOptions&) const = default;

  /// `arguments` without the program's name. The error is one line for the person who typed them.
  [[nodiscard]] static std::expected<RelayOptions, std::string> parsed(std::span<const char* const> arguments);
};

/// Options, and the texts that they were read from, by name.
struct GivenOptions {
  using Texts = std::map<std::string, std::vector<std::string>, std::less<>>;

  RelayOptions options;
  Texts texts;

  /// As RelayOptions::parsed. `--config` names a file, read now, whose settings count where the command line has none
  /// of that name.
  [[nodiscard]] static std::expected<GivenOptions, std::string> read(std::span<const char* const> arguments);
};

/// The options whose texts differ.
[[nodiscard]] std::vector<std::string> changedOptions(const GivenOptions::Texts& before,
                                                      const GivenOptions::Texts& after);
/// Whether a running relay can take another value of this option. One that begins or ends to speak TLS cannot.
[[nodiscard]] bool isTakenAtRunTime(std::string_view name);

}  // namespace tallyfox::server
