#include "platform/linux/AtspiEventSource.hpp"

#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/linux/ToolkitDress.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::chrono::milliseconds greetingTime{1000};
/// Nobody waits for these answers: a program that hangs gives its own when it goes on.
constexpr std::uint64_t forever = UINT64_MAX;
constexpr const char* rootPath = atspiRootPath.data();
/// Programs that are remembered; more than a desktop runs. Beyond, new ones are only told of.
constexpr std::size_t mostPrograms = 1024;

std::string ruleFor(std::string_view sender, std::string_view rest) {
  return "type='signal',interface='org.a11y.atspi.Event.Object',sender='" + std::string(sender) + "'," +
         std::string(rest);
}

SdBusMessageHandle call(sd_bus* bus, const char* destination, const char* path, const char* interface,
                        const char* member) {
  sd_bus_message* made = nullptr;
  (void)sd_bus_message_new_method_call(bus, &made, destination, path, interface, member);
  return SdBusMessageHandle(made);
}

/// (detail, _, _, the child, _) as the registry sends it.
struct Registration {
  bool isAdded = false;
  std::string busName;
};
Registration registrationIn(sd_bus_message* signal) {
  const char* detail = nullptr;
  const char* name = nullptr;
  const char* path = nullptr;
  std::int32_t index = 0;
  std::int32_t unused = 0;
  if (sd_bus_message_read(signal, "sii", &detail, &index, &unused) <= 0) return {};
  if (sd_bus_message_read(signal, "v", "(so)", &name, &path) <= 0) return {};
  return {.isAdded = std::string_view(detail) == "add", .busName = name};
}

}  // namespace

/// One connection with the registry, and what waits for its answers.
struct AtspiEventSource::Program {
  AtspiEventSource& source;
  std::string busName;
  bool isNew = false;  ///< it came while we watched
  std::int32_t processIdentifier = 0;
  bool isAwaited = false;
  std::vector<SdBusSlotHandle> slots;
  SdBusSlotHandle awaited;
};

AtspiEventSource::AtspiEventSource(std::string sessionBusAddress, FileDescriptorWatcher& watcher)
    : status_(std::move(sessionBusAddress)), watcher_(watcher) {
  connect();
}

AtspiEventSource::~AtspiEventSource() {
  disconnect();
}

void AtspiEventSource::disconnect() {
  watch_.reset();
  while (!programs_.empty())
    forget(programs_.begin()->first);
  presentPrograms_.reset();
  registrations_.reset();
  bus_.reset();
}

void AtspiEventSource::connect() {
  if (bus_ && sd_bus_is_open(bus_.get()) > 0) return;
  disconnect();
  const auto address = status_.accessibilityBusAddress();
  if (!address) return;
  auto bus = connectedBus(*address, greetingTime);
  if (!bus) return;
  bus_ = std::move(*bus);

  // First to be told of programs that come, then to ask for those that are there.
  sd_bus_slot* slot = nullptr;
  const std::string rule =
      ruleFor(atspiRegistryName, "member='ChildrenChanged',path='/org/a11y/atspi/accessible/root'");
  const auto onSignal = [](sd_bus_message* message, void* source, sd_bus_error*) {
    static_cast<AtspiEventSource*>(source)->onRegistration(message);
    return 0;
  };
  if (sd_bus_add_match_async(bus_.get(), &slot, rule.c_str(), onSignal, nullptr, this) >= 0) registrations_.reset(slot);
  const auto onReply = [](sd_bus_message* message, void* source, sd_bus_error*) {
    static_cast<AtspiEventSource*>(source)->onPresentPrograms(message);
    return 1;
  };
  const auto question = call(bus_.get(), atspiRegistryName, rootPath, "org.a11y.atspi.Accessible", "GetChildren");
  slot = nullptr;
  if (question && sd_bus_call_async(bus_.get(), &slot, question.get(), onReply, this, forever) >= 0)
    presentPrograms_.reset(slot);
  sd_bus_flush(bus_.get());
  watch_ = watcher_.watchReadable(sd_bus_get_fd(bus_.get()), [this] { onReadable(); });
}

void AtspiEventSource::onReadable() {
  int result = 0;
  do
    result = bus_ ? sd_bus_process(bus_.get(), nullptr) : -1;
  while (result > 0);
  if (result < 0) return disconnect();
  sd_bus_flush(bus_.get());
}

void AtspiEventSource::onPresentPrograms(sd_bus_message* reply) {
  if (sd_bus_message_is_method_error(reply, nullptr) > 0) return;
  if (sd_bus_message_enter_container(reply, 'a', "(so)") <= 0) return;
  const char* name = nullptr;
  const char* path = nullptr;
  while (sd_bus_message_read(reply, "(so)", &name, &path) > 0)
    meet(name, false);
}

void AtspiEventSource::onRegistration(sd_bus_message* signal) {
  const Registration registration = registrationIn(signal);
  if (registration.busName.empty()) return;
  forget(registration.busName);
  if (registration.isAdded) meet(registration.busName, true);
}

void AtspiEventSource::meet(const std::string& busName, bool isNew) {
  if (programs_.contains(busName) || programs_.size() >= mostPrograms) return;
  Program& program =
      *programs_.emplace(busName, std::make_unique<Program>(Program{*this, busName, isNew, 0, false, {}, {}}))
           .first->second;
  const auto process = call(bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "GetConnectionUnixProcessID");
  if (!process || sd_bus_message_append(process.get(), "s", busName.c_str()) < 0) return;
  program.slots.push_back(ask<&AtspiEventSource::learnProcess>(program, process.get()));
}

void AtspiEventSource::forget(const std::string& busName) {
  const auto forgotten = programs_.extract(busName);
  const std::scoped_lock lock(mutex_);
  if (forgotten) processes_.erase(forgotten.key());
}

std::vector<std::int32_t> AtspiEventSource::programs() const {
  std::vector<std::int32_t> processes;
  const std::scoped_lock lock(mutex_);
  for (const auto& [busName, process] : processes_)
    processes.push_back(process);
  return processes;
}

void AtspiEventSource::learnProcess(Program& program, sd_bus_message* reply) {
  std::uint32_t process = 0;
  if (sd_bus_message_read(reply, "u", &process) <= 0) return;
  program.processIdentifier = static_cast<std::int32_t>(process);
  {
    const std::scoped_lock lock(mutex_);
    processes_[program.busName] = program.processIdentifier;
  }
  const auto toolkit = call(bus_.get(), program.busName.c_str(), rootPath, "org.freedesktop.DBus.Properties", "Get");
  if (toolkit && sd_bus_message_append(toolkit.get(), "ss", "org.a11y.atspi.Application", "ToolkitName") >= 0)
    program.slots.push_back(ask<&AtspiEventSource::learnToolkit>(program, toolkit.get()));
  if (program.isNew) tell(program, AtspiChangeKind::programRegistered);
}

void AtspiEventSource::learnToolkit(Program& program, sd_bus_message* reply) {
  const char* name = nullptr;
  if (sd_bus_message_read(reply, "v", "s", &name) > 0 && toolkitNamed(name) == Toolkit::browser) listenTo(program);
}

/// Opens up this browser to us alone, for as long as this connection lasts; then its own signals reach us.
void AtspiEventSource::listenTo(Program& program) {
  match<&AtspiEventSource::onFocus>(program, "member='StateChanged',arg0='active'");
  match<&AtspiEventSource::onFocus>(program, "member='StateChanged',arg0='focused'");
  match<&AtspiEventSource::onWindows>(program, "member='ChildrenChanged',path='/org/a11y/atspi/accessible/root'");
  const auto opening =
      call(bus_.get(), program.busName.c_str(), rootPath, "org.a11y.atspi.Application", "GetApplicationBusAddress");
  if (opening) (void)sd_bus_send(bus_.get(), opening.get(), nullptr);
}

void AtspiEventSource::onWindows(Program& program, sd_bus_message* /*signal*/) {
  tell(program, AtspiChangeKind::windowsChanged);
}

void AtspiEventSource::onFocus(Program& program, sd_bus_message* /*signal*/) {
  tell(program, AtspiChangeKind::focusMoved);
}

void AtspiEventSource::awaitAnswer(const std::string& busName) {
  const auto known = programs_.find(busName);
  if (known == programs_.end() || known->second->isAwaited) return;
  const auto ping = call(bus_.get(), busName.c_str(), "/", "org.freedesktop.DBus.Peer", "Ping");
  if (!ping) return;
  known->second->awaited = ask<&AtspiEventSource::onAnswer>(*known->second, ping.get());
  known->second->isAwaited = known->second->awaited != nullptr;
  sd_bus_flush(bus_.get());
}

/// An error is an answer too.
void AtspiEventSource::onAnswer(Program& program, sd_bus_message* /*reply*/) {
  program.isAwaited = false;
  tell(program, AtspiChangeKind::programAnswered);
}

void AtspiEventSource::tell(const Program& program, AtspiChangeKind kind) {
  subscribers_.tell({.kind = kind, .processIdentifier = program.processIdentifier});
}

template <AtspiEventSource::Handler handler>
SdBusSlotHandle AtspiEventSource::ask(Program& program, sd_bus_message* call) {
  const auto onReply = [](sd_bus_message* reply, void* asked, sd_bus_error*) {
    auto& about = *static_cast<Program*>(asked);
    (about.source.*handler)(about, reply);
    return 1;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_.get(), &slot, call, onReply, &program, forever) < 0) return nullptr;
  return SdBusSlotHandle(slot);
}

template <AtspiEventSource::Handler handler>
void AtspiEventSource::match(Program& program, const std::string& rule) {
  const auto onSignal = [](sd_bus_message* signal, void* listenedTo, sd_bus_error*) {
    auto& about = *static_cast<Program*>(listenedTo);
    (about.source.*handler)(about, signal);
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus_.get(), &slot, ruleFor(program.busName, rule).c_str(), onSignal, nullptr, &program) >=
      0)
    program.slots.emplace_back(slot);
}

}  // namespace tallyfox::linux_os
