// For every value, not only for chosen ones: what is encoded decodes to itself, and a text that decodes is the text
// that its value encodes to.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>

#include "base/Crypto.hpp"
#include "base/Encoding.hpp"
#include "base/Generators.hpp"
#include "base/Json.hpp"

namespace tallyfox {
namespace {

/// Any JSON value of some depth.
rc::Gen<Json> jsonValue(int depth) {
  const auto leaf = rc::gen::oneOf(
      rc::gen::just(Json()), rc::gen::map(rc::gen::arbitrary<bool>(), [](bool value) { return Json(value); }),
      rc::gen::map(rc::gen::arbitrary<std::int64_t>(), [](std::int64_t value) { return Json(value); }),
      rc::gen::map(generate::finiteNumber(), [](double value) { return Json(value); }),
      rc::gen::map(generate::text(), [](const std::string& value) { return Json(value); }));
  if (depth == 0) return leaf;
  const auto inner = [depth] { return rc::gen::resize(8, jsonValue(depth - 1)); };
  const auto list = rc::gen::map(rc::gen::container<std::vector<Json>>(inner()),
                                 [](const std::vector<Json>& values) { return Json(values); });
  const auto object =
      rc::gen::map(rc::gen::container<std::map<std::string, Json>>(rc::gen::resize(8, generate::text()), inner()),
                   [](const std::map<std::string, Json>& members) {
                     Json value = Json::object();
                     for (const auto& [key, member] : members)
                       value[key] = member;
                     return value;
                   });
  return rc::gen::oneOf(leaf, list, object);
}

RC_GTEST_PROP(EncodingProperties, base64ReadsBack, ()) {
  const Bytes bytes = *generate::bytes();
  const std::string text = base64Encoded(bytes);
  RC_ASSERT(text.size() == (bytes.size() + 2) / 3 * 4);
  RC_ASSERT(base64Decoded(text) == bytes);
}

RC_GTEST_PROP(EncodingProperties, base64HasOneForm, ()) {
  std::string text = base64Encoded(*generate::bytes());
  RC_PRE(!text.empty());
  const auto place = *rc::gen::inRange<std::size_t>(0, text.size());
  text[place] = *rc::gen::elementOf(std::string("ABZaz09+/=-_ \n"));
  if (const auto decoded = base64Decoded(text)) RC_ASSERT(base64Encoded(*decoded) == text);
}

RC_GTEST_PROP(EncodingProperties, hexadecimalTellsEveryByte, ()) {
  const Bytes bytes = *generate::bytes();
  const std::string text = hexEncoded(bytes);
  Bytes read;
  for (std::size_t at = 0; at < text.size(); at += 2)
    read.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
  RC_ASSERT(read == bytes);
  RC_ASSERT(std::ranges::none_of(text, [](char c) { return c >= 'A' && c <= 'F'; }));
}

RC_GTEST_PROP(EncodingProperties, uuidsReadBackInEitherCase, ()) {
  const Uuid id = *generate::uuid();
  RC_ASSERT(Uuid::parsed(id.text()) == id);
  RC_ASSERT(Uuid::parsed(lowercased(id.text())) == id);
}

RC_GTEST_PROP(EncodingProperties, uuidsAreOrderedAsTheirTexts, ()) {
  const Uuid one = *generate::uuid();
  const Uuid other = *generate::uuid();
  RC_ASSERT((one < other) == (one.text() < other.text()));
}

RC_GTEST_PROP(EncodingProperties, datesReadBackToTheSecond, ()) {
  const Date date = *generate::date();
  const std::string text = formattedISO8601(date);
  RC_ASSERT(text.size() == 20U);
  RC_ASSERT(parsedISO8601(text) == std::chrono::floor<std::chrono::seconds>(date));
}

RC_GTEST_PROP(EncodingProperties, fractionsAndZonesAddUp, ()) {
  const Date second = *generate::wholeSecond();
  RC_PRE(second > *parsedISO8601("0000-01-02T00:00:00Z") && second < *parsedISO8601("9999-12-30T00:00:00Z"));
  const auto millisecond = *rc::gen::inRange(0, 1000);
  const auto minutes = *rc::gen::inRange(-23 * 60, 23 * 60);
  std::string text = formattedISO8601(second);
  text.pop_back();
  const auto digits = [](int number, std::size_t width) {
    std::string written = std::to_string(std::abs(number));
    return std::string(width - written.size(), '0') + written;
  };
  text += "." + digits(millisecond, 3) + (minutes < 0 ? "-" : "+") + digits(minutes / 60, 2) + ":" +
          digits(minutes % 60, 2);
  const Date expected = second + std::chrono::milliseconds(millisecond) - std::chrono::minutes(minutes);
  RC_ASSERT(parsedISO8601(text) == expected);
}

RC_GTEST_PROP(EncodingProperties, jsonReadsBack, ()) {
  const Json value = *jsonValue(3);
  const std::string text = jsonText(value);
  const auto read = parsedJson(text);
  RC_ASSERT(read.has_value());
  RC_ASSERT(*read == value);
  RC_ASSERT(jsonText(*read) == text);
}

RC_GTEST_PROP(EncodingProperties, sealedBoxesOpenUnlessAltered, ()) {
  AesKey key = sha256(*generate::bytes());
  AesGcmNonce nonce{};
  RC_ASSERT(fillWithSecureRandom(nonce));
  const Bytes plaintext = *generate::bytes();
  Bytes box = aesGcmSealed(key, nonce, plaintext).value();
  RC_ASSERT((aesGcmOpened(key, box) == plaintext));
  const auto place = *rc::gen::inRange<std::size_t>(0, box.size());
  box[place] ^= *rc::gen::inRange<std::uint8_t>(1, 255);
  RC_ASSERT(!aesGcmOpened(key, box).has_value());
}

}  // namespace
}  // namespace tallyfox
