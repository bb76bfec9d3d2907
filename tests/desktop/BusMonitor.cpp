#include "desktop/BusMonitor.hpp"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace tallyfox::testing {
namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";
constexpr std::string_view registryName = "org.a11y.atspi.Registry";
constexpr Seconds patience{20};

void require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(what);
}

linux_os::SdBusHandle connected(const std::string& address) {
  auto bus = linux_os::connectedBus(address, std::chrono::seconds(5));
  if (!bus) throw std::runtime_error("the bus to be monitored: " + bus.error());
  return std::move(*bus);
}

linux_os::SdBusHandle monitoring(const std::string& address) {
  sd_bus* made = nullptr;
  require(sd_bus_new(&made), "no connection to monitor with");
  linux_os::SdBusHandle bus(made);
  require(sd_bus_set_address(made, address.c_str()), "no such bus");
  require(sd_bus_set_bus_client(made, 1), "no client");
  require(sd_bus_set_monitor(made, 1), "no monitor");
  require(sd_bus_start(made), "the bus cannot be reached");
  sd_bus_message* call = nullptr;
  int result =
      sd_bus_message_new_method_call(made, &call, busName, busPath, "org.freedesktop.DBus.Monitoring", "BecomeMonitor");
  const linux_os::SdBusMessageHandle message(call);
  if (result >= 0) result = sd_bus_message_append(call, "asu", 0U, 0U);
  if (result >= 0) result = sd_bus_call(made, call, 0, nullptr, nullptr);
  require(result, "the bus lets nobody monitor it");
  return bus;
}

std::string text(const char* value) {
  return value == nullptr ? std::string() : std::string(value);
}

/// Asks the bus itself; no answer where it has none.
linux_os::SdBusMessageHandle askBus(sd_bus* bus, const char* member, const std::string& name) {
  sd_bus_message* call = nullptr;
  require(sd_bus_message_new_method_call(bus, &call, busName, busPath, busName, member), "no message");
  const linux_os::SdBusMessageHandle message(call);
  if (!name.empty()) require(sd_bus_message_append(call, "s", name.c_str()), "no argument");
  sd_bus_message* answer = nullptr;
  (void)sd_bus_call(bus, call, 0, nullptr, &answer);
  return linux_os::SdBusMessageHandle(answer);
}

}  // namespace

BusMonitor::BusMonitor(const std::string& address) : marker_(connected(address)), monitor_(monitoring(address)) {
  const char* name = nullptr;
  require(sd_bus_get_unique_name(marker_.get(), &name), "no name on the bus");
  markerName_ = name;
  thread_ = std::thread([this] { follow(); });
}

BusMonitor::~BusMonitor() {
  isEnding_ = true;
  thread_.join();
}

void BusMonitor::follow() {
  constexpr std::uint64_t attentionMicroseconds = 50'000;
  while (!isEnding_) {
    sd_bus_message* heard = nullptr;
    const int result = sd_bus_process(monitor_.get(), &heard);
    const linux_os::SdBusMessageHandle message(heard);
    if (result < 0) return;
    if (heard != nullptr) remember(heard);
    if (result == 0) (void)sd_bus_wait(monitor_.get(), attentionMicroseconds);
  }
}

void BusMonitor::remember(sd_bus_message* message) {
  std::uint8_t type = 0;
  if (sd_bus_message_get_type(message, &type) < 0) return;
  BusMessage heard{.kind = type == SD_BUS_MESSAGE_METHOD_CALL ? BusMessage::Kind::call
                           : type == SD_BUS_MESSAGE_SIGNAL    ? BusMessage::Kind::signal
                                                              : BusMessage::Kind::answer,
                   .moment = std::chrono::steady_clock::now().time_since_epoch(),
                   .sender = text(sd_bus_message_get_sender(message)),
                   .receiver = text(sd_bus_message_get_destination(message)),
                   .member = text(sd_bus_message_get_member(message))};
  (void)sd_bus_message_get_cookie(message, &heard.serial);
  if (heard.kind == BusMessage::Kind::answer) (void)sd_bus_message_get_reply_cookie(message, &heard.answeredSerial);
  const char* interface = nullptr;
  const char* property = nullptr;
  if (heard.kind == BusMessage::Kind::call && heard.member == "Get" &&
      sd_bus_message_read(message, "ss", &interface, &property) > 0)
    heard.member += std::string(" ") + property;
  const std::scoped_lock lock(mutex_);
  if (heard.sender == markerName_) {
    if (heard.member != "GetId") return;
    ++marksSeen_;
    markSeen_.notify_all();
  } else if (heard.receiver != markerName_) {
    heard_.push_back(std::move(heard));
  }
}

std::vector<BusMessage> BusMonitor::take() {
  std::unique_lock lock(mutex_);
  const std::size_t mark = marksSeen_ + 1;
  lock.unlock();
  (void)askBus(marker_.get(), "GetId", "");
  lock.lock();
  if (!markSeen_.wait_for(lock, patience, [&] { return marksSeen_ >= mark; }))
    throw std::runtime_error("the bus monitor hears nothing");
  return std::exchange(heard_, {});
}

std::map<std::string, pid_t> BusMonitor::processes() {
  const auto answer = askBus(marker_.get(), "ListNames", "");
  if (!answer) throw std::runtime_error("the bus does not tell its names");
  require(sd_bus_message_enter_container(answer.get(), 'a', "s"), "no list of names");
  std::map<std::string, pid_t> processes;
  const char* name = nullptr;
  while (sd_bus_message_read(answer.get(), "s", &name) > 0) {
    if (name[0] != ':' || name == markerName_) continue;
    const auto owner = askBus(marker_.get(), "GetConnectionUnixProcessID", name);
    std::uint32_t pid = 0;
    if (owner && sd_bus_message_read(owner.get(), "u", &pid) > 0) processes[name] = static_cast<pid_t>(pid);
  }
  return processes;
}

std::set<std::string> BusMonitor::namesOf(pid_t process) {
  std::set<std::string> names;
  for (const auto& [name, owner] : processes()) {
    if (owner == process) names.insert(name);
  }
  return names;
}

BusTraffic BusTraffic::of(const std::vector<BusMessage>& messages, const std::set<std::string>& asker) {
  struct Asked {
    std::string peer;
    std::size_t round = 0;
  };
  const auto isDirectory = [](const std::string& peer) { return peer == busName || peer == registryName; };
  BusTraffic traffic;
  std::unordered_map<std::string, Asked> asked;  // by sender and serial
  std::map<std::string, std::size_t> answeredRounds;
  std::size_t directoryRounds = 0;
  for (const BusMessage& message : messages) {
    if (message.kind == BusMessage::Kind::call && asker.contains(message.sender)) {
      const std::size_t round = std::max(directoryRounds, answeredRounds[message.receiver]) + 1;
      traffic.calls.push_back({message.receiver, message.member, round});
      asked[message.sender + ' ' + std::to_string(message.serial)] = {message.receiver, round};
    } else if (message.kind == BusMessage::Kind::answer && asker.contains(message.receiver)) {
      const auto call = asked.find(message.receiver + ' ' + std::to_string(message.answeredSerial));
      if (call == asked.end()) continue;
      const auto& [peer, round] = call->second;
      std::size_t& answered = isDirectory(peer) ? directoryRounds : answeredRounds[peer];
      answered = std::max(answered, round);
      traffic.lastAnswerByPeer[peer] = message.moment;
    }
  }
  return traffic;
}

std::map<std::string, std::size_t> BusTraffic::callsByMember() const {
  std::map<std::string, std::size_t> count;
  for (const Call& call : calls)
    ++count[call.member];
  return count;
}

std::map<std::string, std::size_t> BusTraffic::roundsByPeer() const {
  std::map<std::string, std::size_t> rounds;
  for (const Call& call : calls)
    rounds[call.peer] = std::max(rounds[call.peer], call.round);
  return rounds;
}

}  // namespace tallyfox::testing
