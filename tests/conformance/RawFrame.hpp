#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfox::server::conformance {

namespace opcode {
inline constexpr unsigned continuation = 0x0;
inline constexpr unsigned text = 0x1;
inline constexpr unsigned binary = 0x2;
inline constexpr unsigned close = 0x8;
inline constexpr unsigned ping = 0x9;
inline constexpr unsigned pong = 0xA;
}  // namespace opcode

/// One frame of section 5.2 of RFC 6455, legal or not.
struct RawFrame {
  enum class LengthForm { shortest, bits16, bits64 };

  unsigned opcode = opcode::text;
  std::string payload{};
  bool fin = true;
  unsigned reserved = 0;  ///< RSV1 is 4, RSV2 is 2, RSV3 is 1
  bool masked = true;
  LengthForm lengthForm = LengthForm::shortest;
  std::optional<std::uint64_t> declaredLength{};  ///< instead of the payload's own

  [[nodiscard]] std::string bytes() const;
};

[[nodiscard]] std::string textFrame(std::string payload);
[[nodiscard]] std::string fragment(unsigned opcode, std::string payload, bool fin);
[[nodiscard]] std::string controlFrame(unsigned opcode, std::string payload = "");
/// A close frame's payload.
[[nodiscard]] std::string closePayload(unsigned code, std::string_view reason = "");

}  // namespace tallyfox::server::conformance
