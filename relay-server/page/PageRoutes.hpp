#pragma once

#include <boost/beast/core/span.hpp>
#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/span_body.hpp>
#include <optional>

#include "page/PageFiles.hpp"

namespace tallyfox::server {

/// Its body is a view of the page's files.
using PageResponse = boost::beast::http::response<boost::beast::http::span_body<const char>>;

/// What requests for the phone page get; knows no sockets.
class PageRoutes {
 public:
  /// Must not outlive the files. `strictTransport` when browsers reach this relay by its own TLS: they are then told to
  /// use nothing else.
  PageRoutes(const PageFiles& files, bool strictTransport) : files_(files), strictTransport_(strictTransport) {}

  /// Absent when the page has no such path. Complete: with its length, and good for a connection that is kept.
  [[nodiscard]] std::optional<PageResponse> answer(const boost::beast::http::request_header<>& request) const;

 private:
  const PageFiles& files_;
  bool strictTransport_;
};

}  // namespace tallyfox::server
