#pragma once

/// What every HTTP client keeps to: one completion with the status as it came, or one transport error.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, HttpClientContract, TheBackend), where TheBackend is
/// default-constructible, brings a server of its own, and has
///   HttpClient& http();
///   std::string url(int status);   the server answers requests to this address with this status; with 302 it names
///                                  url(200) as the new location
///   std::string refusingUrl();     nobody listens there
///   std::string silentUrl();       takes requests and never answers
///   std::string brokenUrl();       answers with something that is not HTTP
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   void pass(Seconds duration);                 lets this much of the client's time pass
///   std::vector<HttpRequest> received();         what the server got so far: method, url, headers with lower-case
///                                                names, and body

#include <gtest/gtest.h>

#include <algorithm>
#include <expected>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "contract/Recorder.hpp"
#include "platform/HttpClient.hpp"

namespace tallyfox::contract {

template <typename Backend>
class HttpClientContract : public testing::Test {
 protected:
  std::unique_ptr<HttpExchange> put(const std::string& url, Seconds timeout = Seconds{8}) {
    const HttpRequest request{.method = "PUT",
                              .url = url,
                              .headers = {{"content-type", "application/json"}, {"authorization", "Bearer contract"}},
                              .body = "{\"client\":\"mac\",\"version\":1}",
                              .timeout = timeout};
    return backend.http().send(request, [seen = seen](const std::expected<HttpResponse, TransportError>& response) {
      if (response) return seen.add(std::to_string(response->status));
      seen.add(response.error().description.empty() ? "unexplained" : "error");
    });
  }
  bool sees(std::size_t count) {
    return backend.waitUntil([&] { return seen.size() >= count; });
  }

  Backend backend;
  Recorder<std::string> seen;
};

TYPED_TEST_SUITE_P(HttpClientContract);

TYPED_TEST_P(HttpClientContract, givesEveryStatusAsItCame) {
  std::vector<std::string> expected;
  for (const int status : {200, 204, 302, 401, 404, 410, 500, 503}) {
    const auto exchange = this->put(this->backend.url(status));
    expected.push_back(std::to_string(status));
    ASSERT_TRUE(this->sees(expected.size()));
  }
  EXPECT_EQ(this->seen.all(), expected);
  EXPECT_EQ(this->backend.received().size(), expected.size());
}

TYPED_TEST_P(HttpClientContract, sendsMethodHeadersAndBody) {
  const auto exchange = this->put(this->backend.url(204));
  ASSERT_TRUE(this->sees(1));
  ASSERT_EQ(this->backend.received().size(), 1U);
  const HttpRequest received = this->backend.received().front();
  const auto has = [&](const std::string& name, const std::string& value) {
    return std::ranges::count(received.headers, std::pair(name, value)) == 1;
  };
  EXPECT_EQ(received.method, "PUT");
  EXPECT_EQ(received.url, this->backend.url(204));
  EXPECT_TRUE(has("content-type", "application/json"));
  EXPECT_TRUE(has("authorization", "Bearer contract"));
  EXPECT_EQ(received.body, "{\"client\":\"mac\",\"version\":1}");
}

TYPED_TEST_P(HttpClientContract, failsWhenNobodyListens) {
  const auto exchange = this->put(this->backend.refusingUrl());
  EXPECT_TRUE(this->sees(1));
  EXPECT_EQ(this->seen.all(), std::vector<std::string>{"error"});
}

TYPED_TEST_P(HttpClientContract, failsOnAnAnswerThatIsNotHttp) {
  const auto exchange = this->put(this->backend.brokenUrl());
  EXPECT_TRUE(this->sees(1));
  EXPECT_EQ(this->seen.all(), std::vector<std::string>{"error"});
}

TYPED_TEST_P(HttpClientContract, failsOnceWhenTheTimeIsOver) {
  const auto exchange = this->put(this->backend.silentUrl(), Seconds{0.2});
  this->backend.pass(Seconds{0.05});
  EXPECT_EQ(this->seen.size(), 0U);
  EXPECT_TRUE(this->sees(1));
  this->backend.pass(Seconds{0.3});
  EXPECT_EQ(this->seen.all(), std::vector<std::string>{"error"});
}

TYPED_TEST_P(HttpClientContract, isSilentOnceAbandoned) {
  auto exchange = this->put(this->backend.silentUrl(), Seconds{0.1});
  exchange.reset();
  auto answered = this->put(this->backend.url(200));
  answered.reset();
  const std::size_t before = this->seen.size();
  this->backend.pass(Seconds{0.3});
  EXPECT_EQ(this->seen.size(), before);
}

TYPED_TEST_P(HttpClientContract, keepsSeveralRequestsApart) {
  const auto waiting = this->put(this->backend.silentUrl(), Seconds{1});
  const auto answered = this->put(this->backend.url(204));
  EXPECT_TRUE(this->sees(1));
  EXPECT_EQ(this->seen.all(), std::vector<std::string>{"204"});
  EXPECT_TRUE(this->sees(2));
  EXPECT_EQ(this->seen.all(), (std::vector<std::string>{"204", "error"}));
}

REGISTER_TYPED_TEST_SUITE_P(HttpClientContract, givesEveryStatusAsItCame, sendsMethodHeadersAndBody,
                            failsWhenNobodyListens, failsOnAnAnswerThatIsNotHttp, failsOnceWhenTheTimeIsOver,
                            isSilentOnceAbandoned, keepsSeveralRequestsApart);

}  // namespace tallyfox::contract
