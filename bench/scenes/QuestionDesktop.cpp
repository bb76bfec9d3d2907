#include <algorithm>
#include <stdexcept>

#include "scenes/Scenes.hpp"

namespace tallyfox::bench {

QuestionDesktop::QuestionDesktop() {
  for (std::size_t number = 0; number < questions; ++number) {
    const std::string item = std::to_string(number);
    start({"zenity", "--question", "--title", "Question " + item, "--text", "Delete file " + item + "?"});
  }
  const bool areUp =
      testing::DesktopSession::waitUntil([this] { return questionsIn(scanner.scan()) == questions; }, Seconds(60));
  if (!areUp) throw std::runtime_error("not every question was found");
}

testing::DesktopProcess& QuestionDesktop::start(const std::vector<std::string>& command,
                                                const std::vector<std::string>& moreEnvironment) {
  programs.push_back(session.start(command, moreEnvironment));
  return *programs.back();
}

std::size_t QuestionDesktop::questionsIn(const std::vector<PendingApproval>& approvals) {
  return static_cast<std::size_t>(std::ranges::count_if(
      approvals, [](const PendingApproval& approval) { return approval.windowTitle.starts_with("Question "); }));
}

}  // namespace tallyfox::bench
