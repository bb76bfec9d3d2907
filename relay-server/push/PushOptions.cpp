#include "push/PushOptions.hpp"

#include <algorithm>

#include "base/Url.hpp"

namespace tallyfox::server {

bool PushOptions::isContact(std::string_view text) {
  const auto url = Url::parsed(text);
  if (!url || text.size() > 256) return false;
  if (url->scheme == "https") return url->host.has_value();
  if (url->scheme != "mailto" || url->host) return false;
  const auto at = url->path.find('@');
  return at != std::string::npos && at > 0 && at + 1 < url->path.size();
}

}  // namespace tallyfox::server
