// Shows which requests are handed to a URL session, how its errors read, and when an HTTP answer counts.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/macos/HttpCall.hpp"
#include "platform/macos/NetworkErrors.hpp"
#include "platform/macos/NetworkRequests.hpp"

namespace tallyfox::mac_os {
namespace {

using testing::ElementsAre;

TEST(NetworkRequests, writeTheSchemeInLowerCaseAndLeaveTheRest) {
  EXPECT_EQ(requestAddress("WSS://Relay.example:8443/a%20b?c=d#e", {"ws", "wss"}),
            "wss://Relay.example:8443/a%20b?c=d");
  EXPECT_EQ(requestAddress("ws://[::1]:80", {"ws", "wss"}), "ws://[::1]:80");
}

TEST(NetworkRequests, refuseWhatASessionWouldNotTake) {
  for (const char* url : {"", "relay.example", "//relay.example/", "wss:", "wss:///path", "https://relay.example/",
                          "wss://relay.example/a b", "wss://relay.example:99999/"})
    EXPECT_EQ(requestAddress(url, {"ws", "wss"}), std::nullopt) << url;
}

TEST(NetworkRequests, sendOnlyWhatIsWellFormed) {
  EXPECT_TRUE(isSendable("PUT", {{"authorization", "Bearer grün"}}));
  EXPECT_FALSE(isSendable("PUT x", {}));
  EXPECT_FALSE(isSendable("", {}));
  EXPECT_FALSE(isSendable("PUT", {{"x", "a\r\nhost: b"}}));
  EXPECT_FALSE(isSendable("PUT", {{"x", "\xff"}}));
}

TEST(NetworkErrors, readAsOneSentence) {
  EXPECT_EQ(networkErrorDescription("NSURLErrorDomain", -1001), "The connection timed out.");
  EXPECT_EQ(networkErrorDescription("NSURLErrorDomain", -1200), "The secure connection could not be established.");
  EXPECT_EQ(networkErrorDescription("NSPOSIXErrorDomain", 61), "Connection refused.");
  EXPECT_EQ(networkErrorDescription("NSPOSIXErrorDomain", 57), "The connection was lost.");
  EXPECT_EQ(networkErrorDescription("NSPOSIXErrorDomain", 40), "A message exceeds the size limit.");
}

TEST(NetworkErrors, nameOnlyTheNumberOfOneThatIsNotKnown) {
  EXPECT_EQ(networkErrorDescription("NSPOSIXErrorDomain", -1001), "The connection failed (NSPOSIXErrorDomain -1001).");
  EXPECT_EQ(networkErrorDescription("kCFErrorDomainCFNetwork", 310),
            "The connection failed (kCFErrorDomainCFNetwork 310).");
  EXPECT_EQ(refusedUpgradeDescription(401), "The relay answered the WebSocket request with HTTP 401.");
}

class HttpCallTest : public testing::Test {
 protected:
  std::vector<std::string> heard;
  std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
  HttpCall call{[this](const auto& response) {
                  heard.push_back(response ? std::to_string(response->status) : response.error().description);
                },
                gate};
};

TEST_F(HttpCallTest, givesTheStatusOnceTheRequestIsOver) {
  call.answered(204);
  call.spoke("http/1.1");
  EXPECT_TRUE(heard.empty());
  call.ended({cancelledText});
  call.ended({timedOutText});
  EXPECT_THAT(heard, ElementsAre("204"));
}

TEST_F(HttpCallTest, givesARedirectAsTheAnswer) {
  call.answered(302);
  call.answered(200);
  call.ended({cancelledText});
  EXPECT_THAT(heard, ElementsAre("302"));
}

TEST_F(HttpCallTest, failsWithoutAnAnswer) {
  call.ended({timedOutText});
  EXPECT_THAT(heard, ElementsAre("The connection timed out."));
}

TEST_F(HttpCallTest, takesBytesThatAreNoHttpForNoAnswer) {
  call.answered(200);
  call.spoke("http/0.9");
  call.ended({cancelledText});
  EXPECT_THAT(heard, ElementsAre("The answer is not valid HTTP."));
}

TEST_F(HttpCallTest, isSilentBehindAClosedGate) {
  call.answered(200);
  gate->close();
  call.ended({cancelledText});
  EXPECT_TRUE(heard.empty());
}

}  // namespace
}  // namespace tallyfox::mac_os
