// Whose request it is: who is believed, from which end a header is read, and what happens to headers that are wrong.
#include "ForwardedClient.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tallyfox::server {
namespace {

using boost::asio::ip::make_address;
using Headers = std::vector<std::pair<std::string, std::string>>;

class ForwardedClientTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string client(const Headers& headers, const char* peer = "127.0.0.1") const {
    boost::beast::http::fields fields;
    for (const auto& [name, value] : headers)
      fields.insert(name, value);
    return forwardedClient(make_address(peer), fields, proxies).to_string();
  }
  [[nodiscard]] std::string customary(const std::string& value) const { return client({{"X-Forwarded-For", value}}); }
  [[nodiscard]] std::string standard(const std::string& value) const { return client({{"Forwarded", value}}); }

  std::vector<Network> proxies{*Network::parsed("127.0.0.1"), *Network::parsed("10.0.0.0/8"),
                               *Network::parsed("2001:db8:aaaa::/48")};
  std::string proxyItself = "127.0.0.1";
};

TEST_F(ForwardedClientTest, believesNobodyButListedProxies) {
  const Headers headers{{"X-Forwarded-For", "192.0.2.1"}, {"Forwarded", "for=192.0.2.1"}};
  EXPECT_EQ(client(headers, "203.0.113.5"), "203.0.113.5");
  EXPECT_EQ(client(headers, "127.0.0.2"), "127.0.0.2");
  EXPECT_EQ(client(headers, "::ffff:127.0.0.1"), "192.0.2.1") << "a socket for both families says it so";
  proxies.clear();
  EXPECT_EQ(client(headers), "127.0.0.1");
}

TEST_F(ForwardedClientTest, takesTheRightMostAddressThatIsNoProxy) {
  EXPECT_EQ(customary("192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(customary("198.51.100.9, 192.0.2.1"), "192.0.2.1") << "the left is the client's invention";
  EXPECT_EQ(customary("198.51.100.9, 192.0.2.1,10.1.1.1 ,\t10.2.2.2"), "192.0.2.1");
  EXPECT_EQ(client({{"X-Forwarded-For", "198.51.100.9"}, {"X-Forwarded-For", "192.0.2.1, 10.1.1.1"}}), "192.0.2.1")
      << "several lines are one list";
  EXPECT_EQ(standard("for=198.51.100.9, for=192.0.2.1;proto=https;by=10.1.1.1, For=10.1.1.1"), "192.0.2.1");
}

TEST_F(ForwardedClientTest, readsEveryFormOfAddress) {
  EXPECT_EQ(customary("192.0.2.1:4711"), "192.0.2.1");
  EXPECT_EQ(customary("2001:db8::7"), "2001:db8::7");
  EXPECT_EQ(customary("[2001:db8::7]"), "2001:db8::7");
  EXPECT_EQ(customary("[2001:db8::7]:443"), "2001:db8::7");
  EXPECT_EQ(standard("for=192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(standard("for=\"192.0.2.1:4711\""), "192.0.2.1");
  EXPECT_EQ(standard("proto=http;for=\"[2001:db8::7]:4711\""), "2001:db8::7");
  EXPECT_EQ(standard("for=192.0.2.1;note=\"a, b; for=198.51.100.9\""), "192.0.2.1");
}

TEST_F(ForwardedClientTest, ignoresAHeaderThatIsMalformedWhereItIsRead) {
  for (const char* value : {"unknown", "localhost", "192.0.2", "192.0.2.1:", "192.0.2.1:port", "192.0.2.1:123456",
                            "[192.0.2.1]", "[2001:db8::7", "[2001:db8::7]x", "2001:db8::7%eth0", "2001:db8:::7", ",",
                            "192.0.2.1,", "192.0.2.1, unknown", "192.0.2.1, , 10.1.1.1", "192.0.2.1 198.51.100.9"}) {
    EXPECT_EQ(customary(value), proxyItself) << value;
  }
  EXPECT_EQ(customary(std::string(4000, '1')), proxyItself);
  EXPECT_EQ(customary(std::string("192.0.2.1\0, x", 13)), proxyItself);
  for (const char* value : {"192.0.2.1", "for", "for=", "for=unknown", "for=_hidden", "by=192.0.2.1",
                            "for=192.0.2.1;for=192.0.2.2", "for=\"192.0.2.1", "for=192.0.2.1\"", "x=\";for=192.0.2.1",
                            "for=192.0.2.1;", "for=2001:db8:::7", "=192.0.2.1", "for=192.0.2.1, x"}) {
    EXPECT_EQ(standard(value), proxyItself) << value;
  }
}

TEST_F(ForwardedClientTest, letsNothingAtTheLeftSpoilWhatAProxyWrote) {
  for (const char* invention : {"unknown", "\"", "\\", "\"\\", "for=\"", ",,,", "for=\"x, for=\"", "[", ";;"}) {
    EXPECT_EQ(customary(std::string(invention) + ", 192.0.2.1"), "192.0.2.1") << invention;
    EXPECT_EQ(standard(std::string(invention) + ", for=\"192.0.2.1:80\", for=10.1.1.1"), "192.0.2.1") << invention;
  }
}

TEST_F(ForwardedClientTest, isTheProxyWhereNobodyElseIsNamed) {
  EXPECT_EQ(client({}), proxyItself);
  EXPECT_EQ(customary(""), proxyItself);
  EXPECT_EQ(customary("10.1.1.1, 10.2.2.2"), proxyItself);
  EXPECT_EQ(standard("for=\"[2001:db8:aaaa::1]\""), proxyItself);
}

TEST_F(ForwardedClientTest, believesNeitherHeaderWhereTheyDisagree) {
  EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1"}, {"Forwarded", "for=192.0.2.1"}}), "192.0.2.1");
  EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1"}, {"Forwarded", "for=198.51.100.9"}}), proxyItself);
  EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1"}, {"Forwarded", "for=_hidden"}}), proxyItself);
  EXPECT_EQ(client({{"X-Forwarded-For", "unknown"}, {"Forwarded", "for=192.0.2.1"}}), proxyItself);
}

}  // namespace
}  // namespace tallyfox::server
