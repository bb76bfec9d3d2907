#pragma once

#include <rapidcheck.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Date.hpp"
#include "base/Text.hpp"
#include "base/Uuid.hpp"

namespace tallyfox {

inline void showValue(const Uuid& id, std::ostream& stream) {
  stream << id.text();
}

/// Random values for property tests.
namespace generate {

/// Any code point; the ones that matter to a parser, to white space and to letter case more often than others.
inline rc::Gen<std::uint32_t> codePoint() {
  return rc::gen::oneOf(rc::gen::inRange<std::uint32_t>(0x20, 0x7F), rc::gen::inRange<std::uint32_t>(0, 0x20),
                        rc::gen::element<std::uint32_t>('"', '\\', '/', '|', ',', ':', ' ', 0x85, 0xA0, 0x130, 0x3A3,
                                                        0x2019, 0x2028, 0x3000, 0xFFFD, 0xFFFF, 0x10FFFF),
                        rc::gen::inRange<std::uint32_t>(0x80, 0x800), rc::gen::inRange<std::uint32_t>(0x800, 0xD800),
                        rc::gen::inRange<std::uint32_t>(0xE000, 0x110000));
}

/// Well-formed text.
inline rc::Gen<std::string> text() {
  return rc::gen::map(rc::gen::container<std::vector<std::uint32_t>>(codePoint()),
                      [](const std::vector<std::uint32_t>& codePoints) {
                        std::string text;
                        for (const std::uint32_t one : codePoints)
                          text += utf8Encoded(one);
                        return text;
                      });
}
inline rc::Gen<std::vector<std::string>> texts() {
  return rc::gen::container<std::vector<std::string>>(text());
}

inline rc::Gen<Bytes> bytes() {
  return rc::gen::container<Bytes>(rc::gen::arbitrary<std::uint8_t>());
}

/// As random at the beginning of a run as at its end, so that two are never the same by chance.
inline rc::Gen<Uuid> uuid() {
  const auto sixteen = rc::gen::container<Bytes>(16, rc::gen::arbitrary<std::uint8_t>());
  return rc::gen::map(rc::gen::resize(rc::kNominalSize, sixteen), [](const Bytes& bytes) {
    Uuid id;
    std::ranges::copy(bytes, id.bytes.begin());
    return id;
  });
}

/// A moment that can be written: in the years 0 to 9999.
inline rc::Gen<Date> date() {
  constexpr std::int64_t microseconds = 1'000'000;
  return rc::gen::map(rc::gen::inRange<std::int64_t>(-62'167'219'200 * microseconds, 253'402'300'800 * microseconds),
                      [](std::int64_t sinceEpoch) { return Date(std::chrono::microseconds(sinceEpoch)); });
}
/// A moment that is written as it is.
inline rc::Gen<Date> wholeSecond() {
  return rc::gen::map(date(), [](Date date) -> Date { return std::chrono::floor<std::chrono::seconds>(date); });
}

/// Whole, small, and every other number.
inline rc::Gen<double> finiteNumber() {
  const auto anyBits = rc::gen::map(rc::gen::arbitrary<std::uint64_t>(), [](std::uint64_t bits) {
    const auto number = std::bit_cast<double>(bits * 0x9E3779B97F4A7C15U);
    return std::isfinite(number) ? number : 0.0;
  });
  const auto whole = rc::gen::map(rc::gen::arbitrary<std::int32_t>(), [](std::int32_t number) { return 1.0 * number; });
  return rc::gen::oneOf(
      whole, rc::gen::suchThat(rc::gen::arbitrary<double>(), [](double n) { return std::isfinite(n); }), anyBits);
}

template <typename Value>
rc::Gen<std::optional<Value>> optional(rc::Gen<Value> value) {
  return rc::gen::map(rc::gen::maybe(std::move(value)), [](const rc::Maybe<Value>& maybe) {
    return maybe ? std::optional<Value>(*maybe) : std::nullopt;
  });
}

}  // namespace generate
}  // namespace tallyfox
