#include "platform/macos/CFText.hpp"

#include <vector>

#include "base/Text.hpp"

namespace tallyfox::mac_os {
namespace {

bool isUnpaired(const std::vector<UniChar>& units, std::size_t place) {
  const UniChar unit = units[place];
  if (CFStringIsSurrogateHighCharacter(unit))
    return place + 1 == units.size() || !CFStringIsSurrogateLowCharacter(units[place + 1]);
  return CFStringIsSurrogateLowCharacter(unit) && (place == 0 || !CFStringIsSurrogateHighCharacter(units[place - 1]));
}

CFRef<CFStringRef> withoutUnpairedSurrogates(CFStringRef string) {
  std::vector<UniChar> units(static_cast<std::size_t>(CFStringGetLength(string)));
  CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)), units.data());
  std::vector<UniChar> repaired = units;
  for (std::size_t place = 0; place < units.size(); ++place)
    if (isUnpaired(units, place)) repaired[place] = 0xFFFD;
  return CFRef<CFStringRef>::adopt(
      CFStringCreateWithCharacters(nullptr, repaired.data(), static_cast<CFIndex>(repaired.size())));
}

std::optional<std::string> encoded(CFStringRef string) {
  const CFIndex units = CFStringGetLength(string);
  const CFRange whole = CFRangeMake(0, units);
  CFIndex bytes = 0;
  if (CFStringGetBytes(string, whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &bytes) != units)
    return std::nullopt;
  std::string text(static_cast<std::size_t>(bytes), '\0');
  (void)CFStringGetBytes(string, whole, kCFStringEncodingUTF8, 0, false, reinterpret_cast<UInt8*>(text.data()), bytes,
                         &bytes);
  return text;
}

}  // namespace

std::string textOf(CFStringRef string) {
  if (string == nullptr) return {};
  if (auto text = encoded(string)) return *std::move(text);
  // Only then is there something that has no encoding.
  const auto repaired = withoutUnpairedSurrogates(string);
  return repaired ? encoded(repaired.get()).value_or("") : std::string();
}

std::optional<std::string> textIfString(CFTypeRef object) {
  if (object == nullptr || CFGetTypeID(object) != CFStringGetTypeID()) return std::nullopt;
  return textOf(static_cast<CFStringRef>(object));
}

CFRef<CFStringRef> cfString(std::string_view text) {
  const std::string valid = repairedUtf8(text);
  return CFRef<CFStringRef>::adopt(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(valid.data()),
                                                           static_cast<CFIndex>(valid.size()), kCFStringEncodingUTF8,
                                                           false));
}

}  // namespace tallyfox::mac_os
