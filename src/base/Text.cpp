#include "base/Text.hpp"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace tallyfox {
namespace {

// ICU's macro narrows its own intermediate values.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
/// Calls visit(code point, its bytes) for each one; an ill-formed sequence comes as a negative code point.
template <typename Visit>
void forEachCodePoint(std::string_view text, Visit visit) {
  const char* const bytes = text.data();
  const auto length = static_cast<std::int64_t>(text.size());
  for (std::int64_t at = 0; at < length;) {
    const std::int64_t begin = at;
    UChar32 codePoint = 0;
    U8_NEXT(bytes, at, length, codePoint);
    visit(codePoint, text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(at - begin)));
  }
}
#pragma GCC diagnostic pop

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

constexpr UChar32 endOfAscii = 0x80;

bool isWhiteSpace(UChar32 codePoint) {
  if (codePoint < endOfAscii) return codePoint == ' ' || (codePoint >= '\t' && codePoint <= '\r');
  return u_isUWhiteSpace(codePoint) != 0;
}

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < endOfAscii; });
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  bool valid = true;
  forEachCodePoint(text, [&](UChar32 codePoint, std::string_view) { valid = valid && codePoint >= 0; });
  return valid;
}

std::string utf8Encoded(std::uint32_t codePoint) {
  constexpr std::uint32_t lastCodePoint = 0x10FFFF;
  if (codePoint > lastCodePoint || (codePoint >= 0xD800 && codePoint < 0xE000))
    return std::string(replacementCharacter);
  const auto byte = [](std::uint32_t value) { return static_cast<char>(value); };
  const auto more = [&](std::uint32_t shift) { return byte(0x80U | ((codePoint >> shift) & 0x3FU)); };
  if (codePoint < 0x80) return {byte(codePoint)};
  if (codePoint < 0x800) return {byte(0xC0U | (codePoint >> 6U)), more(0)};
  if (codePoint < 0x10000) return {byte(0xE0U | (codePoint >> 12U)), more(6), more(0)};
  return {byte(0xF0U | (codePoint >> 18U)), more(12), more(6), more(0)};
}

std::string repairedUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  forEachCodePoint(text, [&](UChar32 codePoint, std::string_view piece) {
    result += codePoint >= 0 ? piece : replacementCharacter;
  });
  return result;
}

std::string trimmed(std::string_view text) {
  const std::string repaired = repairedUtf8(text);
  std::size_t begin = repaired.size();
  std::size_t end = 0;
  std::size_t at = 0;
  forEachCodePoint(repaired, [&](UChar32 codePoint, std::string_view piece) {
    if (!isWhiteSpace(codePoint)) {
      begin = std::min(begin, at);
      end = at + piece.size();
    }
    at += piece.size();
  });
  return begin < end ? repaired.substr(begin, end - begin) : std::string();
}

std::string withoutControlCharacters(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  forEachCodePoint(text, [&](UChar32 codePoint, std::string_view piece) {
    if (codePoint < 0)
      result += replacementCharacter;
    else
      result += u_iscntrl(codePoint) ? std::string_view(" ") : piece;
  });
  return result;
}

std::string withCollapsedWhiteSpace(std::string_view text) {
  std::string result;
  bool inRun = false;
  forEachCodePoint(text, [&](UChar32 codePoint, std::string_view piece) {
    const bool white = isWhiteSpace(codePoint);
    if (white && !inRun) result += ' ';
    if (!white) result += codePoint >= 0 ? piece : replacementCharacter;
    inRun = white;
  });
  return result;
}

std::string lowercased(std::string_view text) {
  if (isAscii(text)) {
    std::string result(text);
    for (char& c : result) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
  }
  const std::string repaired = repairedUtf8(text);
  std::string result;
  icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(repaired.size()));
  UErrorCode status = U_ZERO_ERROR;
  icu::CaseMap::utf8ToLower("", 0, repaired, sink, nullptr, status);
  return U_SUCCESS(status) ? result : repaired;
}

std::string normalizedText(std::string_view text) {
  // Trims and collapses at once: every window of every scan passes here.
  std::string result;
  result.reserve(text.size());
  bool followsSpace = false;
  forEachCodePoint(text, [&](UChar32 codePoint, std::string_view piece) {
    if (isWhiteSpace(codePoint)) {
      followsSpace = !result.empty();
      return;
    }
    if (followsSpace) result += ' ';
    followsSpace = false;
    result += codePoint >= 0 ? piece : replacementCharacter;
  });
  return lowercased(result);
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string result;
  for (std::size_t at = 0; at < parts.size(); ++at) {
    if (at > 0) result += separator;
    result += parts[at];
  }
  return result;
}

}  // namespace tallyfox
