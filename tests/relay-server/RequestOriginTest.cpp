// Whose page opens a WebSocket: our own or none may, any other site's may not.
#include "RequestOrigin.hpp"

#include <gtest/gtest.h>

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;

bool refused(const std::string& origin, const std::string& host, const std::string& forwardedHost = "",
             bool trusted = false) {
  http::fields fields;
  if (!origin.empty()) fields.set(http::field::origin, origin);
  if (!host.empty()) fields.set(http::field::host, host);
  if (!forwardedHost.empty()) fields.set("X-Forwarded-Host", forwardedHost);
  return isFromAnotherSite(fields, trusted);
}

TEST(RequestOrigin, isOursOrAbsent) {
  EXPECT_FALSE(refused("", "relay.example.org"));
  EXPECT_FALSE(refused("https://relay.example.org", "relay.example.org"));
  EXPECT_FALSE(refused("http://127.0.0.1:8080", "127.0.0.1:8080"));
  EXPECT_FALSE(refused("HTTPS://Relay.Example.org", "relay.example.ORG"));
  EXPECT_FALSE(refused("http://[::1]:8080", "[::1]:8080"));
}

TEST(RequestOrigin, mayLeaveOutTheSchemesOwnPort) {
  EXPECT_FALSE(refused("https://relay.example.org", "relay.example.org:443"));
  EXPECT_FALSE(refused("http://relay.example.org", "relay.example.org:80"));
  EXPECT_TRUE(refused("https://relay.example.org", "relay.example.org:80"));
  EXPECT_TRUE(refused("https://relay.example.org", "relay.example.org:8443"));
}

TEST(RequestOrigin, ofAnotherSiteIsRefused) {
  for (const char* origin : {"https://evil.example", "https://relay.example.org.evil.example", "https://example.org",
                             "https://relay.example.org:8443", "null", "file://", "https://", "relay.example.org",
                             "https://relay.example.org/", "ftp://relay.example.org", " "})
    EXPECT_TRUE(refused(origin, "relay.example.org")) << origin;
  EXPECT_TRUE(refused("https://relay.example.org", "")) << "nothing to compare it with";
}

TEST(RequestOrigin, thatComesTwiceIsRefused) {
  http::fields fields;
  fields.insert(http::field::origin, "https://relay.example.org");
  fields.insert(http::field::origin, "https://evil.example");
  fields.set(http::field::host, "relay.example.org");
  EXPECT_TRUE(isFromAnotherSite(fields, false));
}

TEST(RequestOrigin, isComparedWithTheNameThatATrustedProxyWasAskedBy) {
  EXPECT_FALSE(refused("https://relay.example.org", "127.0.0.1:8080", "relay.example.org", true));
  EXPECT_FALSE(refused("https://relay.example.org", "127.0.0.1:8080", "other.example, relay.example.org ", true));
  EXPECT_TRUE(refused("https://relay.example.org", "127.0.0.1:8080", "relay.example.org", false));
  EXPECT_TRUE(refused("https://evil.example", "127.0.0.1:8080", "relay.example.org", true));
  EXPECT_TRUE(refused("https://evil.example", "127.0.0.1:8080", "evil.example, relay.example.org", true));
  EXPECT_TRUE(refused("https://evil.example", "127.0.0.1:8080", " , ", true));
}

}  // namespace
}  // namespace tallyfox::server
