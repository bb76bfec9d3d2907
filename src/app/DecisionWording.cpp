#include "app/DecisionWording.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace tallyfox {
namespace {

/// A UUID has 36.
constexpr std::size_t shownIdentifierCharacters = 64;

std::string_view words(ClickPath path) {
  switch (path) {
    case ClickPath::accessibilityPress:
      return "accessibility press";
    case ClickPath::semanticButton:
      return "default or cancel button";
    case ClickPath::focusAndSpace:
      return "space key";
    case ClickPath::windowAction:
      return "window action";
    case ClickPath::returnOrEscape:
      return "return or escape key";
    case ClickPath::hitTestedPress:
      return "hit-tested press";
    case ClickPath::mouseToProcess:
      return "mouse click to the process";
    case ClickPath::mouseGlobal:
      return "mouse click";
  }
  return {};
}

std::string plain(std::string_view identifier) {
  std::string result(identifier.substr(0, shownIdentifierCharacters));
  std::ranges::replace_if(result, [](char c) { return c < '!' || c > '~'; }, '?');
  return result;
}

}  // namespace

std::string decisionLine(std::string_view decisionID, std::string_view status, std::optional<ClickPath> path) {
  std::string outcome(status);
  std::ranges::replace(outcome, '_', ' ');
  if (path) outcome += fmt::format(" by {}", words(*path));
  return fmt::format("Decision {}: {}.", plain(decisionID), outcome);
}

}  // namespace tallyfox
