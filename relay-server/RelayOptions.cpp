#include "RelayOptions.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include "Identifiers.hpp"

#include "SettingsFile.hpp"

namespace tallyfox::server {
namespace {

/// A bucket's name, and so a file's, is little longer.
constexpr std::size_t natsPrefixCharacters = 32;
/// What NATS allows.
constexpr int greatestReplicas = 5;

std::optional<ListenAddress> parsedListenAddress(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view host = text.substr(0, colon);
  const std::string_view digits = text.substr(colon + 1);
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) host = host.substr(1, host.size() - 2);

  ListenAddress result{.address = std::string(host)};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result.port);
  if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  boost::system::error_code notAnAddress;
  const auto address = boost::asio::ip::make_address(result.address, notAnAddress);
  if (notAnAddress || address.is_v6() != bracketed) return std::nullopt;
  return result;
}

using Taken = std::expected<void, std::string>;

Taken takeListen(RelayOptions& options, std::string_view value) {
  auto listen = parsedListenAddress(value);
  if (!listen) return std::unexpected(fmt::format("{} is not an address and port such as 127.0.0.1:8080", value));
  options.address = std::move(listen->address);
  options.port = listen->port;
  return {};
}

Taken takeData(RelayOptions& options, std::string_view value) {
  options.dataDirectory = value;
  return {};
}

Taken takeTrustedProxy(RelayOptions& options, std::string_view value) {
  const auto network = Network::parsed(value);
  if (!network) return std::unexpected(network.error());
  options.trustedProxies.push_back(*network);
  return {};
}

Taken takePage(RelayOptions& options, std::string_view value) {
  if (value.empty()) return std::unexpected("--page lacks its value");
  options.pageDirectory = value == "none" ? std::string_view() : value;
  return {};
}

TlsContext::Files& tlsFiles(RelayOptions& options) {
  return options.tls ? *options.tls : options.tls.emplace();
}

Taken takeTlsCertificate(RelayOptions& options, std::string_view value) {
  tlsFiles(options).certificate = value;
  return {};
}

Taken takeTlsKey(RelayOptions& options, std::string_view value) {
  tlsFiles(options).key = value;
  return {};
}

Taken takeDrainTime(RelayOptions& options, std::string_view value) {
  unsigned seconds = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
  if (error != std::errc{} || end != value.data() + value.size() || seconds > 3600)
    return std::unexpected(fmt::format("{} is no number of seconds from 0 to 3600", value));
  options.drainTime = std::chrono::seconds(seconds);
  return {};
}

Taken takeMetrics(RelayOptions& options, std::string_view value) {
  auto listen = parsedListenAddress(value);
  if (!listen) return std::unexpected(fmt::format("{} is not an address and port such as 127.0.0.1:9464", value));
  options.metrics = std::move(*listen);
  return {};
}

Taken takeLogFormat(RelayOptions& options, std::string_view value) {
  if (value != "text" && value != "json")
    return std::unexpected(fmt::format("{} is no log format: text or json", value));
  options.log.format = value == "json" ? LogFormat::json : LogFormat::text;
  return {};
}

Taken takeLogLevel(RelayOptions& options, std::string_view value) {
  static constexpr std::array<std::string_view, 4> levels{"debug", "info", "warning", "error"};
  const auto* const level = std::ranges::find(levels, value);
  if (level == levels.end())
    return std::unexpected(fmt::format("{} is no log level: debug, info, warning or error", value));
  options.log.level = static_cast<LogLevel>(level - levels.begin());
  return {};
}

NatsOptions& natsOf(RelayOptions& options) {
  if (!options.nats) options.nats.emplace();
  return *options.nats;
}

Taken takeNats(RelayOptions& options, std::string_view value) {
  auto servers = parsedNatsServers(value);
  if (!servers) return std::unexpected(servers.error());
  natsOf(options).servers = std::move(*servers);
  return {};
}

Taken takeNatsCredentials(RelayOptions& options, std::string_view value) {
  natsOf(options).credentials = value;
  return {};
}

Taken takeNatsAuthorities(RelayOptions& options, std::string_view value) {
  natsOf(options).authorities = value;
  return {};
}

Taken takeNatsPrefix(RelayOptions& options, std::string_view value) {
  if (!isIdentifier(value, natsPrefixCharacters)) {
    return std::unexpected(fmt::format("{} is no name of letters, digits, _ and -", value));
  }
  natsOf(options).prefix = value;
  return {};
}

Taken takeNatsReplicas(RelayOptions& options, std::string_view value) {
  int& replicas = natsOf(options).replicas;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), replicas);
  const bool isNumber = error == std::errc{} && end == value.data() + value.size();
  if (!isNumber || replicas < 1 || replicas > greatestReplicas) {
    return std::unexpected(fmt::format("{} is no number of replicas from 1 to {}", value, greatestReplicas));
  }
  return {};
}

PushOptions& pushOptions(RelayOptions& options) {
  return options.push ? *options.push : options.push.emplace();
}

Taken takePushKey(RelayOptions& options, std::string_view value) {
  pushOptions(options).key = value;
  return {};
}

Taken takePushContact(RelayOptions& options, std::string_view value) {
  if (!PushOptions::isContact(value)) {
    return std::unexpected(fmt::format("{} is no address such as mailto:operator@example.org", value));
  }
  pushOptions(options).contact = value;
  return {};
}

Taken takePushService(RelayOptions& options, std::string_view value) {
  auto service = PushServices::Service::parsed(value);
  if (!service) return std::unexpected(std::move(service.error()));
  pushOptions(options).services.push_back(std::move(*service));
  return {};
}

Taken takePushAuthorities(RelayOptions& options, std::string_view value) {
  pushOptions(options).authorities = value;
  return {};
}

constexpr std::string_view trustedProxyName = "--trusted-proxy";
constexpr std::string_view pushServiceName = "--push-service";

/// These may be given several times.
bool isRepeatable(std::string_view name) {
  return name == trustedProxyName || name == pushServiceName;
}
constexpr std::string_view configName = "--config";

/// What takes the value of each option.
const std::map<std::string_view, Taken (*)(RelayOptions&, std::string_view)>& settings() {
  static const std::map<std::string_view, Taken (*)(RelayOptions&, std::string_view)> table{
      {"--listen", takeListen},
      {"--data", takeData},
      {trustedProxyName, takeTrustedProxy},
      {"--page", takePage},
      {"--tls-certificate", takeTlsCertificate},
      {"--tls-key", takeTlsKey},
      {"--log-format", takeLogFormat},
      {"--log-level", takeLogLevel},
      {"--metrics", takeMetrics},
      {"--drain-time", takeDrainTime},
      {"--nats", takeNats},
      {"--nats-credentials", takeNatsCredentials},
      {"--nats-ca", takeNatsAuthorities},
      {"--nats-prefix", takeNatsPrefix},
      {"--nats-replicas", takeNatsReplicas},
      {"--push-key", takePushKey},
      {"--push-contact", takePushContact},
      {pushServiceName, takePushService},
      {"--push-ca", takePushAuthorities},
  };
  return table;
}

bool isOption(std::string_view name) {
  return name == configName || settings().contains(name);
}

/// False when the option has a value and takes but one.
bool add(GivenOptions::Texts& texts, std::string_view name, std::string_view value) {
  auto& values = texts[std::string(name)];
  if (!values.empty() && !isRepeatable(name)) return false;
  values.emplace_back(value);
  return true;
}

/// What the options lack, or have too many of; empty when nothing.
std::string missing(const GivenOptions::Texts& texts) {
  if (!texts.contains("--listen")) return "--listen is missing";
  const auto startsNats = [](const auto& each) { return each.first.starts_with("--nats-"); };
  const bool usesNats = texts.contains("--nats");
  if (!usesNats && std::ranges::any_of(texts, startsNats)) return "--nats is missing";
  if (usesNats && texts.contains("--data")) return "--nats takes the place of --data";
  if (!usesNats && !texts.contains("--data")) return "--data is missing";
  return {};
}

std::expected<void, SettingsError> mergeFile(GivenOptions::Texts& texts, const std::string& file) {
  const auto settings = settingsIn(file);
  if (!settings) return std::unexpected(settings.error());
  GivenOptions::Texts fromFile;
  for (const Setting& setting : *settings) {
    const auto broken = [&](std::string_view why) {
      return std::unexpected(SettingsError{fmt::format("{}: {} {}", file, setting.name.substr(2), why)});
    };
    if (setting.name == configName || !isOption(setting.name)) return broken("is no setting");
    if (!add(fromFile, setting.name, setting.value)) return broken("is given twice");
  }
  // What the command line has stays as it is.
  texts.merge(fromFile);
  return {};
}

std::unexpected<std::string> wrongUsage(std::string_view fault) {
  return std::unexpected(fmt::format("{}; {}", fault, usageText));
}

RelayOptions asking(RelayOptions::Purpose purpose) {
  RelayOptions options;
  options.purpose = purpose;
  return options;
}

}  // namespace

std::string helpText() {
  return R"(Usage: tallyfox-relay --listen ADDRESS:PORT (--data DIRECTORY | --nats URL) [OPTION]...

Carries sealed messages between Tallyfox agents and their phones. Without a certificate it speaks plain HTTP and
WebSocket: listen on loopback, behind a proxy that ends TLS.

  --listen ADDRESS:PORT    the IP address and port to listen on, such as 127.0.0.1:8080 or [::1]:8080; port 0 takes
                           any free one
  --data DIRECTORY         where the pairings are kept; created when it is missing
  --trusted-proxy CIDR     a proxy, or a network of them, whose Forwarded or X-Forwarded-For header names the client,
                           such as 127.0.0.1 or 10.0.0.0/8; may be given several times. Requests are limited by client
  --nats URL               instead of --data: be one of several relays that meet over NATS, such as
                           nats://127.0.0.1:4222 or tls://nats.example.org; several servers with commas between
  --nats-credentials FILE  who this relay is to NATS
  --nats-ca FILE           certificates that vouch for the NATS servers, besides the system's
  --nats-prefix NAME       what the names of subjects and buckets begin with; tallyfox without it
  --nats-replicas NUMBER   how many NATS servers keep a copy of each pairing; 1 without it
  --page DIRECTORY         the phone page to serve, or none; without it the installed one, if there is one
  --tls-certificate FILE   speak TLS by itself, with this certificate and those that follow it in the PEM file
  --tls-key FILE           the certificate's key, as PEM without a passphrase
  --push-key FILE          ask phones without a connection to look when dialogs wait, by Web Push, signed with this key
  --push-contact ADDRESS   where push services find the operator, such as mailto:operator@example.org
  --push-service HOST[:PORT]  a push service to talk to, in place of those of the browsers; may be given several times
  --push-ca FILE           the certificate authorities for push services, as PEM, in place of the system's
  --log-format FORMAT      text, a sentence for each event (the default), or json, an object for each
  --log-level LEVEL        the least that is logged: debug, info (the default), warning or error
  --metrics ADDRESS:PORT   tell Prometheus there, at /metrics, how the relay fares; for no stranger to reach
  --drain-time SECONDS     how long SIGTERM takes to send everybody away; by default a second for each hundred sockets,
                           ten at most
  --config FILE            more of these settings, a line each such as "metrics = 127.0.0.1:9464"; the command line
                           counts first, and SIGHUP has the file read again

  --make-push-key FILE     write a new key for Web Push to a new file, and end

  --help                   show this text
  --version                show the version

Exit status: 0 ended by SIGTERM or SIGINT, 1 it could not start or failed, 2 wrong usage.
)";
}

std::expected<RelayOptions, std::string> RelayOptions::parsed(std::span<const char* const> arguments) {
  const auto asks = [&](std::string_view name) { return std::ranges::find(arguments, name) != arguments.end(); };
  if (asks("--help") || asks("-h")) return asking(Purpose::showHelp);
  if (arguments.size() == 1 && asks("--version")) return asking(Purpose::showVersion);
  if (arguments.size() == 2 && std::string_view(arguments[0]) == "--make-push-key" && *arguments[1] != '\0') {
    RelayOptions options = asking(Purpose::makePushKey);
    options.newPushKey = arguments[1];
    return options;
  }
  auto given = GivenOptions::read(arguments);
  if (!given) return std::unexpected(std::move(given.error()));
  return std::move(given->options);
}

std::expected<GivenOptions, std::string> GivenOptions::read(std::span<const char* const> arguments) {
  GivenOptions given;
  for (std::size_t index = 0; index < arguments.size(); index += 2) {
    const std::string_view name = arguments[index];
    if (!isOption(name)) return wrongUsage(fmt::format("Unknown argument {}", name));
    if (index + 1 == arguments.size()) return wrongUsage(fmt::format("{} lacks its value", name));
    if (!add(given.texts, name, arguments[index + 1])) return wrongUsage(fmt::format("{} is given twice", name));
  }
  const auto file = given.texts.find(configName);
  if (file != given.texts.end()) {
    if (const auto merged = mergeFile(given.texts, file->second.front()); !merged)
      return std::unexpected(merged.error().description);
  }
  if (const std::string fault = missing(given.texts); !fault.empty()) return wrongUsage(fault);
  for (const auto& [name, values] : given.texts) {
    if (name == configName) continue;
    for (const std::string& value : values)
      if (const auto taken = settings().at(name)(given.options, value); !taken) return wrongUsage(taken.error());
  }
  const auto& tls = given.options.tls;
  if (tls && (tls->certificate.empty() || tls->key.empty()))
    return wrongUsage("--tls-certificate and --tls-key need each other");
  if (!given.options.nats && given.options.dataDirectory.empty()) return wrongUsage("--data is missing");
  const auto& push = given.options.push;
  if (push && (push->key.empty() || push->contact.empty()))
    return wrongUsage("Web Push needs --push-key and --push-contact");
  return given;
}

std::vector<std::string> changedOptions(const GivenOptions::Texts& before, const GivenOptions::Texts& after) {
  std::vector<std::string> names;
  for (const auto& [name, values] : before) {
    const auto now = after.find(name);
    if (now == after.end() || now->second != values) names.push_back(name);
  }
  for (const auto& [name, values] : after)
    if (!before.contains(name)) names.push_back(name);
  return names;
}

bool isTakenAtRunTime(std::string_view name) {
  static constexpr std::array<std::string_view, 7> taken{
      "--drain-time", "--log-format", "--log-level", "--metrics", "--tls-certificate", "--tls-key", trustedProxyName};
  return std::ranges::find(taken, name) != taken.end();
}

}  // namespace tallyfox::server
