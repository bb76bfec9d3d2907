#include "scenes/InstalledAgent.hpp"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tallyfox::bench {
namespace {

constexpr Seconds startPatience{30};

std::filesystem::path installBelow(const std::filesystem::path& home) {
  namespace fs = std::filesystem;
  const fs::path prefix = home / ".local";
  for (const char* folder : {"bin", "share/applications", "share/tallyfox"})
    fs::create_directories(prefix / folder);
  const fs::path program = prefix / "bin/tallyfox";
  fs::copy_file(TALLYFOX_AGENT, program);
  fs::copy_file(TALLYFOX_DESKTOP_ENTRY, prefix / "share/applications/com.tallyfox.agent.desktop");
  return program;
}

std::string firstLineOf(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

/// A number from a file of lines like "name: number".
std::uint64_t numberIn(const std::filesystem::path& path, const std::string& name) {
  std::ifstream file(path);
  std::string word;
  while (file >> word) {
    std::uint64_t number = 0;
    if (word == name + ":" && file >> number) return number;
  }
  throw std::runtime_error("no " + name + " in " + path.string());
}

}  // namespace

InstalledAgent::InstalledAgent(const testing::DesktopSession& session) {
  const std::filesystem::path home = session.directory() / "home";
  const std::string data = (session.directory() / "relay").string();
  const std::vector<std::string> relay = {TALLYFOX_RELAY, "--data", data, "--listen", "127.0.0.1:0"};
  relay_ = std::make_unique<Program>(session, relay);
  const std::string listening = relay_->await("listening on", startPatience);
  const std::size_t colon = listening.rfind(':');
  const std::string port = listening.substr(colon + 1, listening.rfind('.') - colon - 1);

  const std::vector<std::string> environment = {"TALLYFOX_RELAY_URL=ws://127.0.0.1:" + port + "/agent",
                                                "TALLYFOX_PAIRING_ID=bench"};
  const std::vector<std::string> agent = {installBelow(home).string()};
  agent_ = std::make_unique<Program>(session, agent, false, environment);
  (void)agent_->await("Tallyfox relay connected.", startPatience);
}

double InstalledAgent::processorMilliseconds() const {
  clockid_t clock{};
  timespec used{};
  if (clock_getcpuclockid(pid(), &clock) != 0 || clock_gettime(clock, &used) != 0)
    throw std::runtime_error("the agent is gone");
  return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

std::map<std::string, std::uint64_t> InstalledAgent::waits() const {
  std::map<std::string, std::uint64_t> waits;
  const std::filesystem::path tasks = "/proc/" + std::to_string(pid()) + "/task";
  for (const auto& task : std::filesystem::directory_iterator(tasks)) {
    const std::string name = firstLineOf(task.path() / "comm") + " " + task.path().filename().string();
    waits[name] = numberIn(task.path() / "status", "voluntary_ctxt_switches");
  }
  return waits;
}

}  // namespace tallyfox::bench
