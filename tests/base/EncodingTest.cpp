// Hexadecimal and base64 texts have exactly one form each; decoding accepts nothing else.

#include "base/Encoding.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tallyfox {
namespace {

const std::vector<std::pair<std::string, std::string>>& base64Pairs() {
  static const std::vector<std::pair<std::string, std::string>> pairs = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
      {"\xFB\xFF\xBF", "+/+/"},
  };
  return pairs;
}

TEST(Encoding, writesTwoLowerCaseHexadecimalDigitsAByte) {
  EXPECT_EQ(hexEncoded({}), "");
  EXPECT_EQ(hexEncoded(Bytes{0x00, 0x0F, 0xA0, 0xFF}), "000fa0ff");
}

TEST(Encoding, writesPaddedBase64) {
  for (const auto& [plain, encoded] : base64Pairs())
    EXPECT_EQ(base64Encoded(bytesOf(plain)), encoded);
}

TEST(Encoding, readsBase64) {
  for (const auto& [plain, encoded] : base64Pairs())
    EXPECT_EQ(base64Decoded(encoded), copyOfBytes(plain)) << encoded;
}

TEST(Encoding, readsBackEveryByte) {
  Bytes bytes;
  for (int i = 0; i < 256; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(i));
    EXPECT_EQ(base64Decoded(base64Encoded(bytes)), bytes);
  }
}

const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

TEST(Encoding, writesEverySextetAtEveryPlaceOfALongText) {
  for (std::size_t shift = 0; shift < 4 * alphabet.size(); ++shift) {
    std::string text;
    for (std::size_t i = 0; i < 256; ++i)
      text += alphabet[(i * 7 + shift) % alphabet.size()];
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 4) {
      std::size_t group = 0;
      for (std::size_t j = 0; j < 4; ++j)
        group = group * 64 + alphabet.find(text[i + j]);
      for (const unsigned place : {16U, 8U, 0U})
        bytes.push_back(static_cast<std::uint8_t>(group >> place));
    }
    EXPECT_EQ(base64Encoded(bytes), text);
    EXPECT_EQ(base64Decoded(text), bytes);
  }
}

TEST(Encoding, refusesAForeignCharacterAtEveryPlaceOfALongText) {
  const std::string text = alphabet + alphabet;
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string altered = text;
      altered[at] = static_cast<char>(byte);
      const auto decoded = base64Decoded(altered);
      const bool isPadded = at + 1 == text.size() && byte == '=';  // right only if no bits are left, as here they are
      ASSERT_EQ(decoded.has_value(), !isPadded && alphabet.find(altered[at]) != std::string::npos) << at << " " << byte;
      if (decoded) {
        ASSERT_EQ(base64Encoded(*decoded), altered);
      }
    }
  }
}

TEST(Encoding, refusesWhatIsNotStrictBase64) {
  const std::vector<std::string> refused = {
      "Zg",        // padding missing
      "Zg=",       //
      "Zg===",     // too much
      "=",         //
      "====",      //
      "Z===",      // one character holds no byte
      "Zm8=Zm8=",  // padding inside
      "Z=g=",      //
      "Zm9v\n",    // line breaks and blanks
      "Zm9 ",      //
      "Zm9v Zm9",  //
      "-_-_",      // the other alphabet
      "Zh==",      // bits behind the last byte
      "Zm9=",      //
      "Zm9\xC3",   //
      std::string("Zm9\0", 4),
  };
  for (const std::string& text : refused)
    EXPECT_FALSE(base64Decoded(text).has_value()) << testing::PrintToString(text);
}

}  // namespace
}  // namespace tallyfox
