#include "scenes/Program.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <sstream>
#include <stdexcept>

namespace tallyfox::bench {
namespace {

/// A first walk of a desktop with large windows takes seconds.
constexpr Seconds peerPatience{60};

}  // namespace

Program::Program(const testing::DesktopSession& session, const std::vector<std::string>& command, bool input,
                 const std::vector<std::string>& moreEnvironment) {
  std::vector<std::string> whole = command;
  if (input) {
    static std::atomic<int> number = 0;
    const std::string path = (session.directory() / ("input-" + std::to_string(++number))).string();
    if (mkfifo(path.c_str(), S_IRUSR | S_IWUSR) != 0) throw std::runtime_error("no pipe to " + command.front());
    // Open for both, so that neither side waits for the other.
    input_ = open(path.c_str(), O_RDWR | O_CLOEXEC);
    whole.insert(whole.begin(), {"sh", "-c", "exec \"$@\" <\"$0\"", path});
  }
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe from " + command.front());
  output_ = ends[0];
  std::vector<std::string> environment = session.environment();
  environment.insert(environment.end(), moreEnvironment.begin(), moreEnvironment.end());
  process_ = std::make_unique<testing::DesktopProcess>(whole, environment, ends[1]);
  close(ends[1]);
}

Program::~Program() {
  process_.reset();
  if (input_ >= 0) close(input_);
  close(output_);
}

void Program::send(const std::string& line) const {
  const std::string whole = line + "\n";
  if (write(input_, whole.data(), whole.size()) != static_cast<ssize_t>(whole.size()))
    throw std::runtime_error("a program does not listen");
}

std::optional<std::string> Program::nextLine(Seconds atMost) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(atMost);
  while (read_.find('\n') == std::string::npos) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd waiting{output_, POLLIN, 0};
    if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0) return std::nullopt;
    char buffer[4096];
    const ssize_t count = read(output_, buffer, sizeof(buffer));
    if (count <= 0) return std::nullopt;
    read_.append(buffer, static_cast<std::size_t>(count));
  }
  const std::size_t end = read_.find('\n');
  std::string line = read_.substr(0, end);
  read_.erase(0, end + 1);
  return line;
}

std::string Program::await(const std::string& text, Seconds atMost) {
  while (const auto line = nextLine(atMost)) {
    if (line->find(text) != std::string::npos) return *line;
  }
  throw std::runtime_error("a program never said \"" + text + "\"");
}

Peer::Scan Peer::scan() {
  program_.send("scan");
  const auto line = program_.nextLine(peerPatience);
  Scan scan;
  std::istringstream words(line.value_or(""));
  words.imbue(std::locale::classic());
  words >> scan.windows >> scan.elements >> scan.cost.milliseconds >> scan.cost.processorMilliseconds;
  if (!words) throw std::runtime_error("a peer did not answer");
  return scan;
}

}  // namespace tallyfox::bench
