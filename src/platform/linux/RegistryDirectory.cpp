#include "platform/linux/RegistryDirectory.hpp"

#include <utility>

#include "platform/linux/AtspiReplies.hpp"

namespace tallyfox::linux_os {
namespace {

const AtspiReference registryRoot{.busName = atspiRegistryName, .path = std::string(atspiRootPath)};
const AtspiReference messageBus{.busName = "org.freedesktop.DBus", .path = "/org/freedesktop/DBus"};

}  // namespace

void RegistryDirectory::learnProcesses(const std::vector<std::string>& busNames, AtspiBus& bus) {
  for (const std::string& name : busNames) {
    bus.send({messageBus, "org.freedesktop.DBus", "GetConnectionUnixProcessID", {name}}, [this, name](auto answer) {
      if (const auto pid = reply::unsignedNumber(answer)) processes_[name] = static_cast<std::int32_t>(*pid);
    });
  }
  bus.run();
}

void RegistryDirectory::refresh(AtspiBus& bus) {
  std::vector<AtspiReference> roots;
  bus.send({registryRoot, "org.a11y.atspi.Accessible", "GetChildren", {}}, [&roots](auto answer) {
    if (auto children = reply::references(answer)) roots = std::move(*children);
  });
  bus.run();

  std::vector<std::string> unknown;
  std::unordered_map<std::string, std::int32_t> stillThere;
  for (const AtspiReference& root : roots) {
    const auto known = processes_.find(root.busName);
    if (known == processes_.end()) {
      unknown.push_back(root.busName);
    } else {
      stillThere.insert(*known);
    }
  }
  processes_ = std::move(stillThere);
  learnProcesses(unknown, bus);

  rootsByProcess_.clear();
  for (AtspiReference& root : roots) {
    const auto process = processes_.find(root.busName);
    if (process != processes_.end()) rootsByProcess_[process->second].push_back(std::move(root));
  }
}

const std::vector<AtspiReference>& RegistryDirectory::rootsOf(std::int32_t processIdentifier, AtspiBus& bus) {
  if (!isFrozen_ && !rootsByProcess_.contains(processIdentifier)) refresh(bus);
  return knownRootsOf(processIdentifier);
}

const std::vector<AtspiReference>& RegistryDirectory::knownRootsOf(std::int32_t processIdentifier) const {
  static const std::vector<AtspiReference> none;
  const auto known = rootsByProcess_.find(processIdentifier);
  return known == rootsByProcess_.end() ? none : known->second;
}

std::int32_t RegistryDirectory::processOf(const std::string& busName, AtspiBus& bus) {
  if (!processes_.contains(busName)) learnProcesses({busName}, bus);
  const auto known = processes_.find(busName);
  return known == processes_.end() ? 0 : known->second;
}

}  // namespace tallyfox::linux_os
