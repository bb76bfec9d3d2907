// The form in which labels are compared: the same for every way to write a label with other white space and other
// letter case, and final.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/Generators.hpp"
#include "base/Text.hpp"

namespace tallyfox {
namespace {

const std::vector<std::string> whiteSpaces = {" ",      "\t",     "\n",     "\v",     "\f",     "\r",     "\u0085",
                                              "\u00A0", "\u1680", "\u2003", "\u2028", "\u202F", "\u205F", "\u3000"};

/// A letter and its capital, in several scripts; other characters have none.
const std::vector<std::pair<std::string, std::string>> letters = {
    {"a", "A"}, {"z", "Z"}, {"i", "I"}, {"ü", "Ü"}, {"ø", "Ø"}, {"β", "Β"}, {"ω", "Ω"},   {"д", "Д"}, {"ѐ", "Ѐ"},
    {"ա", "Ա"}, {"ⓐ", "Ⓐ"}, {"𐐨", "𐐀"}, {"ǆ", "Ǆ"}, {"ß", "ẞ"}, {"’", "’"}, {"世", "世"}, {"…", "…"},
};

rc::Gen<std::string> whiteSpace(std::size_t least) {
  return rc::gen::map(
      rc::gen::suchThat(
          rc::gen::resize(4, rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(whiteSpaces))),
          [least](const auto& pieces) { return pieces.size() >= least; }),
      [](const std::vector<std::string>& pieces) { return joined(pieces, ""); });
}

RC_GTEST_PROP(TextProperties, normalisingIsFinal, ()) {
  const std::string normal = normalizedText(*generate::text());
  RC_ASSERT(normalizedText(normal) == normal);
}

RC_GTEST_PROP(TextProperties, normalTextsHaveSingleSpacesInsideOnly, ()) {
  const std::string normal = normalizedText(*generate::text());
  RC_ASSERT(!normal.starts_with(' '));
  RC_ASSERT(!normal.ends_with(' '));
  RC_ASSERT(!normal.contains("  "));
  for (const std::string& space : whiteSpaces)
    if (space != " ") RC_ASSERT(!normal.contains(space));
}

RC_GTEST_PROP(TextProperties, whiteSpaceAndLetterCaseDoNotMatter, ()) {
  const auto words = *rc::gen::resize(
      12, rc::gen::container<std::vector<std::vector<std::size_t>>>(rc::gen::nonEmpty(
              rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(0, letters.size())))));
  std::vector<std::string> plain;
  std::string varied = *whiteSpace(0);
  for (const auto& word : words) {
    std::string& normal = plain.emplace_back();
    if (plain.size() > 1) varied += *whiteSpace(1);
    for (const std::size_t letter : word) {
      normal += letters[letter].first;
      varied += *rc::gen::arbitrary<bool>() ? letters[letter].second : letters[letter].first;
    }
  }
  varied += *whiteSpace(0);
  RC_ASSERT(normalizedText(varied) == joined(plain, " "));
}

RC_GTEST_PROP(TextProperties, bytesOfAnyKindAreRepaired, ()) {
  const Bytes bytes = *generate::bytes();
  const std::string text(textOf(bytes));
  const std::string repaired = repairedUtf8(text);
  RC_ASSERT(isValidUtf8(repaired));
  RC_ASSERT(isValidUtf8(text) == (repaired == text));
  RC_ASSERT(normalizedText(text) == normalizedText(repaired));
  RC_ASSERT(trimmed(text) == trimmed(repaired));
}

RC_GTEST_PROP(TextProperties, wellFormedTextsStayAsTheyAre, ()) {
  const std::string text = *generate::text();
  RC_ASSERT(isValidUtf8(text));
  RC_ASSERT(repairedUtf8(text) == text);
}

}  // namespace
}  // namespace tallyfox
