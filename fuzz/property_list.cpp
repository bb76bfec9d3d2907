// Any bytes as a property list, XML or binary: its texts are well-formed and survive being written in either form.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/Require.hpp"
#include "base/Text.hpp"
#include "platform/linux/PropertyListFile.hpp"

namespace tallyfox {
namespace {

using Members = std::map<std::string, std::string>;

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '<')
      result += "&lt;";
    else if (c == '&')
      result += "&amp;";
    else
      result += c;
  }
  return result;
}

std::string xmlOf(const Members& members) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
  for (const auto& [key, value] : members)
    xml += "<key>" + escaped(key) + "</key>\n<string>" + escaped(value) + "</string>\n";
  return xml + "</dict>\n</plist>\n";
}

void appendNumber(std::string& file, std::size_t number, int bytes) {
  for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8)
    file += static_cast<char>(number >> shift & 0xFFU);
}

/// An object's first bytes: its kind and a count of four bytes.
void appendHead(std::string& file, unsigned kind, std::size_t count) {
  file += static_cast<char>(kind << 4U | 0xFU);
  file += '\x12';
  appendNumber(file, count, 4);
}

/// All texts as the form's plain strings, whose bytes are kept.
std::string binaryOf(const Members& members) {
  std::string file = "bplist00";
  std::vector<std::size_t> offsets = {file.size()};
  appendHead(file, 0xD, members.size());
  for (std::size_t reference = 1; reference <= members.size() * 2; ++reference)
    appendNumber(file, reference, 4);
  const auto append = [&](const std::string& text) {
    offsets.push_back(file.size());
    appendHead(file, 0x5, text.size());
    file += text;
  };
  for (const auto& [key, value] : members)
    append(key);
  for (const auto& [key, value] : members)
    append(value);
  const std::size_t table = file.size();
  for (const std::size_t offset : offsets)
    appendNumber(file, offset, 4);
  file += std::string(6, '\0') + "\x04\x04";
  appendNumber(file, offsets.size(), 8);
  appendNumber(file, 0, 8);
  appendNumber(file, table, 8);
  return file;
}

/// XML has no way to write a NUL.
bool fitsXml(const Members& members) {
  for (const auto& [key, value] : members)
    if (key.contains('\0') || value.contains('\0')) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto members = linux_os::decodedPropertyList({data, size});
  if (!members) {
    require(!members.error().empty(), "a failure says why");
    return 0;
  }
  for (const auto& [key, value] : *members)
    require(isValidUtf8(key) && isValidUtf8(value), "texts are well-formed");
  require(linux_os::decodedPropertyList(bytesOf(binaryOf(*members))) == members, "the binary form reads back");
  if (fitsXml(*members)) require(linux_os::decodedPropertyList(bytesOf(xmlOf(*members))) == members, "XML reads back");
  return 0;
}

}  // namespace tallyfox
