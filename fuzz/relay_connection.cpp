// Any bytes on a connection to a whole relay, then the end of them: at most one HTTP answer of a kind that the relay
// has, after an upgrade nothing but frames that a server may send, and an end.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzedRelay.hpp"
#include "RawClient.hpp"

namespace tallyfox::server {
namespace {

/// 500 is not among them: nothing is wrong with the database.
constexpr std::array<std::string_view, 14> statuses{"101", "200", "204", "400", "401", "403", "404",
                                                    "405", "410", "413", "426", "431", "503", "505"};

void checkHead(const std::string& answer) {
  require(answer.starts_with("HTTP/1.1 "), "an answer is HTTP");
  require(std::ranges::find(statuses, std::string_view(answer).substr(9, 3)) != statuses.end(),
          "a status that the relay has");
  require(answer.contains("\r\n\r\n"), "an answer is whole");
  require(!answer.contains(fuzzedToken), "an answer tells no token");
}

/// Only the asker knows that no content follows, whatever length the head tells.
void checkAnswerWithoutContent(const std::string& answer) {
  if (answer.empty()) return;
  checkHead(answer);
  const bool isRefusal = answer.starts_with("HTTP/1.1 4") || answer.starts_with("HTTP/1.1 5");
  require(isRefusal || answer.ends_with("\r\n\r\n"), "an answer to HEAD has no content");
}

void checkUpgrade(std::string_view request, const std::string& answer, const std::string& events) {
  require(request.contains("13") && answer.contains("\r\nSec-WebSocket-Accept: "), "who asked for it is upgraded");
  for (const std::string_view wrong : {"breach", "silence"})
    require(!events.contains(wrong), "a server's frames, and an end");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  conformance::RawClient client(fuzzedRelay().port(), fuzzedRelay().nextSource());
  client.send(bytes.substr(0, bytes.find('\xFF')));
  // What follows the first such byte comes after the answer, as a client's frames do.
  const std::size_t later = bytes.find('\xFF');
  if (later == std::string_view::npos) client.finishSending();
  if (bytes.starts_with("HEAD ")) {
    client.finishSending();
    checkAnswerWithoutContent(client.everything());
    return 0;
  }
  std::string answer;
  if (later != std::string_view::npos && bytes.substr(0, later).ends_with("\r\n\r\n")) answer = client.httpAnswer();
  if (later != std::string_view::npos) client.send(bytes.substr(later + 1));
  client.finishSending();
  if (answer.empty()) answer = client.httpAnswer();
  if (!answer.empty()) checkHead(answer);
  const std::string events = client.rest();
  if (answer.starts_with("HTTP/1.1 101")) {
    checkUpgrade(bytes, answer, events);
  } else {
    require(events == "end\n" || events == "reset\n", "nothing follows an answer");
  }
  client.reset();
  return 0;
}

}  // namespace tallyfox::server
