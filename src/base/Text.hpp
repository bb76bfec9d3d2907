#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfox {

/// Unicode-aware helpers over UTF-8 text. Ill-formed bytes are read as U+FFFD, never rejected, never out of bounds.

[[nodiscard]] bool isValidUtf8(std::string_view text);
/// One code point; U+FFFD for what is none.
[[nodiscard]] std::string utf8Encoded(std::uint32_t codePoint);
/// The text itself when well-formed, else with every ill-formed sequence replaced by U+FFFD.
[[nodiscard]] std::string repairedUtf8(std::string_view text);
/// Without Unicode white space and line breaks at both ends.
[[nodiscard]] std::string trimmed(std::string_view text);
/// Every control character (line breaks included) becomes a space: shown on a terminal, the text can do nothing there.
[[nodiscard]] std::string withoutControlCharacters(std::string_view text);
/// Every run of Unicode white space (non-breaking spaces included) becomes one U+0020.
[[nodiscard]] std::string withCollapsedWhiteSpace(std::string_view text);
/// Full Unicode lower-casing, independent of the process locale.
[[nodiscard]] std::string lowercased(std::string_view text);
/// trimmed, then collapsed, then lower-cased: the form in which labels and prompt texts are compared.
[[nodiscard]] std::string normalizedText(std::string_view text);
[[nodiscard]] std::string joined(const std::vector<std::string>& parts, std::string_view separator);

}  // namespace tallyfox
