// Any text as a relay address: what parses is written as text that parses to the same parts, and the address of the
// relay's HTTP side is one with nothing behind its authority.

#include <cstddef>
#include <cstdint>

#include "base/Bytes.hpp"
#include "base/Require.hpp"
#include "base/Url.hpp"
#include "model/RelayAddress.hpp"

namespace tallyfox {
namespace {

void checkBaseURL(const Url& url, std::string_view text) {
  const auto base = backendBaseURL(text);
  if (!base || !url.host) return;
  const auto parsed = Url::parsed(*base);
  require(parsed.has_value(), "a base address parses");
  require(parsed->scheme == (url.scheme == "wss" ? "https" : "http"), "only a secure relay has a secure base");
  require(parsed->user == url.user && parsed->host == url.host && parsed->port == url.port,
          "a base address keeps its authority");
  require(parsed->path.empty() && !parsed->query && !parsed->fragment, "a base address ends with its authority");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf({data, size});
  const auto url = Url::parsed(text);
  if (!url) {
    require(!backendBaseURL(text).has_value(), "what is no address has no base");
    return 0;
  }
  if (const auto written = url->text()) require(Url::parsed(*written) == url, "a written address has the same parts");
  require(!isAllowedRelayURL(*url) || url->host.has_value(), "a relay has a host");
  checkBaseURL(*url, text);
  return 0;
}

}  // namespace tallyfox
