// What nodes say to each other survives the way word for word, and nonsense is refused.
#include "cluster/ClusterMessage.hpp"

#include <gtest/gtest.h>

namespace tallyfox::server {
namespace {

using Kind = ClusterMessage::Kind;

TEST(ClusterMessage, isReadAsItWasWritten) {
  ClusterMessage presence;
  presence.kind = Kind::presence;
  presence.node = "0123456789ab";
  presence.pairing = std::string(128, 'P');
  presence.number = 17;
  presence.claim = 0x7FFF'FFFF'FFFF'FFFFULL;
  presence.devices = {"D1", "D2"};
  presence.asks = true;
  EXPECT_EQ(ClusterMessage::decoded(presence.encoded()), presence);
  for (const Kind kind : {Kind::alive, Kind::leaving, Kind::changed, Kind::frame, Kind::snapshot, Kind::who,
                          Kind::request, Kind::delivered, Kind::refused}) {
    ClusterMessage message;
    message.kind = kind;
    message.node = "n";
    message.frame = std::string("a\n{\"b\":\0}\n", 11);
    EXPECT_EQ(ClusterMessage::decoded(message.encoded()), message);
  }
}

TEST(ClusterMessage, aRoomFullOfDevicesFitsIntoTheEnvelope) {
  ClusterMessage presence;
  presence.kind = Kind::presence;
  presence.node = std::string(24, 'n');
  presence.pairing = std::string(128, 'P');
  presence.number = presence.claim = 0x7FFF'FFFF'FFFF'FFFFULL;
  for (int number = 10; number < 74; ++number)
    presence.devices.insert(std::string(62, 'D') + std::to_string(number));
  EXPECT_LT(presence.encoded().size(), ClusterMessage::greatestEnvelope);
  EXPECT_EQ(ClusterMessage::decoded(presence.encoded()), presence);
}

TEST(ClusterMessage, refusesNonsense) {
  for (const std::string& text :
       {std::string(), std::string("{}"), std::string("\n"), std::string("{}\n"), std::string("{\"kind\":\"alive\"}\n"),
        std::string("{\"kind\":\"nothing\",\"node\":\"n\"}\n"),
        std::string("{\"kind\":\"alive\",\"node\":\"n\",\"number\":-1}\n"),
        std::string("{\"kind\":\"alive\",\"node\":\"n\",\"devices\":[1]}\n"),
        "{\"kind\":\"alive\",\"node\":\"" + std::string(ClusterMessage::greatestEnvelope, 'n') + "\"}\n"})
    EXPECT_FALSE(ClusterMessage::decoded(text)) << text.substr(0, 60);
}

}  // namespace
}  // namespace tallyfox::server
