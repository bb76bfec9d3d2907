#include "platform/linux/PropertyListFile.hpp"

#include "platform/linux/BinaryPropertyList.hpp"
#include "platform/linux/XmlPropertyList.hpp"

namespace tallyfox::linux_os {

std::expected<std::map<std::string, std::string>, std::string> decodedPropertyList(ByteView content) {
  auto texts =
      isBinaryPropertyList(content) ? decodedBinaryPropertyList(content) : decodedXmlPropertyList(textOf(content));
  if (texts) return *std::move(texts);
  return std::unexpected(texts.error() == PropertyListFault::malformed ? "The file is not a property list."
                                                                       : "The property list is not a dictionary.");
}

}  // namespace tallyfox::linux_os
