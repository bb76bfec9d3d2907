// Requests for the phone page, without sockets: forms, marks and the headers that keep the page to itself.
#include "page/PageRoutes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;
using ::testing::HasSubstr;

/// Made by the library that browsers use, not by ours.
std::string unpacked(boost::beast::span<const char> packed) {
  std::string text(100'000, '\0');
  z_stream stream{};
  EXPECT_EQ(inflateInit2(&stream, 15 + 16), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
  text.resize(stream.total_out);
  inflateEnd(&stream);
  return text;
}

class PageRoutesTest : public ::testing::Test {
 protected:
  PageRoutesTest() {
    files.add("/index.html", "<!doctype html>");
    files.add("/assets/main.js", script);
  }
  [[nodiscard]] std::optional<PageResponse> asked(
      http::verb method, const std::string& target,
      const std::vector<std::pair<std::string, std::string>>& headers = {}) const {
    http::request_header<> request;
    request.method(method);
    request.target(target);
    for (const auto& [name, value] : headers)
      request.insert(name, value);
    return routes.answer(request);
  }
  [[nodiscard]] PageResponse got(const std::string& target,
                                 const std::vector<std::pair<std::string, std::string>>& headers = {}) const {
    auto response = asked(http::verb::get, target, headers);
    if (!response) throw std::runtime_error("no such path");
    return std::move(*response);
  }
  static std::string bodyOf(const PageResponse& response) { return {response.body().data(), response.body().size()}; }

  std::string script = std::string(5000, ' ') + "let x;";
  PageFiles files;
  PageRoutes routes{files, false};
};

TEST_F(PageRoutesTest, sendAFileWithItsTypeAndLength) {
  const PageResponse index = got("/");
  EXPECT_EQ(index.result(), http::status::ok);
  EXPECT_EQ(bodyOf(index), "<!doctype html>");
  EXPECT_EQ(index[http::field::content_type], "text/html; charset=utf-8");
  EXPECT_EQ(index[http::field::content_length], "15");
  EXPECT_EQ(index[http::field::cache_control], "no-cache");
  EXPECT_EQ(index.count(http::field::vary), 0U) << "it has one form only";
}

TEST_F(PageRoutesTest, lookAtThePathAlone) {
  EXPECT_EQ(bodyOf(got("/?utm=1")), "<!doctype html>");
  EXPECT_EQ(asked(http::verb::get, "/other"), std::nullopt);
  EXPECT_EQ(asked(http::verb::get, "*"), std::nullopt);
  EXPECT_EQ(asked(http::verb::get, "http://relay/index.html"), std::nullopt);
}

TEST_F(PageRoutesTest, answerHeadWithoutABody) {
  const auto head = asked(http::verb::head, "/");
  ASSERT_TRUE(head);
  EXPECT_EQ(bodyOf(*head), "");
  EXPECT_EQ((*head)[http::field::content_length], "15");
  EXPECT_EQ((*head)[http::field::etag], got("/")[http::field::etag]);
}

TEST_F(PageRoutesTest, refuseOtherMethods) {
  for (const auto method : {http::verb::post, http::verb::put, http::verb::options, http::verb::delete_}) {
    const auto refused = asked(method, "/");
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->result(), http::status::method_not_allowed);
    EXPECT_EQ((*refused)[http::field::allow], "GET, HEAD");
    EXPECT_EQ((*refused)[http::field::content_length], "0");
  }
}

TEST_F(PageRoutesTest, compressForThoseWhoAcceptIt) {
  for (const char* accepted : {"gzip", "deflate, gzip;q=0.5, br", "GZIP", "br , gzip"}) {
    const PageResponse response = got("/assets/main.js", {{"Accept-Encoding", accepted}});
    EXPECT_EQ(response[http::field::content_encoding], "gzip") << accepted;
    EXPECT_EQ(response[http::field::content_length], std::to_string(response.body().size()));
    EXPECT_EQ(response[http::field::vary], "Accept-Encoding");
    EXPECT_EQ(unpacked(response.body()), script);
  }
  for (const char* accepted : {"", "br", "gzip;q=0", "gzip; q=0.000", "gzipped", "identity"}) {
    const PageResponse response = got("/assets/main.js", {{"Accept-Encoding", accepted}});
    EXPECT_EQ(response.count(http::field::content_encoding), 0U) << accepted;
    EXPECT_EQ(response[http::field::vary], "Accept-Encoding");
    EXPECT_EQ(bodyOf(response), script);
  }
  EXPECT_EQ(got("/", {{"Accept-Encoding", "gzip"}}).count(http::field::content_encoding), 0U) << "too short to gain";
}

TEST_F(PageRoutesTest, sayThatTheClientHasItAlready) {
  const std::string tag(got("/assets/main.js")[http::field::etag]);
  const std::string other = "\"0123456789abcdef\"";
  for (const std::string& held : {tag, "W/" + tag, other + ", " + tag, std::string("*"), "," + tag + " ,"}) {
    const PageResponse response = got("/assets/main.js", {{"If-None-Match", held}});
    EXPECT_EQ(response.result(), http::status::not_modified) << held;
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_EQ(response.count(http::field::content_length), 0U);
    EXPECT_EQ(response[http::field::etag], tag);
    EXPECT_EQ(response[http::field::cache_control], "public, max-age=31536000, immutable");
  }
  for (const std::string& held : {other, tag.substr(1), std::string("W/"), std::string(",")})
    EXPECT_EQ(got("/assets/main.js", {{"If-None-Match", held}}).result(), http::status::ok) << held;
  const PageResponse compressed = got("/assets/main.js", {{"If-None-Match", tag}, {"Accept-Encoding", "gzip"}});
  EXPECT_EQ(compressed.result(), http::status::ok) << "the compressed form is another one";
  EXPECT_EQ(got("/assets/main.js", {{"If-None-Match", other}, {"If-None-Match", tag}}).result(),
            http::status::not_modified);
}

TEST_F(PageRoutesTest, keepThePageToItselfInEveryAnswer) {
  const std::string tag(got("/")[http::field::etag]);
  for (const auto& response : {got("/"), got("/assets/main.js", {{"Accept-Encoding", "gzip"}}),
                               got("/", {{"If-None-Match", tag}}), *asked(http::verb::post, "/")}) {
    const std::string policy(response["Content-Security-Policy"]);
    for (const char* part : {"default-src 'none'; ", "script-src 'self'; ", "frame-ancestors 'none'; ",
                             "connect-src 'self'; ", "require-trusted-types-for 'script'"})
      EXPECT_THAT(policy, HasSubstr(part));
    EXPECT_EQ(response["X-Content-Type-Options"], "nosniff");
    EXPECT_EQ(response["Referrer-Policy"], "no-referrer");
    EXPECT_THAT(std::string(response["Permissions-Policy"]), HasSubstr("camera=(self), microphone=()"));
    EXPECT_EQ(response["Cross-Origin-Opener-Policy"], "same-origin");
    EXPECT_EQ(response["Cross-Origin-Resource-Policy"], "same-origin");
    EXPECT_EQ(response.count(http::field::strict_transport_security), 0U);
  }
}

TEST_F(PageRoutesTest, forbidUnencryptedConnectionsOnlyWhereTheRelayEncryptsItself) {
  http::request_header<> request;
  request.method(http::verb::get);
  request.target("/");
  EXPECT_EQ((*PageRoutes(files, true).answer(request))[http::field::strict_transport_security], "max-age=31536000");
}

}  // namespace
}  // namespace tallyfox::server
