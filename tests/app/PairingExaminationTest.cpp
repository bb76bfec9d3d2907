// A look at the pairing says where the relay comes from and whether there is an identity, asks only relays that may be
// spoken to, and leaves keychains and preferences as they were.

#include "app/PairingExamination.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pairing/InstallationSecrets.hpp"
#include "pairing/MacKeychainStore.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using namespace keychain_status;
using memory::MemoryKeychain;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;
using Members = std::map<std::string, std::string>;
using Source = DoctorFacts::RelaySetting::Source;

class PairingExaminationTest : public testing::Test {
 protected:
  void configure(const std::string& address) {
    environment.set("TALLYFOX_RELAY_URL", address);
    environment.set("TALLYFOX_PAIRING_ID", "home");
  }
  void store(bool useDataProtectionKeychain, const std::string& text) {
    keychain.put(MacKeychainStore::item(MacKeychainStore::secretsAccount, useDataProtectionKeychain),
                 copyOfBytes(text));
  }
  [[nodiscard]] ExaminedRelay relay() { return examinedRelay(environment, bundle, defaults, keychain); }
  [[nodiscard]] ExaminedIdentity identity() { return examinedIdentity(keychain, relay()); }

  const std::string secrets = jsonText(InstallationSecrets{"home-1", "token", "secret"}.json());
  memory::MemoryEnvironment environment;
  memory::MemoryBundle bundle;
  memory::MemoryUserDefaults defaults;
  MemoryKeychain keychain;
};

TEST_F(PairingExaminationTest, findsNoRelay) {
  const ExaminedRelay found = relay();
  EXPECT_EQ(found.setting.source, Source::none);
  EXPECT_EQ(found.setting.problem, "");
  EXPECT_FALSE(found.health.has_value());
}

TEST_F(PairingExaminationTest, takesTheEnvironmentBeforeTheResource) {
  bundle.resources.insert_or_assign("RelayConfig",
                                    Members{{"relayURL", "wss://bundled.example.org"}, {"pairingID", "b"}});
  EXPECT_EQ(relay().setting.source, Source::resource);
  EXPECT_EQ(relay().setting.address, "wss://bundled.example.org");
  configure("wss://relay.example.org:8443/agent?x=1");
  const ExaminedRelay found = relay();
  EXPECT_EQ(found.setting.source, Source::environment);
  EXPECT_EQ(found.setting.problem, "");
  ASSERT_TRUE(found.health.has_value());
  EXPECT_EQ(found.health->method, "GET");
  EXPECT_EQ(found.health->url, "https://relay.example.org:8443/healthz");
  EXPECT_THAT(found.health->headers, IsEmpty());
}

TEST_F(PairingExaminationTest, saysWhatIsWrongWithASource) {
  environment.set("QUARRYSTONE_RELAY_URL", "wss://relay.example.org");
  EXPECT_EQ(relay().setting.problem, "The environment names only a part of relay address and pairing id.");
  bundle.resources.insert_or_assign("RelayConfig", Members{{"relayURL", "wss://bundled.example.org"}});
  EXPECT_EQ(relay().setting.problem, "Unable to read bundled relay configuration: The text \"pairingID\" is missing.");
  EXPECT_EQ(relay().setting.source, Source::none);
}

TEST_F(PairingExaminationTest, asksNoRelayThatMayNotBeSpokenTo) {
  store(true, secrets);
  for (const char* address : {"ws://relay.example.org", "https://relay.example.org", "wss://", "nonsense", "%"}) {
    configure(address);
    EXPECT_FALSE(relay().health.has_value()) << address;
    EXPECT_FALSE(identity().registration.has_value()) << address;
  }
  configure("ws://127.0.0.1:8080/agent");
  EXPECT_EQ(relay().health->url, "http://127.0.0.1:8080/healthz");
}

TEST_F(PairingExaminationTest, asksForTheStandingWithTheTokenOfThisComputer) {
  configure("wss://relay.example.org");
  store(true, secrets);
  const ExaminedIdentity found = identity();
  EXPECT_EQ(found.identity, (DoctorFacts::Identity{success, itemNotFound, true}));
  ASSERT_TRUE(found.registration.has_value());
  EXPECT_EQ(found.registration->method, "GET") << "a PUT would register";
  EXPECT_EQ(found.registration->url, "https://relay.example.org/api/pairings/home-1/relay-token");
  EXPECT_THAT(found.registration->headers, ElementsAre(Pair("authorization", "Bearer token")));
}

TEST_F(PairingExaminationTest, looksIntoBothKeychainsAsTheAgentDoes) {
  EXPECT_EQ(identity().identity, (DoctorFacts::Identity{itemNotFound, itemNotFound, false}));
  store(false, secrets);
  EXPECT_EQ(identity().identity, (DoctorFacts::Identity{itemNotFound, success, true}));
  keychain.setDataProtectionAvailable(false);
  EXPECT_EQ(identity().identity, (DoctorFacts::Identity{missingEntitlement, success, true}));
  store(false, R"({"pairingID":"p"})");
  EXPECT_EQ(identity().identity, (DoctorFacts::Identity{missingEntitlement, success, false}));
  keychain.failNext(MemoryKeychain::Operation::copyMatching, true, interactionNotAllowed);
  EXPECT_EQ(identity().identity, (DoctorFacts::Identity{interactionNotAllowed, itemNotFound, false}))
      << "a locked keyring may hold another identity: the file's does not count";
  EXPECT_FALSE(identity().registration.has_value());
}

TEST_F(PairingExaminationTest, changesNothing) {
  configure("wss://relay.example.org");
  EXPECT_FALSE(identity().registration.has_value()) << "no identity is made";
  store(true, secrets);
  EXPECT_TRUE(identity().registration.has_value());
  EXPECT_THAT(keychain.calls(), Each(StartsWith("copyMatching")));
  EXPECT_THAT(defaults.writes(), IsEmpty());
}

}  // namespace
}  // namespace tallyfox
