#include "platform/linux/XmlPropertyList.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::array<std::string_view, 8> otherTypes = {"array", "string", "integer", "real",
                                                        "true",  "false",  "date",    "data"};

/// What stands between & and ; as a character; absent when it names none.
std::optional<std::string> character(std::string_view name) {
  static const std::map<std::string_view, std::string> named = {
      {"lt", "<"}, {"gt", ">"}, {"amp", "&"}, {"quot", "\""}, {"apos", "'"}};
  if (const auto found = named.find(name); found != named.end()) return found->second;
  if (!name.starts_with('#')) return std::nullopt;
  const bool isHexadecimal = name.starts_with("#x");
  name.remove_prefix(isHexadecimal ? 2 : 1);
  std::uint32_t codePoint = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), codePoint, isHexadecimal ? 16 : 10);
  if (error != std::errc() || end != name.data() + name.size() || codePoint == 0) return std::nullopt;
  return utf8Encoded(codePoint);
}

std::optional<std::string> withoutReferences(std::string_view text) {
  std::string result;
  for (;;) {
    const auto at = text.find('&');
    result += text.substr(0, at);
    if (at == std::string_view::npos) return result;
    const auto end = text.find(';', at);
    if (end == std::string_view::npos) return std::nullopt;
    const auto referred = character(text.substr(at + 1, end - at - 1));
    if (!referred) return std::nullopt;
    result += *referred;
    text.remove_prefix(end + 1);
  }
}

struct Piece {
  enum class Kind { open, close, characters, end };
  Kind kind = Kind::end;
  std::string text;  ///< the element's name, or the characters without references
};

/// Takes an XML text apart. An element that is empty by its own tag comes as an opening and a closing one.
class Pieces {
 public:
  explicit Pieces(std::string_view text) : rest_(text) {}

  /// Absent when the text is malformed.
  std::optional<Piece> next() {
    if (closing_) return Piece{Piece::Kind::close, *std::exchange(closing_, std::nullopt)};
    while (!rest_.empty()) {
      if (rest_.starts_with("<![CDATA[")) return characters(between("<![CDATA[", "]]>"));
      if (rest_.starts_with("</")) return closingTag(between("</", ">"));
      if (!rest_.starts_with('<')) return characters(withoutReferences(taken(rest_.find('<'))));
      if (!rest_.starts_with("<!") && !rest_.starts_with("<?")) return openingTag(between("<", ">"));
      if (!passed()) return std::nullopt;
    }
    return Piece{};
  }

 private:
  std::string_view taken(std::size_t size) {
    const std::string_view piece = rest_.substr(0, size);
    rest_.remove_prefix(piece.size());
    return piece;
  }
  std::optional<std::string> between(std::string_view begin, std::string_view end) {
    const auto at = rest_.find(end, begin.size());
    if (at == std::string_view::npos) return std::nullopt;
    std::string inside(rest_.substr(begin.size(), at - begin.size()));
    rest_.remove_prefix(at + end.size());
    return inside;
  }
  /// Leaves a comment, an instruction or a document type behind.
  bool passed() {
    if (rest_.starts_with("<!--")) return between("<!--", "-->").has_value();
    if (rest_.starts_with("<?")) return between("<?", "?>").has_value();
    if (!rest_.starts_with("<!DOCTYPE")) return false;
    const auto type = between("<!DOCTYPE", ">");
    return type && !type->contains('[');
  }

  static std::optional<Piece> characters(std::optional<std::string> text) {
    if (!text) return std::nullopt;
    return Piece{Piece::Kind::characters, *std::move(text)};
  }
  static std::optional<Piece> closingTag(std::optional<std::string> tag) {
    if (!tag) return std::nullopt;
    return Piece{Piece::Kind::close, tag->substr(0, tag->find_last_not_of(blanks) + 1)};
  }
  std::optional<Piece> openingTag(std::optional<std::string> tag) {
    if (!tag) return std::nullopt;
    const bool isEmpty = tag->ends_with('/');
    if (isEmpty) tag->pop_back();
    std::string name = tag->substr(0, tag->find_first_of(blanks));
    if (isEmpty) closing_ = name;
    return Piece{Piece::Kind::open, std::move(name)};
  }

  std::string_view rest_;
  std::optional<std::string> closing_;
};

class Reader {
 public:
  explicit Reader(std::string_view text) : pieces_(text) {}

  PropertyListTexts texts() {
    const auto malformed = std::unexpected(PropertyListFault::malformed);
    const auto outermost = tag();
    const auto root = tag();
    if (!isOpen(outermost, "plist") || !root || root->kind != Piece::Kind::open) return malformed;
    if (std::ranges::find(otherTypes, root->text) != otherTypes.end())
      return std::unexpected(PropertyListFault::noDictionary);
    auto members = root->text == "dict" ? dictionary() : std::nullopt;
    const auto end = members ? tag() : std::nullopt;
    if (!end || end->kind != Piece::Kind::close || end->text != "plist") return malformed;
    const auto nothing = tag();
    if (!nothing || nothing->kind != Piece::Kind::end) return malformed;
    return *std::move(members);
  }

 private:
  static bool isOpen(const std::optional<Piece>& piece, std::string_view name) {
    return piece && piece->kind == Piece::Kind::open && piece->text == name;
  }

  /// The next tag, or the end; absent when something else than blanks stands before it.
  std::optional<Piece> tag() {
    auto piece = pieces_.next();
    while (piece && piece->kind == Piece::Kind::characters) {
      if (piece->text.find_first_not_of(blanks) != std::string::npos) return std::nullopt;
      piece = pieces_.next();
    }
    return piece;
  }

  /// The members up to the dictionary's closing tag.
  std::optional<std::map<std::string, std::string>> dictionary() {
    std::map<std::string, std::string> members;
    for (;;) {
      const auto next = tag();
      if (next && next->kind == Piece::Kind::close && next->text == "dict") return members;
      auto key = isOpen(next, "key") ? content("key") : std::nullopt;
      const auto value = key ? tag() : std::nullopt;
      if (!value || value->kind != Piece::Kind::open) return std::nullopt;
      if (value->text == "string") {
        auto text = content("string");
        if (!text) return std::nullopt;
        members.insert_or_assign(*std::move(key), *std::move(text));
      } else if (!skipped(value->text)) {
        return std::nullopt;
      }
    }
  }

  /// The characters of an element that holds nothing else, up to its closing tag.
  std::optional<std::string> content(std::string_view name) {
    std::string text;
    auto piece = pieces_.next();
    for (; piece && piece->kind == Piece::Kind::characters; piece = pieces_.next())
      text += piece->text;
    if (!piece || piece->kind != Piece::Kind::close || piece->text != name) return std::nullopt;
    return text;
  }

  /// Leaves an element behind whose opening tag was read.
  bool skipped(std::string name) {
    std::vector<std::string> open = {std::move(name)};
    while (!open.empty()) {
      auto piece = pieces_.next();
      if (!piece || piece->kind == Piece::Kind::end) return false;
      if (piece->kind == Piece::Kind::open) open.push_back(std::move(piece->text));
      if (piece->kind != Piece::Kind::close) continue;
      if (piece->text != open.back()) return false;
      open.pop_back();
    }
    return true;
  }

  Pieces pieces_;
};

}  // namespace

PropertyListTexts decodedXmlPropertyList(std::string_view text) {
  if (text.contains('\0')) return std::unexpected(PropertyListFault::malformed);
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  const std::string wellFormed = repairedUtf8(text);
  return Reader(wellFormed).texts();
}

}  // namespace tallyfox::linux_os
