#include "platform/linux/AtspiReplies.hpp"

#include <utility>

#include "base/Text.hpp"

namespace tallyfox::linux_os {

bool AtspiExtents::isOnAScreen() const {
  constexpr std::int32_t farthest = 1'000'000;
  const auto isNear = [](std::int32_t place) { return place > -farthest && place < farthest; };
  return isNear(x) && isNear(y) && width >= 0 && height >= 0 && width < farthest && height < farthest;
}

}  // namespace tallyfox::linux_os

namespace tallyfox::linux_os::reply {
namespace {

std::unexpected<AXError> wrongShape() {
  return std::unexpected(AXError::unsupported);
}

std::expected<std::string, AXError> readText(sd_bus_message* message) {
  const char* text = nullptr;
  if (sd_bus_message_read_basic(message, 's', &text) <= 0) return wrongShape();
  return repairedUtf8(text);
}

/// 1 when one was read, 0 at the end of an array, negative for another shape.
int readReference(sd_bus_message* message, AtspiReference& reference) {
  const char* name = nullptr;
  const char* path = nullptr;
  const int result = sd_bus_message_read(message, "(so)", &name, &path);
  if (result > 0) reference = {.busName = name, .path = path};
  return result;
}

bool enterVariant(sd_bus_message* message, const char* contents) {
  return sd_bus_message_enter_container(message, 'v', contents) > 0;
}

}  // namespace

std::expected<std::string, AXError> text(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  return readText(*answer);
}

std::expected<std::string, AXError> variantText(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  if (!enterVariant(*answer, "s")) return wrongShape();
  return readText(*answer);
}

std::expected<std::int32_t, AXError> variantNumber(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  std::int32_t number = 0;
  if (!enterVariant(*answer, "i") || sd_bus_message_read_basic(*answer, 'i', &number) <= 0) return wrongShape();
  return number;
}

std::expected<std::uint32_t, AXError> unsignedNumber(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  std::uint32_t number = 0;
  if (sd_bus_message_read_basic(*answer, 'u', &number) <= 0) return wrongShape();
  return number;
}

std::expected<bool, AXError> boolean(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  int flag = 0;
  if (sd_bus_message_read_basic(*answer, 'b', &flag) <= 0) return wrongShape();
  return flag != 0;
}

std::expected<AtspiStates, AXError> states(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  if (sd_bus_message_enter_container(*answer, 'a', "u") <= 0) return wrongShape();
  AtspiStates states = 0;
  std::uint32_t word = 0;
  for (unsigned shift = 0; shift < 64 && sd_bus_message_read_basic(*answer, 'u', &word) > 0; shift += 32)
    states |= AtspiStates{word} << shift;
  return states;
}

std::expected<AtspiExtents, AXError> extents(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  AtspiExtents read;
  if (sd_bus_message_read(*answer, "(iiii)", &read.x, &read.y, &read.width, &read.height) <= 0) return wrongShape();
  return read;
}

std::expected<AtspiReference, AXError> reference(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  AtspiReference read;
  if (readReference(*answer, read) <= 0) return wrongShape();
  return read;
}

std::expected<AtspiReference, AXError> variantReference(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  AtspiReference read;
  if (!enterVariant(*answer, "(so)") || readReference(*answer, read) <= 0) return wrongShape();
  return read;
}

std::expected<std::vector<AtspiReference>, AXError> references(AtspiBus::Answer answer) {
  if (!answer) return std::unexpected(answer.error());
  if (sd_bus_message_enter_container(*answer, 'a', "(so)") <= 0) return wrongShape();
  std::vector<AtspiReference> read;
  AtspiReference next;
  int result = 0;
  while ((result = readReference(*answer, next)) > 0)
    read.push_back(std::move(next));
  if (result < 0) return wrongShape();
  return read;
}

}  // namespace tallyfox::linux_os::reply
