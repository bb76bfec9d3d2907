#pragma once

#include <string>
#include <string_view>

namespace tallyfox::linux_os {

/// Toolkits whose trees must be read differently.
enum class Toolkit {
  unknown,
  gtk3,     ///< also LibreOffice's GTK 3 plugin
  gtk4,     ///< never says "showing", extents relative to the window, button names doubled
  qt,       ///< rich text arrives as its source
  browser,  ///< what it asks is shown inside one window; also the programs that are made of a browser
  other,
};

/// From Application.ToolkitName: GTK 3 calls itself "gtk", GTK 4 "GTK".
[[nodiscard]] Toolkit toolkitNamed(std::string_view name);
/// Whether its objects can be searched (Collection.GetMatches). The others answer with an error.
[[nodiscard]] bool canSearch(Toolkit toolkit);

/// What the toolkit puts around a text that is not on the screen: mnemonic marks and markup. All results are valid
/// UTF-8.

/// The label of a button or another control. GTK 4 joins the marked and the plain label: "_No No" is "No".
[[nodiscard]] std::string undressedLabel(std::string_view name, Toolkit toolkit);
/// A text or a window's name. Qt gives the source of rich text; embedded-object marks are nobody's text.
[[nodiscard]] std::string undressedText(std::string_view text, Toolkit toolkit);
/// Any toolkit's description may hold HTML.
[[nodiscard]] std::string undressedDescription(std::string_view text);
/// The text of HTML; anything else, also with angle brackets of its own, stays as it is.
[[nodiscard]] std::string withoutMarkup(std::string_view text);

}  // namespace tallyfox::linux_os
