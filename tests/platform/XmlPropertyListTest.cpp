// Property lists in XML: the texts of the root dictionary as they were meant, and a refusal of everything that is cut
// off, wrongly nested or more than such a list has.

#include "platform/linux/XmlPropertyList.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const PropertyListTexts malformed = std::unexpected(PropertyListFault::malformed);

std::string list(const std::string& root) {
  return "<plist version=\"1.0\">" + root + "</plist>";
}
std::string dictionary(const std::string& members) {
  return list("<dict>" + members + "</dict>");
}
/// What the element <string>content</string> gives.
std::string textOfElement(const std::string& content) {
  const auto texts = decodedXmlPropertyList(dictionary("<key>k</key><string>" + content + "</string>"));
  return texts ? texts->at("k") : "malformed";
}
std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i)
    result += text;
  return result;
}

TEST(XmlPropertyList, givesTheTextsOfItsDictionary) {
  const std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "http://example.com/list.dtd">
<!-- written by hand -->
<plist version="1.0">
<dict>
	<key>relayURL</key>
	<string>wss://relay.example/agent?a=1&amp;b=2</string>
	<key>pairingID</key> <!-- a seed -->
	<string>Büro</string>
</dict>
</plist>
)";
  EXPECT_THAT(*decodedXmlPropertyList(text),
              ElementsAre(Pair("pairingID", "Büro"), Pair("relayURL", "wss://relay.example/agent?a=1&b=2")));
  EXPECT_TRUE(decodedXmlPropertyList("\xEF\xBB\xBF" + text).has_value()) << "behind a byte order mark";
}

TEST(XmlPropertyList, takesEmptyElementsInBothSpellings) {
  EXPECT_THAT(*decodedXmlPropertyList(dictionary("")), IsEmpty());
  EXPECT_THAT(*decodedXmlPropertyList(list("<dict/>")), IsEmpty());
  EXPECT_THAT(*decodedXmlPropertyList(dictionary("<key>a</key><string/><key/><string></string>")),
              ElementsAre(Pair("", ""), Pair("a", "")));
  EXPECT_THAT(*decodedXmlPropertyList("<plist ><dict\n></dict ></plist\n>"), IsEmpty());
}

TEST(XmlPropertyList, leavesOutMembersOfOtherTypes) {
  EXPECT_THAT(*decodedXmlPropertyList(dictionary("<key>a</key><integer>7</integer><key>b</key><true/>"
                                                 "<key>c</key><array><string>x</string><dict><key>k</key><string>y"
                                                 "</string></dict></array><key>d</key><string>v</string>")),
              ElementsAre(Pair("d", "v")));
}

TEST(XmlPropertyList, readsReferencesCommentsAndCdata) {
  EXPECT_EQ(textOfElement("&lt;&gt;&amp;&quot;&apos;"), "<>&\"'");
  EXPECT_EQ(textOfElement("&#65;&#x1F600;&#xfc;"), "A😀ü");
  EXPECT_EQ(textOfElement("&#xD800;&#x110000;"), "\uFFFD\uFFFD") << "no characters";
  EXPECT_EQ(textOfElement("&amp;lt;"), "&lt;") << "a reference is resolved once";
  EXPECT_EQ(textOfElement("a<!-- <b> & --> c"), "a c");
  EXPECT_EQ(textOfElement("a<![CDATA[<b>&amp;]]>c"), "a<b>&amp;c");
  EXPECT_EQ(textOfElement(" a \n b "), " a \n b ") << "white space is part of a text";
}

TEST(XmlPropertyList, refusesReferencesToNothing) {
  for (const std::string reference : {"&", "&;", "&amp", "&nope;", "&#;", "&#x;", "&#0;", "&#-1;", "&#xG;", "&#X41;",
                                      "&# 65;", "&#99999999999;", "&LT;"})
    EXPECT_EQ(textOfElement(reference), "malformed") << reference;
}

TEST(XmlPropertyList, countsTheLastOfTwoEqualKeys) {
  EXPECT_THAT(*decodedXmlPropertyList(dictionary("<key>k</key><string>1</string><key>k</key><string>2</string>")),
              ElementsAre(Pair("k", "2")));
}

TEST(XmlPropertyList, repairsTextsThatAreNoUtf8) {
  EXPECT_EQ(textOfElement("a\xFFz"), "a\uFFFDz");
  EXPECT_EQ(textOfElement("\xED\xA0\x80").substr(0, 3), "\uFFFD");
}

TEST(XmlPropertyList, saysThatItsRootIsNoDictionary) {
  for (const std::string root : {"<array/>", "<array><dict/></array>", "<string>a</string>", "<true/>"})
    EXPECT_EQ(decodedXmlPropertyList(list(root)), std::unexpected(PropertyListFault::noDictionary)) << root;
}

TEST(XmlPropertyList, refusesEveryTruncation) {
  const std::string whole =
      "<?xml version=\"1.0\"?><!DOCTYPE plist><!--c-->" + dictionary("<key>k</key><string>&lt;<![CDATA[x]]></string>");
  ASSERT_TRUE(decodedXmlPropertyList(whole).has_value());
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(decodedXmlPropertyList(whole.substr(0, size)), malformed) << whole.substr(0, size);
}

TEST(XmlPropertyList, refusesWhatIsWronglyBuilt) {
  const std::vector<std::string> texts = {
      "",
      "text",
      "<dict/>",
      "<plist/>",
      "<plist></plist>",
      "<html></html>",
      list("<html/>"),
      list("text<dict/>"),
      list("<dict/><dict/>"),
      list("<dict/>") + "text",
      list("<dict/>") + "<dict/>",
      dictionary("text"),
      dictionary("<key>k</key>"),
      dictionary("<string>v</string>"),
      dictionary("<key>k</key>text<string>v</string>"),
      dictionary("<key>k</string>"),
      dictionary("<key><b/></key><string>v</string>"),
      dictionary("<key>k</key><string>v</key>"),
      dictionary("<key>k</key><string>a<b>c</b></string>"),
      dictionary("<key>k</key><array><dict></array></dict>"),
      dictionary("<key>k</key></array>"),
      dictionary("<key>k</key><!ELEMENT a><string>v</string>"),
      dictionary("<key>a</key><key>b</key><string>v</string><string>w</string>"),
  };
  for (const std::string& text : texts)
    EXPECT_EQ(decodedXmlPropertyList(text), malformed) << text;
  EXPECT_EQ(decodedXmlPropertyList(dictionary(std::string("<key>a\0b</key><string>v</string>", 32))), malformed);
}

// Ten entities that each hold the one before ten times are a text of ten thousand million characters.
TEST(XmlPropertyList, refusesEntitiesOfItsOwn) {
  EXPECT_EQ(decodedXmlPropertyList("<!DOCTYPE plist [<!ENTITY a \"aa\"><!ENTITY b \"&a;&a;\">]>" +
                                   dictionary("<key>k</key><string>&b;</string>")),
            malformed);
}

TEST(XmlPropertyList, leavesDeepNestingBehindWithoutFollowingIt) {
  const std::size_t depth = 100'000;
  const std::string nested = repeated("<array>", depth) + repeated("</array>", depth);
  EXPECT_THAT(*decodedXmlPropertyList(dictionary("<key>k</key>" + nested)), IsEmpty());
  EXPECT_EQ(decodedXmlPropertyList(dictionary("<key>k</key>" + repeated("<array>", depth))), malformed);
  EXPECT_EQ(decodedXmlPropertyList("<plist>" + repeated("<dict><key>k</key>", depth)), malformed);
}

}  // namespace
}  // namespace tallyfox::linux_os
