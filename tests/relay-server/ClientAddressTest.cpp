// Networks and what limits are counted by: prefixes of every length, mapped addresses, and faults.
#include "ClientAddress.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox::server {
namespace {

using boost::asio::ip::make_address;

bool covers(const char* network, const char* address) {
  const auto parsed = Network::parsed(network);
  EXPECT_TRUE(parsed) << network << ": " << parsed.error();
  return parsed && parsed->contains(make_address(address));
}

TEST(ClientAddress, aNetworkCoversTheAddressesWithItsFirstBits) {
  EXPECT_TRUE(covers("10.0.0.0/8", "10.255.0.1"));
  EXPECT_FALSE(covers("10.0.0.0/8", "11.0.0.0"));
  EXPECT_TRUE(covers("192.0.2.128/25", "192.0.2.255"));
  EXPECT_FALSE(covers("192.0.2.128/25", "192.0.2.127"));
  EXPECT_TRUE(covers("2001:db8::/33", "2001:db8:7fff::1"));
  EXPECT_FALSE(covers("2001:db8::/33", "2001:db8:8000::1"));
  EXPECT_TRUE(covers("10.1.2.3/8", "10.9.9.9")) << "bits after the prefix do not count";
}

TEST(ClientAddress, aNetworkWithoutLengthIsOneAddress) {
  EXPECT_TRUE(covers("127.0.0.1", "127.0.0.1"));
  EXPECT_FALSE(covers("127.0.0.1", "127.0.0.2"));
  EXPECT_TRUE(covers("::1", "::1"));
  EXPECT_FALSE(covers("::1", "::2"));
}

TEST(ClientAddress, lengthZeroCoversItsOwnKindAlone) {
  EXPECT_TRUE(covers("0.0.0.0/0", "203.0.113.9"));
  EXPECT_FALSE(covers("0.0.0.0/0", "2001:db8::1"));
  EXPECT_TRUE(covers("::/0", "2001:db8::1"));
  EXPECT_TRUE(covers("::/0", "203.0.113.9")) << "as a mapped address";
}

TEST(ClientAddress, aMappedAddressIsItsIPv4Address) {
  EXPECT_TRUE(covers("192.0.2.0/24", "::ffff:192.0.2.7"));
  EXPECT_EQ(limitedClient(make_address("::ffff:192.0.2.7")), limitedClient(make_address("192.0.2.7")));
  EXPECT_NE(limitedClient(make_address("::ffff:192.0.2.7")), limitedClient(make_address("::ffff:192.0.2.8")));
}

TEST(ClientAddress, IPv6IsLimitedBySixtyFourBits) {
  EXPECT_EQ(limitedClient(make_address("2001:db8:0:1::1")), limitedClient(make_address("2001:db8:0:1:ffff::2")));
  EXPECT_NE(limitedClient(make_address("2001:db8:0:1::1")), limitedClient(make_address("2001:db8:0:2::1")));
  EXPECT_NE(limitedClient(make_address("192.0.2.7")), limitedClient(make_address("192.0.2.8")));
}

TEST(ClientAddress, refusesWhatIsNoNetwork) {
  for (const char* text : {"", "/", "/8", "localhost", "10.0.0/8", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1",
                           "10.0.0.0/8x", "10.0.0.0/8/8", "::/129", "[::1]", "10.0.0.0 /8", "10.0.0.0/99999999999"}) {
    EXPECT_FALSE(Network::parsed(text)) << text;
  }
  EXPECT_EQ(Network::parsed("nowhere").error(), "nowhere is no IP address or network");
  EXPECT_EQ(Network::parsed("10.0.0.0/33").error(), "10.0.0.0/33 has no prefix length from 0 to 32");
}

}  // namespace
}  // namespace tallyfox::server
