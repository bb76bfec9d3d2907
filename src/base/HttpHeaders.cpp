#include "base/HttpHeaders.hpp"

#include <algorithm>

namespace tallyfox {
namespace {

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

bool isNameCharacter(char c) {
  return !isControl(c) && c != ' ' && c != ':' && static_cast<unsigned char>(c) < 0x80;
}

}  // namespace

bool areHeadersWellFormed(const HeaderList& headers) {
  return std::ranges::all_of(headers, [](const auto& header) {
    return !header.first.empty() && std::ranges::all_of(header.first, isNameCharacter) &&
           std::ranges::none_of(header.second, isControl);
  });
}

}  // namespace tallyfox
