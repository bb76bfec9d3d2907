#include "RawFrame.hpp"

#include <array>
#include <utility>

namespace tallyfox::server::conformance {
namespace {

/// Every byte differs, so that a mask that is applied at the wrong place shows.
constexpr std::array<unsigned char, 4> mask{0x37, 0xFA, 0x21, 0x3D};

void appendNumber(std::string& bytes, std::uint64_t number, unsigned size) {
  for (unsigned index = size; index-- > 0;)
    bytes += static_cast<char>(number >> (8 * index) & 0xFF);
}

}  // namespace

std::string RawFrame::bytes() const {
  const std::uint64_t length = declaredLength.value_or(payload.size());
  std::string result;
  result += static_cast<char>((fin ? 0x80U : 0U) | reserved << 4 | opcode);
  const unsigned maskBit = masked ? 0x80 : 0;
  if (lengthForm == LengthForm::bits64 || length > 0xFFFF) {
    result += static_cast<char>(maskBit | 127);
    appendNumber(result, length, 8);
  } else if (lengthForm == LengthForm::bits16 || length > 125) {
    result += static_cast<char>(maskBit | 126);
    appendNumber(result, length, 2);
  } else {
    result += static_cast<char>(maskBit | length);
  }
  if (!masked) return result + payload;
  result.append(mask.begin(), mask.end());
  for (std::size_t index = 0; index < payload.size(); ++index)
    result += static_cast<char>(static_cast<unsigned char>(payload[index]) ^ mask[index % mask.size()]);
  return result;
}

std::string textFrame(std::string payload) {
  return RawFrame{.payload = std::move(payload)}.bytes();
}

std::string fragment(unsigned opcode, std::string payload, bool fin) {
  return RawFrame{.opcode = opcode, .payload = std::move(payload), .fin = fin}.bytes();
}

std::string controlFrame(unsigned opcode, std::string payload) {
  return RawFrame{.opcode = opcode, .payload = std::move(payload)}.bytes();
}

std::string closePayload(unsigned code, std::string_view reason) {
  std::string payload;
  appendNumber(payload, code, 2);
  return payload.append(reason);
}

}  // namespace tallyfox::server::conformance
