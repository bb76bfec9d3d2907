#include "platform/linux/BinaryPropertyList.hpp"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Limits.hpp"
#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::string_view magic = "bplist0";
constexpr std::size_t headerBytes = 8;
constexpr std::size_t trailerBytes = 32;

/// The high four bits of an object's first byte.
enum class Kind : std::uint8_t { integer = 0x1, asciiString = 0x5, utf16String = 0x6, dictionary = 0xD };

std::uint64_t bigEndian(ByteView bytes) {
  std::uint64_t value = 0;
  for (const std::uint8_t byte : bytes)
    value = (value << 8U) | byte;
  return value;
}

/// Half a pair alone is no character and becomes U+FFFD.
std::string utf8OfUtf16(ByteView bytes) {
  std::string text;
  std::uint32_t high = 0;  // the first half of a pair, while its second is awaited
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const auto unit = static_cast<std::uint32_t>(bigEndian(bytes.subspan(at, 2)));
    const bool isLow = unit >= 0xDC00 && unit < 0xE000;
    if (high != 0 && isLow) {
      text += utf8Encoded(0x10000 + ((high - 0xD800) << 10U) + (unit - 0xDC00));
      high = 0;
      continue;
    }
    if (high != 0) text += utf8Encoded(high);
    high = unit >= 0xD800 && unit < 0xDC00 ? unit : 0;
    if (high == 0) text += utf8Encoded(unit);
  }
  if (high != 0) text += utf8Encoded(high);
  return text;
}

/// The objects of one list. Every access is checked against the bytes between header and table.
class Objects {
 public:
  struct Object {
    std::uint8_t kind = 0;
    std::uint64_t count = 0;  ///< characters, or members of a dictionary
    ByteView content;         ///< what follows the count, up to the table
    [[nodiscard]] bool is(Kind wanted) const { return kind == std::to_underlying(wanted); }
  };

  [[nodiscard]] static std::optional<Objects> of(ByteView file) {
    if (!isBinaryPropertyList(file) || file.size() < headerBytes + trailerBytes) return std::nullopt;
    const ByteView trailer = file.last(trailerBytes);
    Objects objects;
    objects.offsetBytes_ = trailer[6];
    objects.referenceBytes_ = trailer[7];
    const std::uint64_t count = bigEndian(trailer.subspan(8, 8));
    objects.root_ = bigEndian(trailer.subspan(16, 8));
    const std::uint64_t table = bigEndian(trailer.subspan(24, 8));
    const auto isWidth = [](std::size_t bytes) { return bytes >= 1 && bytes <= 8; };
    if (!isWidth(objects.offsetBytes_) || !isWidth(objects.referenceBytes_)) return std::nullopt;
    const std::size_t end = file.size() - trailerBytes;
    if (table < headerBytes || table > end || count > (end - table) / objects.offsetBytes_) return std::nullopt;
    objects.file_ = file.first(table);
    objects.table_ = file.subspan(table, count * objects.offsetBytes_);
    return objects;
  }

  [[nodiscard]] std::uint64_t root() const { return root_; }
  [[nodiscard]] std::size_t referenceBytes() const { return referenceBytes_; }

  [[nodiscard]] std::optional<Object> at(std::uint64_t number) const {
    if (number >= table_.size() / offsetBytes_) return std::nullopt;
    const std::uint64_t offset = bigEndian(table_.subspan(number * offsetBytes_, offsetBytes_));
    if (offset < headerBytes || offset >= file_.size()) return std::nullopt;
    const std::uint8_t marker = file_[offset];
    Object object{static_cast<std::uint8_t>(marker >> 4U), marker & 0x0FU, file_.subspan(offset + 1)};
    if (object.count != 0x0F) return object;
    // The count did not fit: it follows as an integer of one, two, four or eight bytes.
    if (object.content.empty() || object.content[0] >> 4U != std::to_underlying(Kind::integer)) return std::nullopt;
    const std::size_t bytes = std::size_t{1} << (object.content[0] & 0x0FU);
    if (bytes > 8 || object.content.size() - 1 < bytes) return std::nullopt;
    object.count = bigEndian(object.content.subspan(1, bytes));
    object.content = object.content.subspan(1 + bytes);
    return object;
  }

  /// The object as text; absent when it is none or is cut off.
  [[nodiscard]] static std::optional<std::string> text(const Object& object) {
    const std::size_t bytesPerUnit = object.is(Kind::utf16String) ? 2 : 1;
    if (object.count > object.content.size() / bytesPerUnit) return std::nullopt;
    const ByteView bytes = object.content.first(object.count * bytesPerUnit);
    if (object.is(Kind::utf16String)) return utf8OfUtf16(bytes);
    return object.is(Kind::asciiString) ? std::optional(repairedUtf8(textOf(bytes))) : std::nullopt;
  }

 private:
  ByteView file_;
  ByteView table_;
  std::size_t offsetBytes_ = 1;
  std::size_t referenceBytes_ = 1;
  std::uint64_t root_ = 0;
};

}  // namespace

bool isBinaryPropertyList(ByteView content) {
  return textOf(content).starts_with(magic);
}

PropertyListTexts decodedBinaryPropertyList(ByteView content) {
  const auto malformed = std::unexpected(PropertyListFault::malformed);
  const auto objects = Objects::of(content);
  const auto root = objects ? objects->at(objects->root()) : std::nullopt;
  if (!root) return malformed;
  if (!root->is(Kind::dictionary)) return std::unexpected(PropertyListFault::noDictionary);
  const std::size_t width = objects->referenceBytes();
  if (root->count > root->content.size() / width / 2) return malformed;
  const auto referred = [&](std::uint64_t place) {
    return objects->at(bigEndian(root->content.subspan(place * width, width)));
  };
  std::map<std::string, std::string> members;
  std::size_t textBytes = 0;  // every member may refer to the same long text
  for (std::uint64_t member = 0; member < root->count; ++member) {
    const auto key = referred(member);
    const auto value = referred(root->count + member);
    auto name = key ? Objects::text(*key) : std::nullopt;
    if (!name || !value) return malformed;
    if (!value->is(Kind::asciiString) && !value->is(Kind::utf16String)) continue;
    auto text = Objects::text(*value);
    if (!text) return malformed;
    textBytes += name->size() + text->size();
    if (textBytes > limits::storedFileBytes) return malformed;
    members.insert_or_assign(*std::move(name), *std::move(text));
  }
  return members;
}

}  // namespace tallyfox::linux_os
