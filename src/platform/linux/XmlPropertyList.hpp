#pragma once

#include <string_view>

#include "platform/linux/PropertyListTexts.hpp"

namespace tallyfox::linux_os {

/// Reads what property lists have of XML: elements, comments, CDATA, the five named entities and character references,
/// all in UTF-8. A document type is passed over; one that declares entities of its own is refused, since those can
/// stand for texts of any length. Nesting costs memory, never stack.
[[nodiscard]] PropertyListTexts decodedXmlPropertyList(std::string_view text);

}  // namespace tallyfox::linux_os
