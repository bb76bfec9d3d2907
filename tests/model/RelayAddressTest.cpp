// From the relay's WebSocket address to its HTTP base address, and which WebSocket addresses may be used at all.

#include "model/RelayAddress.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tallyfox {
namespace {

struct BaseCase {
  const char* relay;
  const char* base;
};

class BackendBaseURL : public testing::TestWithParam<BaseCase> {};

TEST_P(BackendBaseURL, keepsUserHostAndPortAlone) {
  EXPECT_EQ(backendBaseURL(GetParam().relay), GetParam().base);
}

INSTANTIATE_TEST_SUITE_P(
    Each, BackendBaseURL,
    testing::Values(BaseCase{"ws://relay.example.com:8080/socket", "http://relay.example.com:8080"},
                    BaseCase{"wss://relay.example.com/", "https://relay.example.com"},
                    BaseCase{"wss://relay.example.com:8443/a/b?c=d#e", "https://relay.example.com:8443"},
                    BaseCase{"WSS://Relay.Example.com", "https://Relay.Example.com"},
                    BaseCase{"wss://user@relay.example.com", "https://user@relay.example.com"},
                    BaseCase{"https://relay.example.com", "http://relay.example.com"},
                    BaseCase{"//relay.example.com/path", "http://relay.example.com"},
                    BaseCase{"ws://[::1]:8080/socket", "http://[::1]:8080"},
                    BaseCase{"wss://[2001:db8::1]", "https://[2001:db8::1]"}));

TEST(RelayAddress, hasNoBaseWhenTheAddressDoesNotParse) {
  for (const char* text : {"wss://relay example.com", "wss://host:port", "wss://[::1", "wss://host/%zz"})
    EXPECT_EQ(backendBaseURL(text), std::nullopt) << text;
}

bool isAllowed(const std::string& text) {
  return isAllowedRelayURL(Url::parsed(text).value());
}

TEST(RelayAddress, isAllowedForEverySecureAddressWithAHost) {
  EXPECT_TRUE(isAllowed("wss://relay.example.com"));
  EXPECT_TRUE(isAllowed("WSS://relay.example.com:1/path?query"));
  EXPECT_TRUE(isAllowed("wss://192.0.2.1"));
  EXPECT_TRUE(isAllowed("wss://[2001:db8::1]"));
}

TEST(RelayAddress, isAllowedUnencryptedForThisMachineItselfAlone) {
  EXPECT_TRUE(isAllowed("ws://localhost"));
  EXPECT_TRUE(isAllowed("ws://localhost:8080/path"));
  EXPECT_TRUE(isAllowed("Ws://127.0.0.1:9"));
  EXPECT_TRUE(isAllowed("ws://[::1]:9"));
  for (const char* text : {"ws://relay.example.com", "ws://127.0.0.2", "ws://localhost.example.com", "ws://[::2]",
                           "ws://localhost@relay.example.com", "ws://LOCALHOST", "ws://localhost.",
                           "ws://127.0.0.1.example.com", "ws://[0:0:0:0:0:0:0:1]"})
    EXPECT_FALSE(isAllowed(text)) << text;
}

TEST(RelayAddress, isRefusedForAnyOtherScheme) {
  for (const char* text : {"http://localhost", "https://relay.example.com", "//relay.example.com", "wsss://localhost"})
    EXPECT_FALSE(isAllowed(text)) << text;
}

TEST(RelayAddress, isRefusedWithoutAHost) {
  for (const char* text : {"wss:", "wss://", "wss:///path", "wss://:443", "wss://user@", "ws:localhost", "localhost"})
    EXPECT_FALSE(isAllowed(text)) << text;
}

}  // namespace
}  // namespace tallyfox
