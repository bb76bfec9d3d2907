#include "base/Base64Blocks.hpp"

#ifdef __x86_64__

#include <immintrin.h>

namespace tallyfox {
namespace {

constexpr std::size_t registerBytes = 16;
constexpr std::size_t bytesPerBlock = 12;  ///< sixteen characters

bool isSupported() {
  static const bool supported = __builtin_cpu_supports("ssse3") != 0;
  return supported;
}

/// Sixteen characters of the first twelve bytes.
__attribute__((target("ssse3"))) __m128i encodedBlock(__m128i bytes) {
  // Each group of three bytes a, b, c as b a c b: two 16-bit halves that each hold two whole sextets.
  const __m128i groups = _mm_shuffle_epi8(bytes, _mm_set_epi8(10, 11, 9, 10, 7, 8, 6, 7, 4, 5, 3, 4, 1, 2, 0, 1));
  // Shifts by multiplication: each sextet into a byte of its own.
  const __m128i outer = _mm_mulhi_epu16(_mm_and_si128(groups, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
  const __m128i inner = _mm_mullo_epi16(_mm_and_si128(groups, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
  const __m128i sextets = _mm_or_si128(outer, inner);
  // The alphabet's ranges: 0 for a to z, 1 to 10 for the digits, 11 for +, 12 for /, 13 for A to Z.
  const __m128i capitals = _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), sextets), _mm_set1_epi8(13));
  const __m128i ranges = _mm_or_si128(_mm_subs_epu8(sextets, _mm_set1_epi8(51)), capitals);
  const __m128i offsets = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                        '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  return _mm_add_epi8(sextets, _mm_shuffle_epi8(offsets, ranges));
}

/// Twelve bytes of sixteen characters; false when one is not of the alphabet.
__attribute__((target("ssse3"))) bool decodeBlock(__m128i characters, __m128i& bytes) {
  const __m128i nibble = _mm_set1_epi8(0x0F);
  const __m128i high = _mm_and_si128(_mm_srli_epi32(characters, 4), nibble);
  const __m128i low = _mm_and_si128(characters, nibble);
  // Of each half of a character one bit for every reason to refuse it: both halves agree on none in the alphabet.
  const __m128i lowReasons =
      _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m128i highReasons =
      _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  const __m128i refused = _mm_and_si128(_mm_shuffle_epi8(lowReasons, low), _mm_shuffle_epi8(highReasons, high));
  if (_mm_movemask_epi8(_mm_cmpgt_epi8(refused, _mm_setzero_si128())) != 0) return false;
  // The high half tells the range, but for the slash, which shares its half with the plus sign.
  const __m128i slashes = _mm_cmpeq_epi8(characters, _mm_set1_epi8('/'));
  const __m128i offsets =
      _mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', 0 - 'A', 0 - 'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0);
  const __m128i sextets = _mm_add_epi8(characters, _mm_shuffle_epi8(offsets, _mm_add_epi8(slashes, high)));
  // Two sextets to twelve bits, two of those to twenty-four, whose bytes then stand in order.
  const __m128i pairs = _mm_maddubs_epi16(sextets, _mm_set1_epi32(0x01400140));
  const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
  bytes = _mm_shuffle_epi8(groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  return true;
}

}  // namespace

// A block is read and written as one register, which reaches beyond its twelve bytes: the last ones are left over.
__attribute__((target("ssse3"))) std::size_t encodeBase64Blocks(ByteView bytes, char* output) {
  if (!isSupported()) return 0;
  std::size_t taken = 0;
  for (; taken + registerBytes <= bytes.size(); taken += bytesPerBlock, output += registerBytes)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output),
                     encodedBlock(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + taken))));
  return taken;
}

__attribute__((target("ssse3"))) std::size_t decodeBase64Blocks(std::string_view text, std::uint8_t* output) {
  if (!isSupported()) return 0;
  std::size_t taken = 0;
  for (; taken + 2 * registerBytes <= text.size(); taken += registerBytes, output += bytesPerBlock) {
    __m128i bytes;
    if (!decodeBlock(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + taken)), bytes)) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output), bytes);
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
