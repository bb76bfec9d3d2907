#include "detection/DialogIdentity.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/Crypto.hpp"
#include "base/Text.hpp"

namespace tallyfox {

Uuid DialogIdentity::digestID(std::string_view text) {
  const Sha256Digest digest = sha256(bytesOf(text));
  Uuid id;
  std::copy_n(digest.begin(), id.bytes.size(), id.bytes.begin());
  return id;
}

Uuid DialogIdentity::approvalID(const std::string& app, const PendingApproval& approval) {
  return digestID(fmt::format("{}|{}|{}|{}|{}", app, approval.windowTitle, approval.windowFrame.identity(),
                              joined(approval.messageLines, "|"), joined(approval.buttonLabels(), ",")));
}

Uuid DialogIdentity::suppressionID(const std::string& app, const std::string& title,
                                   const std::vector<std::string>& messageLines,
                                   const std::vector<std::string>& buttonLabels) {
  std::string text;
  const auto append = [&text](std::string_view component) {
    text += fmt::format("{}:{}", component.size(), component);
  };
  append("suppression-v2");
  append(app);
  append(title);
  append(std::to_string(messageLines.size()));
  for (const std::string& line : messageLines)
    append(line);
  append(std::to_string(buttonLabels.size()));
  // Byte order of UTF-8 is the order of the Unicode scalar values.
  std::vector<std::string> sorted = buttonLabels;
  std::ranges::sort(sorted);
  for (const std::string& label : sorted)
    append(label);
  return digestID(text);
}

}  // namespace tallyfox
