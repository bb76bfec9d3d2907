// Where the relay lets itself be sent: endpoints, the services among them, and addresses that are the internet's.
#include "push/PushServices.hpp"

#include <gtest/gtest.h>

#include "push/PushOptions.hpp"

namespace tallyfox::server {
namespace {

using Service = PushServices::Service;

PushEndpoint endpoint(const std::string& text) {
  auto parsed = PushEndpoint::parsed(text);
  if (!parsed) throw std::runtime_error(text);
  return std::move(*parsed);
}

TEST(PushEndpoint, isAnHttpsAddress) {
  EXPECT_EQ(endpoint("https://Push.Example/send/a%2Fb?c=d"),
            (PushEndpoint{.host = "push.example", .port = 443, .target = "/send/a%2Fb?c=d"}));
  EXPECT_EQ(endpoint("https://push.example:8443"), (PushEndpoint{.host = "push.example", .port = 8443, .target = "/"}));
  EXPECT_EQ(endpoint("https://push.example:443/x").origin(), "https://push.example");
  EXPECT_EQ(endpoint("https://push.example:8443/x").origin(), "https://push.example:8443");
  EXPECT_EQ(endpoint("https://[2001:db8::1]:8443/x").authority(), "[2001:db8::1]:8443");
}

TEST(PushEndpoint, isNothingElse) {
  for (const std::string text :
       {"", "push.example", "http://push.example/x", "https:///x", "https://user@push.example/x", "//push.example/x",
        "https://push.example/x#y", "https://push.example:0/x", "https://push.example:65536/x",
        "https://push.example/a b", "https://push.example/\r\nHost: other", "https://push.example/%zz"})
    EXPECT_EQ(PushEndpoint::parsed(text), std::nullopt) << text;
  const std::string start = "https://push.example/";
  EXPECT_TRUE(PushEndpoint::parsed(start + std::string(2048 - start.size(), 'x')));
  EXPECT_FALSE(PushEndpoint::parsed(start + std::string(2049 - start.size(), 'x')));
}

TEST(PushServices, areThoseOfTheBrowsersUnlessNamed) {
  const PushServices services({});
  for (const char* text :
       {"https://fcm.googleapis.com/fcm/send/x", "https://updates.push.services.mozilla.com/wpush/v2/x",
        "https://web.push.apple.com/x", "https://wns2-par02p.notify.windows.com/w/?token=x"}) {
    EXPECT_TRUE(services.allow(endpoint(text))) << text;
    EXPECT_FALSE(services.mayBeInner(endpoint(text))) << text;
  }
  for (const char* text :
       {"https://push.example/x", "https://localhost/x", "https://push.apple.com/x",
        "https://push.apple.com.evil.example/x", "https://evilpush.apple.com/x", "https://fcm.googleapis.com:8443/x",
        "https://sub.fcm.googleapis.com/x", "https://fcm.googleapis.com./x"})
    EXPECT_FALSE(services.allow(endpoint(text))) << text;
}

TEST(PushServices, mayBeInnerOnlyByTheirWholeName) {
  const PushServices services({*Service::parsed("Push.Internal:8443"), *Service::parsed("*.cloud.example")});
  EXPECT_TRUE(services.mayBeInner(endpoint("https://push.internal:8443/x")));
  EXPECT_FALSE(services.allow(endpoint("https://push.internal/x")));
  EXPECT_TRUE(services.allow(endpoint("https://a.b.cloud.example/x")));
  EXPECT_FALSE(services.mayBeInner(endpoint("https://a.b.cloud.example/x")));
  EXPECT_FALSE(services.allow(endpoint("https://fcm.googleapis.com/x"))) << "named ones replace the browsers'";
}

TEST(PushServices, areNamedByHostAndPort) {
  EXPECT_EQ(*Service::parsed("push.example"), (Service{.host = "push.example", .port = 443}));
  EXPECT_EQ(*Service::parsed("*.push.example:1"), (Service{.host = "*.push.example", .port = 1}));
  for (const char* text :
       {"", "*", "*.", "*.*.example", "a*.example", "push.example:", "push.example:0", "push.example:65536",
        "push.example:8x", "https://push.example", "push example", ".example", "[::1]:80", "*..example"})
    EXPECT_FALSE(Service::parsed(text)) << text;
}

TEST(PublicAddress, isOneOfTheInternets) {
  for (const char* text : {"1.1.1.1", "8.8.8.8", "172.32.0.1", "192.169.0.1", "100.128.0.1", "2606:4700::1111",
                           "2a00:1450:4001::1", "::ffff:8.8.8.8", "64:ff9b::808:808"})
    EXPECT_TRUE(isPublicAddress(boost::asio::ip::make_address(text))) << text;
  for (const char* text : {"0.0.0.0",
                           "10.1.2.3",
                           "100.64.0.1",
                           "127.0.0.1",
                           "127.255.0.1",
                           "169.254.169.254",
                           "172.16.0.1",
                           "172.31.255.255",
                           "192.168.1.1",
                           "198.18.0.1",
                           "192.0.2.1",
                           "224.0.0.1",
                           "255.255.255.255",
                           "::",
                           "::1",
                           "fe80::1",
                           "fc00::1",
                           "fd12:3456::1",
                           "ff02::1",
                           "::ffff:127.0.0.1",
                           "::ffff:10.0.0.1",
                           "::127.0.0.1",
                           "64:ff9b::7f00:1",
                           "64:ff9b::a00:1",
                           "2002:7f00:1::",
                           "2001::1",
                           "2001:db8::1",
                           "fec0::1"})
    EXPECT_FALSE(isPublicAddress(boost::asio::ip::make_address(text))) << text;
}

TEST(PushOptions, knowAPersonsAddress) {
  for (const char* text : {"mailto:operator@example.org", "https://example.org/contact"})
    EXPECT_TRUE(PushOptions::isContact(text)) << text;
  for (const char* text :
       {"", "operator@example.org", "mailto:", "mailto:operator", "mailto:@example.org", "mailto:operator@",
        "http://example.org", "https:", "mailto:o@example.org\"", "mailto:a b@c"})
    EXPECT_FALSE(PushOptions::isContact(text)) << text;
}

}  // namespace
}  // namespace tallyfox::server
