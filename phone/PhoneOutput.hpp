#pragma once

#include <string>
#include <vector>

#include "base/Console.hpp"
#include "base/Json.hpp"
#include "base/Queue.hpp"
#include "phone/PhoneConnection.hpp"

namespace tallyfox::phone {

/// How this phone speaks to its owner: lines for people, or one JSON object a line with the moment `at`. Errors for
/// people go to a console of their own.
class PhoneOutput {
 public:
  PhoneOutput(Console& lines, Console& errors, Clock& clock, bool json)
      : lines_(lines), errors_(errors), clock_(clock), json_(json) {}

  void approvals(const PhoneSnapshot& snapshot);
  void result(const PhoneResult& result);
  void undeliverable(const std::string& decisionID);
  /// `state` is one word for programs ("connected"), `text` the line for people.
  void state(const std::string& state, const std::string& text, const Json& details = Json::object());
  void error(const std::string& text);

 private:
  void event(const std::string& name, const Json& details);

  Console& lines_;
  Console& errors_;
  Clock& clock_;
  bool json_;
};

/// 2026-03-14T09:26:53.589Z
[[nodiscard]] std::string millisecondTimestamp(Date date);
/// "just now", "12 s ago", "3 min ago", "2 h ago", "5 days ago".
[[nodiscard]] std::string ageText(Date since, Date now);
/// The list for people, line by line.
[[nodiscard]] std::vector<std::string> approvalLines(const PhoneSnapshot& snapshot, Date now);
/// How much of its identifier names each approval of the list, at least 8 characters.
[[nodiscard]] std::size_t shortIDLength(const std::vector<PendingApproval>& approvals);

}  // namespace tallyfox::phone
