// The phone's parts by themselves: command lines, stored pairings, addresses, and texts for people.

#include <cstdlib>

#include "phone/PhoneCommands.hpp"
#include "phone/PhoneFixture.hpp"

namespace tallyfox::phone {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(PhoneOptions, takeOptionsAnywhere) {
  const auto options = PhoneOptions::parsed({"--json", "answer", "--timeout", "2.5", "ID", "--", "--odd label"});
  ASSERT_TRUE(options.has_value());
  EXPECT_EQ(*options, (PhoneOptions{PhoneVerb::answer, {"ID", "--odd label"}, true, Seconds{2.5}, std::nullopt}));
  EXPECT_EQ(PhoneOptions::parsed({"pair", "-", "--name", "Desk"})->operands, std::vector<std::string>{"-"});
  EXPECT_EQ(PhoneOptions::parsed({"watch", "--help"})->verb, PhoneVerb::help);
  EXPECT_EQ(PhoneOptions::parsed({"--version"})->verb, PhoneVerb::version);
}

TEST(PhoneOptions, sayWhatIsWrongInOneLine) {
  for (const auto& [arguments, problem] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{}, "A command is missing."},
           {{"dance"}, "There is no command \"dance\"."},
           {{"answer", "ID"}, "The command answer needs more arguments."},
           {{"list", "all"}, "The command list takes fewer arguments."},
           {{"list", "--loud"}, "There is no option --loud."},
           {{"list", "--timeout"}, "The option --timeout needs a value."},
           {{"list", "--timeout", "0"}, "A time-out is a positive number of seconds."},
           {{"list", "--timeout", "5s"}, "A time-out is a positive number of seconds."},
           {{"list", "--timeout", "nan"}, "A time-out is a positive number of seconds."},
           {{"list", "--name", "Desk"}, "The option --name belongs to pair."}})
    EXPECT_EQ(PhoneOptions::parsed(arguments), std::unexpected(problem));
}

TEST(PairingCode, becomesANewPhoneEachTime) {
  const std::string code =
      R"({"type":"tallyfox.pairing","version":1,"backendURL":"http://127.0.0.1:8080","pairingID":"p","relaySecret":"r","e2eSecret":"e"})";
  const auto one = pairingFromCode(" " + code + "\n", "Desk");
  const auto other = pairingFromCode(code, "Desk");
  ASSERT_TRUE(one && other);
  EXPECT_EQ(one->backendURL, "http://127.0.0.1:8080");
  EXPECT_NE(one->deviceID, other->deviceID);
}

TEST(PairingCode, isRefusedWithoutUse) {
  const auto with = [](const std::string& url, const std::string& relaySecret, const std::string& name) {
    return pairingFromCode(R"({"type":"tallyfox.pairing","version":1,"backendURL":")" + url +
                               R"(","pairingID":"p","relaySecret":")" + relaySecret + R"(","e2eSecret":"e"})",
                           name);
  };
  EXPECT_TRUE(with("https://r.example", "r", std::string(100, 'x')).has_value());
  EXPECT_EQ(with("https://r.example", "", "n"), std::unexpected("The pairing code carries no credentials."));
  EXPECT_EQ(with("ftp://r.example", "r", "n"), std::unexpected("The pairing code carries no valid relay address."));
  EXPECT_EQ(with("r.example", "r", "n"), std::unexpected("The pairing code carries no valid relay address."));
  EXPECT_EQ(with("https://r.example", "r", " "), std::unexpected("A phone's name has 1 to 100 characters."));
  EXPECT_EQ(with("https://r.example", "r", std::string(101, 'x')),
            std::unexpected("A phone's name has 1 to 100 characters."));
  for (const std::string text : {"", "{}", "tallyfox", R"({"type":"tallyfox.pairing","version":2})"})
    EXPECT_THAT(pairingFromCode(text, "n").error(), HasSubstr("not a pairing code"));
}

TEST(PhoneStore, keepsThePairingForThisUserAlone) {
  const TemporaryFolder folder;
  const PhoneStore store(folder.path());
  const PhonePairing pairing{"https://r.example", "p", "r", "e", "d", "Grüße"};
  EXPECT_EQ(store.load().value(), std::nullopt);
  EXPECT_TRUE(store.forget().has_value());
  EXPECT_TRUE(store.save(pairing).has_value());
  EXPECT_EQ(store.load().value(), pairing);
  EXPECT_EQ(modeOf(folder / "tallyfox-phone/phone.json"), std::filesystem::perms{0600});
  EXPECT_TRUE(store.forget().has_value());
  EXPECT_EQ(store.load().value(), std::nullopt);
}

TEST(PhoneStore, saysWhyAPairingCannotBeRead) {
  const TemporaryFolder folder;
  const PhoneStore store(folder.path());
  writeFile(folder / "tallyfox-phone/phone.json", "{}");
  EXPECT_THAT(store.load().error(), HasSubstr("not private to this user"));
  std::filesystem::permissions(folder / "tallyfox-phone/phone.json", std::filesystem::perms{0600});
  EXPECT_THAT(store.load().error(), HasSubstr("Unable to read the pairing: "));
}

TEST(PhoneConnection, findsThePhoneSocketOfARelay) {
  EXPECT_EQ(phoneSocketURL("https://relay.example"), "wss://relay.example/phone");
  EXPECT_EQ(phoneSocketURL("http://127.0.0.1:8080"), "ws://127.0.0.1:8080/phone");
  EXPECT_EQ(phoneSocketURL("http://[::1]:8080/path?query"), "ws://[::1]:8080/phone");
  EXPECT_EQ(phoneSocketURL("relay.example"), std::nullopt);
}

TEST(PhoneOutput, writesMillisecondsAndAges) {
  const Date moment = Date(std::chrono::seconds(1767225600)) + std::chrono::microseconds(7890);
  EXPECT_EQ(millisecondTimestamp(moment), "2026-01-01T00:00:00.007Z");
  for (const auto& [seconds, text] : std::vector<std::pair<int, std::string>>{{-5, "just now"},
                                                                              {0, "just now"},
                                                                              {59, "59 s ago"},
                                                                              {60, "1 min ago"},
                                                                              {3600, "1 h ago"},
                                                                              {47 * 3600, "47 h ago"},
                                                                              {72 * 3600, "3 days ago"}})
    EXPECT_EQ(ageText(moment, moment + std::chrono::seconds(seconds)), text);
}

class ApprovalLinesTest : public PhoneTest {};

TEST_F(ApprovalLinesTest, tellDirectAccessAndMissingPermission) {
  PendingApproval locked = approval();
  locked.requiresDirectAccess = true;
  locked.directAccessReason = "It asks for a password.";
  locked.buttons.clear();
  const auto text = approvalLines({time.clock().now(), false, {locked}}, time.clock().now());
  EXPECT_THAT(text, Contains("          Direct access needed: It asks for a password."));
  EXPECT_THAT(text, Contains("          No buttons"));
  EXPECT_THAT(text.front(), HasSubstr("accessibility is off"));
  EXPECT_THAT(approvalLines({time.clock().now(), true, {}}, time.clock().now()),
              ElementsAre("Nothing waits for an answer."));
}

TEST_F(ApprovalLinesTest, showAsMuchOfTheIdentifierAsTellsThemApart) {
  const auto one = approval("3F2A9C1B-AAAA-4000-8000-000000000001");
  const auto other = approval("3F2A9C1B-ABAA-4000-8000-000000000001");
  EXPECT_EQ(shortIDLength({one}), 8U);
  EXPECT_EQ(shortIDLength({one, other}), 11U);
  EXPECT_EQ(approvalsWithPrefix({one, other}, "3f2a9c1b-AB").size(), 1U);
  EXPECT_EQ(approvalsWithPrefix({one, other}, "").size(), 0U);
}

TEST_F(ApprovalLinesTest, namesAButtonExactlyOrAlone) {
  PendingApproval dialog = approval();
  dialog.buttons = {
      {"OK", "AXButton", 0, 0, 1, 1}, {"Ok", "AXButton", 0, 0, 1, 1}, {"Don’t Allow", "AXButton", 0, 0, 1, 1}};
  EXPECT_EQ(meantButton(dialog, "Ok"), "Ok");
  EXPECT_EQ(meantButton(dialog, "ok"), std::nullopt);
  EXPECT_EQ(meantButton(dialog, "don’t  allow"), "Don’t Allow");
}

}  // namespace
}  // namespace tallyfox::phone
