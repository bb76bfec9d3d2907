#include "model/RelayAddress.hpp"

namespace tallyfox {

std::optional<std::string> backendBaseURL(std::string_view relayURL) {
  auto url = Url::parsed(relayURL);
  if (!url) return std::nullopt;
  url->scheme = url->scheme == "wss" ? "https" : "http";
  url->path.clear();
  url->query.reset();
  url->fragment.reset();
  auto text = url->text();
  if (!text) return std::nullopt;
  const auto first = text->find_first_not_of('/');
  const auto last = text->find_last_not_of('/');
  return first == std::string::npos ? std::string() : text->substr(first, last - first + 1);
}

bool isAllowedRelayURL(const Url& url) {
  if (!url.host) return false;
  if (url.scheme == "wss") return true;
  return url.scheme == "ws" && (url.host == "localhost" || url.host == "127.0.0.1" || url.host == "::1");
}

}  // namespace tallyfox
