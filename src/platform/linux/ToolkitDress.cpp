#include "platform/linux/ToolkitDress.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

#include "base/Text.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr auto blockTags =
    std::to_array<std::string_view>({"br", "p", "div", "li", "tr", "h1", "h2", "h3", "h4", "h5", "h6", "ul", "ol",
                                     "table", "hr", "pre", "center", "blockquote"});
constexpr auto inlineTags = std::to_array<std::string_view>(
    {"html", "body",  "head",  "qt",   "b",      "i",     "u",     "s",     "em",      "strong", "span",
     "font", "a",     "td",    "th",   "code",   "tt",    "big",   "small", "sub",     "sup",    "img",
     "nobr", "style", "title", "meta", "script", "tbody", "thead", "kbd",   "filename"});
/// Their content is not shown.
constexpr auto silentTags = std::to_array<std::string_view>({"head", "style", "script", "title"});
constexpr std::string_view objectReplacement = "\xEF\xBF\xBC";

template <typename Table>
bool contains(const Table& table, std::string_view name) {
  return std::ranges::find(table, name) != table.end();
}

bool isAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isAsciiDigit(char c) {
  return c >= '0' && c <= '9';
}

struct Tag {
  std::string name;  ///< lower case; empty for a comment or document type
  bool isClosing = false;
  std::size_t length = 0;
};

/// The tag of rich text that begins at `text`, if one does.
std::optional<Tag> tagAt(std::string_view text) {
  const std::size_t end = text.find('>');
  if (end == std::string_view::npos || end < 2) return std::nullopt;
  Tag tag;
  tag.length = end + 1;
  if (text.starts_with("<!--") || text.starts_with("<!DOCTYPE") || text.starts_with("<!doctype")) return tag;
  std::size_t at = 1;
  if (text[at] == '/') {
    tag.isClosing = true;
    ++at;
  }
  while (at < end && (isAsciiLetter(text[at]) || isAsciiDigit(text[at]))) {
    const char c = text[at++];
    tag.name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  const bool endsWell = at == end || text[at] == ' ' || text[at] == '/' || text[at] == '\n';
  if (!endsWell || !(contains(blockTags, tag.name) || contains(inlineTags, tag.name))) return std::nullopt;
  return tag;
}

void appendUtf8(std::string& out, std::uint32_t point) {
  if (point == 0 || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) point = 0xFFFD;
  const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (point < 0x80) return put(point);
  if (point < 0x800) {
    put(0xC0 | (point >> 6));
  } else {
    if (point < 0x10000) {
      put(0xE0 | (point >> 12));
    } else {
      put(0xF0 | (point >> 18));
      put(0x80 | ((point >> 12) & 0x3F));
    }
    put(0x80 | ((point >> 6) & 0x3F));
  }
  put(0x80 | (point & 0x3F));
}

/// Appends the character reference at the beginning of `text` and returns its length; 0 when there is none.
std::size_t appendReference(std::string& out, std::string_view text) {
  static constexpr auto named = std::to_array<std::pair<std::string_view, std::string_view>>(
      {{"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&nbsp;", " "}});
  for (const auto& [reference, replacement] : named) {
    if (!text.starts_with(reference)) continue;
    out += replacement;
    return reference.size();
  }
  const std::size_t end = text.find(';');
  if (!text.starts_with("&#") || end == std::string_view::npos || end > 10 || end < 3) return 0;
  const bool isHex = text[2] == 'x' || text[2] == 'X';
  const char* first = text.data() + (isHex ? 3 : 2);
  std::uint32_t point = 0;
  const auto [stop, error] = std::from_chars(first, text.data() + end, point, isHex ? 16 : 10);
  if (error != std::errc() || stop != text.data() + end) return 0;
  appendUtf8(out, point);
  return end + 1;
}

bool looksLikeMarkup(std::string_view text) {
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    if (tagAt(text.substr(at))) return true;
  }
  return false;
}

/// Lines trimmed and their white space collapsed, empty lines at both ends and doubled ones dropped.
std::string tidyLines(std::string_view text) {
  std::string tidy;
  std::size_t breaks = 0;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::string line = withCollapsedWhiteSpace(trimmed(text.substr(begin, end - begin)));
    if (!line.empty()) {
      if (!tidy.empty()) tidy.append(std::min<std::size_t>(breaks, 2), '\n');
      tidy += line;
      breaks = 0;
    }
    ++breaks;
    begin = end + 1;
  }
  return tidy;
}

std::string withoutObjectMarks(std::string text) {
  for (std::size_t at = text.find(objectReplacement); at != std::string::npos; at = text.find(objectReplacement, at))
    text.erase(at, objectReplacement.size());
  return text;
}

/// "_Save _as" without its marks: an underscore marks the next character, two are one that is shown.
std::string withoutMnemonics(std::string_view label) {
  std::string plain;
  for (std::size_t at = 0; at < label.size(); ++at) {
    if (label[at] == '_' && at + 1 < label.size()) ++at;
    plain += label[at];
  }
  return plain;
}

}  // namespace

Toolkit toolkitNamed(std::string_view name) {
  if (name == "gtk") return Toolkit::gtk3;
  if (name == "GTK") return Toolkit::gtk4;
  if (name == "Qt") return Toolkit::qt;
  if (name == "Chromium" || name == "Gecko") return Toolkit::browser;
  return name.empty() ? Toolkit::unknown : Toolkit::other;
}

bool canSearch(Toolkit toolkit) {
  return toolkit == Toolkit::gtk3 || toolkit == Toolkit::browser;
}

std::string withoutMarkup(std::string_view text) {
  if (!looksLikeMarkup(text)) return std::string(text);
  std::string plain;
  std::string silentUntil;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == '<') {
      if (const std::optional<Tag> tag = tagAt(text.substr(at))) {
        if (tag->isClosing && tag->name == silentUntil) silentUntil.clear();
        if (!tag->isClosing && silentUntil.empty() && contains(silentTags, tag->name)) silentUntil = tag->name;
        if (contains(blockTags, tag->name)) plain += '\n';
        at += tag->length;
        continue;
      }
    }
    if (!silentUntil.empty()) {
      ++at;
      continue;
    }
    if (text[at] == '&') {
      if (const std::size_t length = appendReference(plain, text.substr(at)); length > 0) {
        at += length;
        continue;
      }
    }
    plain += text[at] == '\n' || text[at] == '\r' || text[at] == '\t' ? ' ' : text[at];
    ++at;
  }
  return tidyLines(plain);
}

std::string undressedLabel(std::string_view name, Toolkit toolkit) {
  std::string text = undressedText(name, toolkit);
  if (toolkit != Toolkit::gtk4 || text.find('_') == std::string::npos) return text;
  for (std::size_t at = text.find(' '); at != std::string::npos; at = text.find(' ', at + 1)) {
    const std::string plain = withoutMnemonics(std::string_view(text).substr(0, at));
    if (plain == std::string_view(text).substr(at + 1)) return plain;
  }
  return withoutMnemonics(text);
}

std::string undressedText(std::string_view text, Toolkit toolkit) {
  const std::string valid = withoutObjectMarks(repairedUtf8(text));
  return toolkit == Toolkit::qt ? withoutMarkup(valid) : valid;
}

std::string undressedDescription(std::string_view text) {
  return withoutMarkup(withoutObjectMarks(repairedUtf8(text)));
}

}  // namespace tallyfox::linux_os
