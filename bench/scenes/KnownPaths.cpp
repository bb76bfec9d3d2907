#include "scenes/KnownPaths.hpp"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::bench {
namespace {

using linux_os::AtspiReference;
using linux_os::SdBusMessageHandle;

constexpr const char* accessible = "org.a11y.atspi.Accessible";
constexpr std::uint64_t patienceMicroseconds = 20'000'000;

void require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(what);
}

}  // namespace

KnownPaths::KnownPaths(const std::string& sessionBusAddress) {
  const auto address = linux_os::SessionStatus(sessionBusAddress).accessibilityBusAddress();
  if (!address) throw std::runtime_error(address.error());
  address_ = *address;
  auto bus = linux_os::connectedBus(address_, std::chrono::seconds(5));
  if (!bus) throw std::runtime_error(bus.error());
  bus_ = std::move(*bus);
}

SdBusMessageHandle KnownPaths::call(const AtspiReference& target, const char* interface, const char* member) const {
  sd_bus_message* made = nullptr;
  require(
      sd_bus_message_new_method_call(bus_.get(), &made, target.busName.c_str(), target.path.c_str(), interface, member),
      "no message");
  return SdBusMessageHandle(made);
}

SdBusMessageHandle KnownPaths::property(const AtspiReference& target, const char* name) const {
  SdBusMessageHandle message = call(target, "org.freedesktop.DBus.Properties", "Get");
  require(sd_bus_message_append(message.get(), "ss", accessible, name), "no arguments");
  return message;
}

SdBusMessageHandle KnownPaths::answerTo(const SdBusMessageHandle& question) const {
  sd_bus_message* answer = nullptr;
  (void)sd_bus_call(bus_.get(), question.get(), patienceMicroseconds, nullptr, &answer);
  return SdBusMessageHandle(answer);
}

std::int32_t KnownPaths::childCount(const AtspiReference& parent) const {
  const SdBusMessageHandle answer = answerTo(property(parent, "ChildCount"));
  std::int32_t count = 0;
  if (answer) (void)sd_bus_message_read(answer.get(), "v", "i", &count);
  return count;
}

AtspiReference KnownPaths::childAt(const AtspiReference& parent, std::int32_t index) const {
  const SdBusMessageHandle question = call(parent, accessible, "GetChildAtIndex");
  require(sd_bus_message_append(question.get(), "i", index), "no argument");
  const SdBusMessageHandle answer = answerTo(question);
  const char* name = nullptr;
  const char* path = nullptr;
  if (!answer || sd_bus_message_read(answer.get(), "(so)", &name, &path) <= 0) return {};
  return {.busName = name, .path = path};
}

void KnownPaths::collect() {
  programs_.clear();
  elements_.clear();
  windows_ = 0;
  const AtspiReference desktop{.busName = std::string(linux_os::atspiRegistryName),
                               .path = std::string(linux_os::atspiRootPath)};
  const std::int32_t programs = childCount(desktop);
  for (std::int32_t program = 0; program < programs; ++program) {
    const AtspiReference root = childAt(desktop, program);
    if (root.isNull()) continue;
    const std::int32_t windows = childCount(root);
    for (std::int32_t window = 0; window < windows; ++window) {
      const AtspiReference top = childAt(root, window);
      if (top.isNull()) continue;
      programs_.insert(root.busName);
      ++windows_;
      walk(top, elements_.size() + elementsPerWindow);
    }
  }
}

void KnownPaths::walk(const AtspiReference& element, std::size_t limit) {
  elements_.push_back(element);
  const std::int32_t children = childCount(element);
  for (std::int32_t child = 0; child < children && elements_.size() < limit; ++child) {
    const AtspiReference reference = childAt(element, child);
    if (!reference.isNull()) walk(reference, limit);
  }
}

void KnownPaths::send(const SdBusMessageHandle& message) {
  require(sd_bus_call_async(bus_.get(), nullptr, message.get(), onAnswer, this, patienceMicroseconds), "not sent");
  ++unanswered_;
}

int KnownPaths::onAnswer(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
  auto& asker = *static_cast<KnownPaths*>(self);
  --asker.unanswered_;
  if (sd_bus_message_is_method_error(message, nullptr) == 0) ++asker.values_;
  return 1;
}

std::size_t KnownPaths::awaitAnswers() {
  while (unanswered_ > 0) {
    const int result = sd_bus_process(bus_.get(), nullptr);
    require(result, "the accessibility bus is gone");
    if (result == 0) require(sd_bus_wait(bus_.get(), UINT64_MAX), "the accessibility bus is gone");
  }
  return std::exchange(values_, 0);
}

std::size_t KnownPaths::readAll() {
  for (const AtspiReference& element : elements_) {
    send(call(element, accessible, "GetRole"));
    send(property(element, "Name"));
    send(property(element, "Description"));
    send(call(element, accessible, "GetState"));
    const SdBusMessageHandle extents = call(element, "org.a11y.atspi.Component", "GetExtents");
    require(sd_bus_message_append(extents.get(), "u", 0U), "no argument");
    send(extents);
  }
  return awaitAnswers();
}

std::size_t KnownPaths::pingAll() {
  for (const std::string& program : programs_)
    send(call({.busName = program, .path = "/"}, "org.freedesktop.DBus.Peer", "Ping"));
  return awaitAnswers();
}

}  // namespace tallyfox::bench
