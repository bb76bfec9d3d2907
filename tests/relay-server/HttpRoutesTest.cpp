// Plain HTTP requests, without sockets: every status, and what does not change the database.
#include "HttpRoutes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
namespace {

using testing::awaited;
namespace http = boost::beast::http;
constexpr const char* goodBody = R"({"client":"mac","version":1})";

class HttpRoutesTest : public ::testing::Test {
 protected:
  HttpResponse answer(http::verb method, const std::string& target, const std::string& authorization = "",
                      const std::string& body = "") {
    HttpRequest request(method, target, 11);
    if (!authorization.empty()) request.set(http::field::authorization, authorization);
    request.body() = body;
    return awaited(routes.answer(request));
  }
  HttpStatus put(const std::string& pairingID, const std::string& authorization, const std::string& body = goodBody) {
    return answer(http::verb::put, "/api/pairings/" + pairingID + "/relay-token", authorization, body).result();
  }

  HttpStatus get(const std::string& pairingID, const std::string& authorization) {
    return answer(http::verb::get, "/api/pairings/" + pairingID + "/relay-token", authorization).result();
  }

  testing::TemporaryDirectory directory;
  testing::RecordedConsole console;
  RelayLog log{console};
  SqlitePairingStore store = testing::openedStore(directory.path());
  PairingAccess access{store, log};
  HttpRoutes routes{access};
};

TEST_F(HttpRoutesTest, registersATokenOnceAndAgain) {
  EXPECT_EQ(put("P1", "Bearer token"), HttpStatus::no_content);
  EXPECT_EQ(put("P1", "Bearer token"), HttpStatus::no_content);
  EXPECT_EQ(put("P1", "bearer token"), HttpStatus::no_content);
}

TEST_F(HttpRoutesTest, refusesAMissingOrOtherToken) {
  ASSERT_EQ(put("P1", "Bearer token"), HttpStatus::no_content);
  for (const char* authorization : {"", "Bearer other", "Bearer ", "Bearer", "Basic token", "token", "Bearer  token"}) {
    EXPECT_EQ(put("P1", authorization), HttpStatus::unauthorized) << authorization;
  }
}

TEST_F(HttpRoutesTest, saysGoneForARevokedPairing) {
  ASSERT_EQ(put("P1", "Bearer token"), HttpStatus::no_content);
  ASSERT_TRUE(awaited(store.revokePairing("P1")));
  EXPECT_EQ(put("P1", "Bearer token"), HttpStatus::gone);
}

TEST_F(HttpRoutesTest, refusesBadPairingIds) {
  for (const std::string& id :
       {std::string(), std::string("a%20b"), std::string("a.b"), std::string("a b"), std::string(129, 'a')}) {
    EXPECT_EQ(put(id, "Bearer token"), HttpStatus::bad_request) << id;
  }
  EXPECT_EQ(put(std::string(128, 'a'), "Bearer token"), HttpStatus::no_content);
}

TEST_F(HttpRoutesTest, refusesBadBodiesAndStoresNothing) {
  for (const char* body : {"", "{}", "[]", "{", R"({"client":"mac"})", R"({"client":"mac","version":2})",
                           R"({"client":"phone","version":1})", R"({"client":1,"version":1})"}) {
    EXPECT_EQ(put("P1", "Bearer token", body), HttpStatus::bad_request) << body;
  }
  EXPECT_EQ(awaited(store.pairing("P1")).value(), std::nullopt);
}

TEST_F(HttpRoutesTest, tellsHowAPairingStandsWithoutRegisteringIt) {
  EXPECT_EQ(get("P1", "Bearer token"), HttpStatus::unauthorized) << "not registered";
  EXPECT_EQ(awaited(store.pairing("P1")).value(), std::nullopt) << "and still not";
  ASSERT_EQ(put("P1", "Bearer token"), HttpStatus::no_content);
  EXPECT_EQ(get("P1", "Bearer token"), HttpStatus::no_content);
  EXPECT_EQ(get("P1", "Bearer other"), HttpStatus::unauthorized);
  EXPECT_EQ(get("P1", ""), HttpStatus::unauthorized);
  EXPECT_EQ(get("a.b", "Bearer token"), HttpStatus::bad_request);
  ASSERT_TRUE(awaited(store.revokePairing("P1")));
  EXPECT_EQ(get("P1", "Bearer token"), HttpStatus::gone);
  EXPECT_EQ(get("P1", "Bearer other"), HttpStatus::unauthorized) << "who does not know the token learns nothing";
}

TEST_F(HttpRoutesTest, answersOtherMethodsWith405AndTheAllowedOnes) {
  for (const http::verb method : {http::verb::post, http::verb::delete_, http::verb::head}) {
    const HttpResponse response = answer(method, "/api/pairings/P1/relay-token", "Bearer token", goodBody);
    EXPECT_EQ(response.result(), HttpStatus::method_not_allowed);
    EXPECT_EQ(response[http::field::allow], "GET, PUT");
  }
  EXPECT_EQ(answer(http::verb::post, "/healthz").result(), HttpStatus::method_not_allowed);
}

TEST_F(HttpRoutesTest, answersOtherPathsWith404) {
  for (const char* path : {"/", "/phone", "/api/pairings/P1", "/api/pairings/P1/relay-token/", "/healthz/",
                           "/api/pairings/P1/x/relay-token", "/api/pairings/relay-token", "*", ""}) {
    EXPECT_EQ(answer(http::verb::get, path).result(), HttpStatus::not_found) << path;
  }
}

TEST_F(HttpRoutesTest, isHealthy) {
  const HttpResponse response = answer(http::verb::get, "/healthz?from=probe");
  EXPECT_EQ(response.result(), HttpStatus::ok);
  EXPECT_EQ(response.body(), "ok\n");
}

}  // namespace
}  // namespace tallyfox::server
