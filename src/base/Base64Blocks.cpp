#include "base/Base64Blocks.hpp"

#ifdef __x86_64__

#include <immintrin.h>

namespace tallyfox {
namespace {

/// A register has two lanes, each of which holds sixteen characters or the twelve bytes that they stand for.
constexpr std::size_t laneCharacters = 16;
constexpr std::size_t laneBytes = 12;
constexpr std::size_t lanes = 2;

bool isSupported() {
  static const bool supported = __builtin_cpu_supports("avx2") != 0;
  return supported;
}

/// The same table in both lanes.
template <typename... Entries>
__attribute__((target("avx2"))) __m256i inBothLanes(Entries... entries) {
  return _mm256_broadcastsi128_si256(_mm_setr_epi8(static_cast<char>(entries)...));
}

__attribute__((target("avx2"))) __m128i load(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

/// The characters of the first twelve bytes of each lane.
__attribute__((target("avx2"))) __m256i encodedBlock(__m256i bytes) {
  // Each group of three bytes a, b, c as b a c b: two 16-bit halves that each hold two whole sextets.
  const __m256i groups = _mm256_shuffle_epi8(bytes, inBothLanes(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  // Shifts by multiplication: each sextet into a byte of its own.
  const __m256i outer =
      _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
  const __m256i inner =
      _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
  const __m256i sextets = _mm256_or_si256(outer, inner);
  // The alphabet's ranges: 0 for a to z, 1 to 10 for the digits, 11 for +, 12 for /, 13 for A to Z.
  const __m256i capitals = _mm256_and_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(26), sextets), _mm256_set1_epi8(13));
  const __m256i ranges = _mm256_or_si256(_mm256_subs_epu8(sextets, _mm256_set1_epi8(51)), capitals);
  constexpr int small = 'a' - 26;
  constexpr int digit = '0' - 52;
  const __m256i offsets = inBothLanes(small, digit, digit, digit, digit, digit, digit, digit, digit, digit, digit,
                                      '+' - 62, '/' - 63, 'A', 0, 0);
  return _mm256_add_epi8(sextets, _mm256_shuffle_epi8(offsets, ranges));
}

/// The bytes of the characters, twelve in front of each lane; false when one is not of the alphabet.
__attribute__((target("avx2"))) bool decodeBlock(__m256i characters, __m256i& bytes) {
  const __m256i nibble = _mm256_set1_epi8(0x0F);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), nibble);
  const __m256i low = _mm256_and_si256(characters, nibble);
  // For each half of a character one bit for every reason to refuse it: in the alphabet both halves share none.
  const __m256i lowReasons =
      inBothLanes(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m256i highReasons =
      inBothLanes(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  if (_mm256_testz_si256(_mm256_shuffle_epi8(lowReasons, low), _mm256_shuffle_epi8(highReasons, high)) == 0)
    return false;
  // The high half tells the range, but for the slash, which shares its half with the plus sign.
  const __m256i slashes = _mm256_cmpeq_epi8(characters, _mm256_set1_epi8('/'));
  const __m256i offsets =
      inBothLanes(0, 63 - '/', 62 - '+', 52 - '0', 0 - 'A', 0 - 'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0);
  const __m256i sextets = _mm256_add_epi8(characters, _mm256_shuffle_epi8(offsets, _mm256_add_epi8(slashes, high)));
  // Two sextets to twelve bits, two of those to twenty-four, whose bytes are then put in order.
  const __m256i pairs = _mm256_maddubs_epi16(sextets, _mm256_set1_epi32(0x01400140));
  const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  bytes = _mm256_shuffle_epi8(groups, inBothLanes(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  return true;
}

}  // namespace

// Lanes are read and written whole, which reaches four bytes beyond their twelve: the last ones are left over.
__attribute__((target("avx2"))) std::size_t encodeBase64Blocks(ByteView bytes, char* output) {
  if (!isSupported()) return 0;
  std::size_t taken = 0;
  while (taken + laneBytes + laneCharacters <= bytes.size()) {
    const std::uint8_t* const from = bytes.data() + taken;
    const __m256i block = _mm256_inserti128_si256(_mm256_castsi128_si256(load(from)), load(from + laneBytes), 1);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(output), encodedBlock(block));
    taken += lanes * laneBytes;
    output += lanes * laneCharacters;
  }
  return taken;
}

__attribute__((target("avx2"))) std::size_t decodeBase64Blocks(std::string_view text, std::uint8_t* output) {
  if (!isSupported()) return 0;
  std::size_t taken = 0;
  while (taken + (lanes + 1) * laneCharacters <= text.size()) {
    __m256i bytes;
    if (!decodeBlock(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(text.data() + taken)), bytes)) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output), _mm256_castsi256_si128(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output + laneBytes), _mm256_extracti128_si256(bytes, 1));
    taken += lanes * laneCharacters;
    output += lanes * laneBytes;
  }
  return taken;
}

}  // namespace tallyfox

#else

namespace tallyfox {

std::size_t encodeBase64Blocks(ByteView /*bytes*/, char* /*output*/) {
  return 0;
}
std::size_t decodeBase64Blocks(std::string_view /*text*/, std::uint8_t* /*output*/) {
  return 0;
}

}  // namespace tallyfox

#endif
