// Any text as the headers by which proxies name their clients: only listed proxies are believed, none of them is taken
// for a client, and what a client wrote before the proxies did changes nothing. A first line is X-Forwarded-For, a
// second one Forwarded.

#include <array>
#include <boost/asio/ip/address.hpp>
#include <boost/beast/http/fields.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ForwardedClient.hpp"
#include "base/Require.hpp"

namespace tallyfox::server {
namespace {

using boost::asio::ip::address;
using boost::asio::ip::make_address;

const std::string customary = "X-Forwarded-For";
const std::string standard = "Forwarded";

address clientOf(const std::string& first, const std::string& second, const address& peer) {
  static const std::array proxies{*Network::parsed("10.0.0.0/8"), *Network::parsed("2001:db8::/32")};
  boost::beast::http::fields fields;
  if (!first.empty()) fields.insert(customary, first);
  if (!second.empty()) fields.insert(standard, second);
  const address client = forwardedClient(peer, fields, proxies);
  require(client == peer || !isListed(proxies, client), "no proxy is a client");
  return client;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto proxy = make_address("10.1.2.3");
  static const auto stranger = make_address("192.0.2.7");
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::size_t end = text.find('\n');
  const std::string first = text.substr(0, end);
  const std::string second = end == std::string::npos ? "" : text.substr(end + 1);
  require(clientOf(first, second, stranger) == stranger, "a stranger speaks for itself");
  static_cast<void>(clientOf(first, second, proxy));
  for (const std::string invented : {"198.51.100.1, ", "for=198.51.100.1, ", "\", ", "x=\"\\, "}) {
    const address byCustom = clientOf(first, "", proxy);
    if (byCustom != proxy) require(clientOf(invented + first, "", proxy) == byCustom, "proxies have the last word");
    const address byStandard = clientOf("", second, proxy);
    if (byStandard != proxy)
      require(clientOf("", invented + second, proxy) == byStandard, "proxies have the last word");
  }
  return 0;
}

}  // namespace tallyfox::server
