#include "platform/linux/X11Property.hpp"

#include <algorithm>
#include <cstring>

#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

std::string fromLatin1(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    if (code < 0x80) {
      text += byte;
    } else {
      text += static_cast<char>(0xC0 | (code >> 6));
      text += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return text;
}

}  // namespace

std::vector<std::uint32_t> X11Property::values() const {
  if (format_ != 32) return {};
  std::vector<std::uint32_t> items(bytes_.size() / sizeof(std::uint32_t));
  if (!items.empty()) std::memcpy(items.data(), bytes_.data(), items.size() * sizeof(std::uint32_t));
  return items;
}

std::optional<std::uint32_t> X11Property::value() const {
  const auto items = values();
  if (items.empty()) return std::nullopt;
  return items.front();
}

bool X11Property::contains(std::uint32_t item) const {
  const auto items = values();
  return std::find(items.begin(), items.end(), item) != items.end();
}

std::string X11Property::text() const {
  const auto parts = texts();
  return parts.empty() ? std::string() : parts.front();
}

std::vector<std::string> X11Property::texts() const {
  if (format_ != 8) return {};
  std::vector<std::string> parts;
  std::string_view rest = bytes_;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    parts.push_back(decoded(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return parts;
}

std::string X11Property::decoded(std::string_view bytes) const {
  return isUtf8_ || isValidUtf8(bytes) ? repairedUtf8(bytes) : fromLatin1(bytes);
}

}  // namespace tallyfox::linux_os
