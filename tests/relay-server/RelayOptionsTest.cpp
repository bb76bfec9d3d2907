// The command line: what is accepted, and that everything else gives one line that names the fault.
#include "RelayOptions.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox::server {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

auto parsed(std::vector<const char*> arguments) {
  return RelayOptions::parsed(arguments);
}

TEST(RelayOptions, takesAnAddressAPortAndADirectoryInAnyOrder) {
  const RelayOptions expected{
      .purpose = RelayOptions::Purpose::serve, .address = "127.0.0.1", .port = 8080, .dataDirectory = "/var/lib/relay"};
  EXPECT_EQ(parsed({"--listen", "127.0.0.1:8080", "--data", "/var/lib/relay"}), expected);
  EXPECT_EQ(parsed({"--data", "/var/lib/relay", "--listen", "127.0.0.1:8080"}), expected);
}

TEST(RelayOptions, takesAnIPv6AddressInBracketsAndPortZero) {
  const auto options = parsed({"--listen", "[::1]:0", "--data", "d"});
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->address, "::1");
  EXPECT_EQ(options->port, 0);
}

TEST(RelayOptions, takeAnyNumberOfTrustedProxies) {
  const auto options =
      parsed({"--trusted-proxy", "127.0.0.1", "--listen", "[::1]:0", "--trusted-proxy", "10.0.0.0/8", "--data", "d"});
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->trustedProxies, (std::vector{*Network::parsed("127.0.0.1"), *Network::parsed("10.0.0.0/8")}));
}

TEST(RelayOptions, nameTheDirectoryOfThePageOrNone) {
  const auto page = [](std::vector<const char*> arguments) {
    arguments.insert(arguments.end(), {"--listen", "[::1]:0", "--data", "d"});
    return RelayOptions::parsed(arguments)->pageDirectory;
  };
  EXPECT_EQ(page({}), std::nullopt);
  EXPECT_EQ(page({"--page", "/srv/page"}), std::filesystem::path("/srv/page"));
  EXPECT_EQ(page({"--page", "./none"}), std::filesystem::path("./none"));
  EXPECT_EQ(page({"--page", "none"}), std::filesystem::path());
}

TEST(RelayOptions, nameACertificateWithItsKey) {
  const auto options =
      parsed({"--tls-key", "k.pem", "--listen", "[::1]:0", "--tls-certificate", "c.pem", "--data", "d"});
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->tls, (TlsContext::Files{.certificate = "c.pem", .key = "k.pem"}));
  EXPECT_EQ(parsed({"--listen", "[::1]:0", "--data", "d"})->tls, std::nullopt);
}

TEST(RelayOptions, makeARelayOneOfSeveral) {
  const auto options = parsed({"--listen", "[::1]:0", "--nats", "tls://kim:secret@a,tls://b:1", "--nats-prefix", "x_1",
                               "--nats-credentials", "c", "--nats-ca", "ca.pem", "--nats-replicas", "3"});
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->nats, (NatsOptions{.servers = {"tls://kim:secret@a", "tls://b:1"},
                                        .credentials = "c",
                                        .authorities = "ca.pem",
                                        .prefix = "x_1",
                                        .replicas = 3}));
  EXPECT_TRUE(options->nats->isSecure());
  EXPECT_EQ(options->nats->publicName(), "tls://a, tls://b:1");
  const auto plain = parsed({"--listen", "[::1]:0", "--nats", "nats://a"});
  ASSERT_TRUE(plain) << plain.error();
  EXPECT_EQ(plain->nats, (NatsOptions{.servers = {"nats://a"}}));
  EXPECT_FALSE(plain->nats->isSecure());
  EXPECT_EQ(parsed({"--listen", "[::1]:0", "--data", "d"})->nats, std::nullopt);
}

TEST(RelayOptions, takeTheLogsFormAndLevel) {
  const auto plain = parsed({"--listen", "[::1]:0", "--data", "d"});
  ASSERT_TRUE(plain) << plain.error();
  EXPECT_EQ(plain->log, (LogSettings{.format = LogFormat::text, .level = LogLevel::info}));
  const std::vector<std::pair<const char*, LogLevel>> levels{
      {"debug", LogLevel::debug}, {"info", LogLevel::info}, {"warning", LogLevel::warning}, {"error", LogLevel::error}};
  for (const auto& [name, level] : levels) {
    const auto options = parsed({"--listen", "[::1]:0", "--data", "d", "--log-format", "json", "--log-level", name});
    ASSERT_TRUE(options) << options.error();
    EXPECT_EQ(options->log, (LogSettings{.format = LogFormat::json, .level = level}));
  }
}

TEST(RelayOptions, nameWhatWebPushNeeds) {
  const auto options =
      parsed({"--listen", "[::1]:0", "--data", "d", "--push-key", "k.pem", "--push-contact", "mailto:o@example.org",
              "--push-service", "push.example", "--push-ca", "ca.pem", "--push-service", "*.other.example:8443"});
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->push,
            (PushOptions{.key = "k.pem",
                         .contact = "mailto:o@example.org",
                         .services = {{.host = "push.example", .port = 443}, {.host = "*.other.example", .port = 8443}},
                         .authorities = "ca.pem"}));
  EXPECT_EQ(parsed({"--listen", "[::1]:0", "--data", "d"})->push, std::nullopt);
}

TEST(RelayOptions, areAskedForANewPushKeyAlone) {
  const auto options = parsed({"--make-push-key", "k.pem"});
  ASSERT_TRUE(options) << options.error();
  EXPECT_EQ(options->purpose, RelayOptions::Purpose::makePushKey);
  EXPECT_EQ(options->newPushKey, "k.pem");
  EXPECT_FALSE(parsed({"--make-push-key"}));
  EXPECT_FALSE(parsed({"--make-push-key", ""}));
  EXPECT_FALSE(parsed({"--make-push-key", "k.pem", "--data", "d"}));
}

TEST(RelayOptions, areAskedForHelpAnywhereAndForTheVersionAlone) {
  EXPECT_EQ(parsed({"--help"})->purpose, RelayOptions::Purpose::showHelp);
  EXPECT_EQ(parsed({"-h"})->purpose, RelayOptions::Purpose::showHelp);
  EXPECT_EQ(parsed({"--listen", "--help"})->purpose, RelayOptions::Purpose::showHelp);
  EXPECT_EQ(parsed({"--version"})->purpose, RelayOptions::Purpose::showVersion);
  EXPECT_FALSE(parsed({"--version", "--data"}));
}

TEST(RelayOptions, explainEachOption) {
  for (const std::string word : {"--listen ADDRESS:PORT ",
                                 "--data DIRECTORY ",
                                 "--trusted-proxy CIDR ",
                                 "--page DIRECTORY ",
                                 "--tls-certificate FILE ",
                                 "--tls-key FILE ",
                                 "--push-key FILE ",
                                 "--push-contact ADDRESS ",
                                 "--push-service HOST[:PORT] ",
                                 "--push-ca FILE ",
                                 "--make-push-key FILE ",
                                 "--log-format FORMAT ",
                                 "--log-level LEVEL ",
                                 "--nats URL ",
                                 "--nats-credentials FILE ",
                                 "--nats-ca FILE ",
                                 "--nats-prefix NAME ",
                                 "--nats-replicas NUMBER ",
                                 "--metrics ADDRESS:PORT ",
                                 "--drain-time SECONDS ",
                                 "--config FILE ",
                                 "--help ",
                                 "--version "})
    EXPECT_THAT(helpText(), HasSubstr("\n  " + word)) << "one line each";
}

TEST(RelayOptions, namesWhatIsWrongInOneLineWithTheUsage) {
  struct Case {
    std::vector<const char*> arguments;
    const char* fault;
  };
  const std::vector<Case> cases{
      {{}, "--listen is missing"},
      {{"--listen", "127.0.0.1:1"}, "--data is missing"},
      {{"--listen", "127.0.0.1:1", "--data", ""}, "--data is missing"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--nats", "nats://a"}, "--nats takes the place of --data"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--nats-prefix", "x"}, "--nats is missing"},
      {{"--listen", "127.0.0.1:1", "--nats", "http://kim:secret@a"}, "the address of a NATS server looks like"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://"}, "the address of a NATS server looks like"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://a,"}, "the address of a NATS server looks like"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://a b"}, "the address of a NATS server looks like"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://a,tls://b"}, "either all NATS servers are spoken to by tls://"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://a", "--nats-prefix", "a.b"}, "a.b is no name of letters"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://a", "--nats-replicas", "6"}, "6 is no number of replicas"},
      {{"--listen", "127.0.0.1:1", "--nats", "nats://a", "--nats-replicas", "1x"}, "1x is no number of replicas"},
      {{"--listen"}, "--listen lacks its value"},
      {{"--port", "1"}, "Unknown argument --port"},
      {{"--data", "a", "--data", "b"}, "--data is given twice"},
      {{"--trusted-proxy"}, "--trusted-proxy lacks its value"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--page", ""}, "--page lacks its value"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--push-key", "k"}, "Web Push needs --push-key and --push-contact"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--push-service", "push.example"},
       "Web Push needs --push-key and --push-contact"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--push-contact", "operator"},
       "operator is no address such as mailto:operator@example.org"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--push-service", "https://push.example"},
       "https://push.example is no host and port such as push.example.org:8443"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--tls-key", "k"}, "--tls-certificate and --tls-key need each other"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--tls-certificate", "c", "--tls-key", ""},
       "--tls-certificate and --tls-key need each other"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--trusted-proxy", "proxy.example"},
       "proxy.example is no IP address or network"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--trusted-proxy", "10.0.0.0/33"},
       "10.0.0.0/33 has no prefix length"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--log-format", "xml"}, "xml is no log format: text or json"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--log-level", "4"}, "4 is no log level: debug, info, warning or"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--metrics", "9464"}, "9464 is not an address and port"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--drain-time", "10s"}, "10s is no number of seconds from 0 to 3600"},
      {{"--listen", "127.0.0.1:1", "--data", "d", "--drain-time", "3601"}, "3601 is no number of seconds"},
      {{"--listen", "127.0.0.1", "--data", "d"}, "127.0.0.1 is not an address and port"},
      {{"--listen", "localhost:80", "--data", "d"}, "localhost:80 is not"},
      {{"--listen", "127.0.0.1:65536", "--data", "d"}, "127.0.0.1:65536 is not"},
      {{"--listen", "127.0.0.1:", "--data", "d"}, "127.0.0.1: is not"},
      {{"--listen", "127.0.0.1:8x", "--data", "d"}, "127.0.0.1:8x is not"},
      {{"--listen", "::1:80", "--data", "d"}, "::1:80 is not"},
      {{"--listen", "[127.0.0.1]:80", "--data", "d"}, "[127.0.0.1]:80 is not"},
  };
  for (const Case& each : cases) {
    const auto options = parsed(each.arguments);
    ASSERT_FALSE(options) << each.fault;
    EXPECT_THAT(options.error(), HasSubstr(each.fault));
    EXPECT_THAT(options.error(), HasSubstr(usageText));
    EXPECT_THAT(options.error(), Not(HasSubstr("\n")));
  }
}

}  // namespace
}  // namespace tallyfox::server
