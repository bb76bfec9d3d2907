// Any bytes as a label: the compared form is well-formed, stays as it is when normalised again, and has no white space
// but single spaces inside.

#include <cstddef>
#include <cstdint>

#include "base/Bytes.hpp"
#include "base/Require.hpp"
#include "base/Text.hpp"
#include "detection/DialogButtonSemantics.hpp"

namespace tallyfox {
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf({data, size});
  const std::string repaired = repairedUtf8(text);
  require(isValidUtf8(repaired), "a repaired text is well-formed");
  require(isValidUtf8(text) == (repaired == text), "only what is ill-formed is repaired");

  const std::string label = DialogButtonSemantics::normalized(text);
  require(isValidUtf8(label), "a label is well-formed");
  require(DialogButtonSemantics::normalized(repaired) == label, "ill-formed bytes are read as if repaired before");
  require(DialogButtonSemantics::normalized(label) == label, "a label is normalised once and for all");
  require(DialogButtonSemantics::normalized(" \u00A0" + std::string(text) + "\n\u3000") == label,
          "white space around a label does not matter");
  require(trimmed(label) == label, "a label has no white space at its ends");
  require(label.find("  ") == std::string::npos, "a label has no two spaces in a row");
  require(withCollapsedWhiteSpace(label) == label, "a label has no white space but spaces");
  require(lowercased(label) == label, "a label is in lower case");
  return 0;
}

}  // namespace tallyfox
