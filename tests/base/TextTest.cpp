// Text helpers work on Unicode, not on bytes: white space of every kind, lower-casing without a locale, and ill-formed
// UTF-8 that is read as U+FFFD and never out of bounds.

#include "base/Text.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace tallyfox {
namespace {

constexpr std::string_view replacement = "\uFFFD";
constexpr std::string_view noBreakSpace = "\u00A0";

const std::vector<std::string>& whiteSpaces() {
  static const std::vector<std::string> all = {"\t",     "\n",     "\v",     "\f",     "\r",     " ",
                                               "\u0085", "\u00A0", "\u1680", "\u2000", "\u200A", "\u2028",
                                               "\u2029", "\u202F", "\u205F", "\u3000"};
  return all;
}

const std::vector<std::string>& illFormedTexts() {
  static const std::vector<std::string> all = {
      "\x80",              // a lone continuation byte
      "\xC3",              // cut off
      "\xE2\x82",          // cut off later
      "\xC0\xAF",          // over-long
      "\xED\xA0\x80",      // a surrogate
      "\xF4\x90\x80\x80",  // beyond the last code point
      "\xFF\xFE",          // bytes that never occur
  };
  return all;
}

TEST(Text, tellsWellFormedUtf8FromIllFormed) {
  EXPECT_TRUE(isValidUtf8(""));
  EXPECT_TRUE(isValidUtf8("plain"));
  EXPECT_TRUE(isValidUtf8("Grüße 世界 😀"));
  EXPECT_TRUE(isValidUtf8(std::string_view("a\0b", 3)));
  for (const std::string& text : illFormedTexts())
    EXPECT_FALSE(isValidUtf8("ok" + text)) << testing::PrintToString(text);
}

TEST(Text, repairsOnlyWhatIsIllFormed) {
  EXPECT_EQ(repairedUtf8("Grüße 😀"), "Grüße 😀");
  EXPECT_EQ(repairedUtf8("a\xFFz"), "a" + std::string(replacement) + "z");
  EXPECT_EQ(repairedUtf8("a\xE2\x82z"), "a" + std::string(replacement) + "z");
  for (const std::string& text : illFormedTexts()) {
    const std::string repaired = repairedUtf8("<" + text + ">");
    EXPECT_TRUE(isValidUtf8(repaired)) << testing::PrintToString(text);
    EXPECT_TRUE(repaired.starts_with("<" + std::string(replacement))) << testing::PrintToString(text);
    EXPECT_TRUE(repaired.ends_with(">")) << testing::PrintToString(text);
  }
}

TEST(Text, encodesEveryCodePointAndNothingElse) {
  for (std::uint32_t codePoint = 0; codePoint < 0x110010; ++codePoint) {
    const std::string text = utf8Encoded(codePoint);
    ASSERT_TRUE(isValidUtf8(text)) << codePoint;
    const bool isNone = (codePoint >= 0xD800 && codePoint < 0xE000) || codePoint > 0x10FFFF;
    ASSERT_EQ(text == replacement, isNone || codePoint == 0xFFFD) << codePoint;
  }
  EXPECT_EQ(utf8Encoded('A') + utf8Encoded(0xFC) + utf8Encoded(0x2019) + utf8Encoded(0x1F600), "Aü’😀");
  EXPECT_EQ(utf8Encoded(0), std::string(1, '\0'));
}

TEST(Text, trimsEveryUnicodeWhiteSpaceAtBothEnds) {
  for (const std::string& space : whiteSpaces())
    EXPECT_EQ(trimmed(space + "a" + space + "b" + space), "a" + space + "b") << testing::PrintToString(space);
}

TEST(Text, trimsToNothingWhatIsAllWhiteSpace) {
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed(" \n\u00A0\u3000"), "");
}

TEST(Text, keepsInvisibleCharactersThatAreNoWhiteSpace) {
  EXPECT_EQ(trimmed("\u200Ba\u200B"), "\u200Ba\u200B");
  EXPECT_EQ(trimmed(std::string_view("\0a\0", 3)), std::string_view("\0a\0", 3));
}

TEST(Text, trimsAroundIllFormedBytes) {
  EXPECT_EQ(trimmed(" \xFF "), replacement);
}

TEST(Text, collapsesEachRunOfWhiteSpaceToOneSpace) {
  EXPECT_EQ(withCollapsedWhiteSpace("a \t\n b"), "a b");
  EXPECT_EQ(withCollapsedWhiteSpace("a" + std::string(noBreakSpace) + " b"), "a b");
  EXPECT_EQ(withCollapsedWhiteSpace("  a  "), " a ");
  EXPECT_EQ(withCollapsedWhiteSpace(""), "");
  for (const std::string& space : whiteSpaces())
    EXPECT_EQ(withCollapsedWhiteSpace("a" + space + space + "b"), "a b") << testing::PrintToString(space);
}

TEST(Text, losesItsControlCharacters) {
  EXPECT_EQ(withoutControlCharacters("a\n\x1b[2J\r\tb\x7f"), "a  [2J  b ");
  EXPECT_EQ(withoutControlCharacters(std::string("\0x", 2)), " x");
  EXPECT_EQ(withoutControlCharacters("\xC2\x85\xC2\x9B"
                                     "1mÄ€😀"),
            "  1mÄ€😀");
  EXPECT_EQ(withoutControlCharacters("\xff"), "\xEF\xBF\xBD");
  EXPECT_EQ(withoutControlCharacters(""), "");
}

TEST(Text, lowersCaseBeyondAscii) {
  EXPECT_EQ(lowercased("DON'T Allow"), "don't allow");
  EXPECT_EQ(lowercased("ÄÖÜ ΑΒΓ ДА"), "äöü αβγ да");
  EXPECT_EQ(lowercased("ΟΔΟΣ"), "οδος");  // a sigma at the end of a word
}

TEST(Text, lowersCaseWithoutALanguage) {
  EXPECT_EQ(lowercased("TITLE I"), "title i");  // no dotless i, as in Turkish
  EXPECT_EQ(lowercased("\u0130"), "i\u0307");   // capital i with a dot
  EXPECT_EQ(lowercased("A\xFFZ"), "a" + std::string(replacement) + "z");
  EXPECT_EQ(lowercased(""), "");
}

TEST(Text, normalizesForComparison) {
  EXPECT_EQ(normalizedText("  Don’t" + std::string(noBreakSpace) + "\n ALLOW "), "don’t allow");
  EXPECT_EQ(normalizedText("\u3000"), "");
}

TEST(Text, normalizesAsTrimmingCollapsingAndLoweringDo) {
  std::vector<std::string> pieces = whiteSpaces();
  pieces.insert(pieces.end(), illFormedTexts().begin(), illFormedTexts().end());
  pieces.insert(pieces.end(), {"", "Ä", "Σ", "ΟΔΟΣ", "\u0130", "\u200B", "’", "😀"});
  for (int byte = 0; byte < 256; ++byte)
    pieces.emplace_back(1, static_cast<char>(byte));
  for (const std::string& piece : pieces) {
    for (const std::string& text :
         {piece, piece + piece, "A" + piece + "Z", piece + " A " + piece + "\n" + piece + "Z"})
      EXPECT_EQ(normalizedText(text), lowercased(withCollapsedWhiteSpace(trimmed(text))))
          << testing::PrintToString(text);
  }
}

TEST(Text, lowersEveryAsciiCharacterAlikeInEitherCompany) {
  for (int byte = 0; byte < 128; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    EXPECT_EQ(lowercased(text) + "é", lowercased(text + "é")) << byte;
  }
}

TEST(Text, joinsWithSeparatorsBetweenOnly) {
  EXPECT_EQ(joined({}, ","), "");
  EXPECT_EQ(joined({"a"}, ","), "a");
  EXPECT_EQ(joined({"a", "", "b"}, ", "), "a, , b");
}

}  // namespace
}  // namespace tallyfox
