#include "page/PageFiles.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "base/Crypto.hpp"
#include "base/Encoding.hpp"
#include "page/Gzip.hpp"

namespace tallyfox::server {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view indexPath = "/index.html";

/// By the end of the name. What is not here is sent as bytes, which no browser runs.
std::string_view contentTypeOf(std::string_view path) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 13> types{{
      {".css", "text/css; charset=utf-8"},
      {".html", "text/html; charset=utf-8"},
      {".ico", "image/x-icon"},
      {".jpg", "image/jpeg"},
      {".js", "text/javascript; charset=utf-8"},
      {".json", "application/json"},
      {".png", "image/png"},
      {".svg", "image/svg+xml"},
      {".txt", "text/plain; charset=utf-8"},
      {".wasm", "application/wasm"},
      {".webmanifest", "application/manifest+json"},
      {".webp", "image/webp"},
      {".woff2", "font/woff2"},
  }};
  const auto* const found = std::ranges::find_if(types, [&](const auto& type) { return path.ends_with(type.first); });
  return found == types.end() ? "application/octet-stream" : found->second;
}

/// The names below assets/ carry a hash of their content; what is at any other path may change with the next version.
std::string_view cacheControlOf(std::string_view path) {
  return path.starts_with("/assets/") ? "public, max-age=31536000, immutable" : "no-cache";
}

bool isPlainName(std::string_view name) {
  return std::ranges::all_of(name, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' ||
           c == '-';
  });
}

bool liesWithin(const fs::path& path, const fs::path& directory) {
  return std::ranges::mismatch(directory, path).in1 == directory.end();
}

std::optional<std::string> contentOf(const fs::path& path, std::size_t greatestBytes) {
  std::ifstream file(path, std::ios::binary);
  std::string content(greatestBytes + 1, '\0');
  file.read(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file.is_open() || file.bad()) return std::nullopt;
  content.resize(static_cast<std::size_t>(file.gcount()));
  content.shrink_to_fit();
  return content;
}

std::unexpected<std::string> fault(const fs::path& path, std::string_view what) {
  return std::unexpected(fmt::format("{} {}", path.string(), what));
}

/// Why this entry cannot be served, if so.
std::expected<void, std::string> examined(const fs::directory_entry& entry, const fs::path& root) {
  if (!isPlainName(entry.path().filename().string())) return fault(entry.path(), "has a name that is no plain path");
  std::error_code error;
  const fs::path target = fs::canonical(entry.path(), error);
  if (error) return fault(entry.path(), "cannot be read: " + error.message());
  if (!liesWithin(target, root)) return fault(entry.path(), "leads out of the page's directory");
  if (entry.is_directory(error) && entry.is_symlink(error)) return fault(entry.path(), "is a link to a directory");
  if (!entry.is_directory(error) && !entry.is_regular_file(error)) return fault(entry.path(), "is no file");
  return {};
}

}  // namespace

std::expected<PageFiles, std::string> PageFiles::read(const fs::path& directory, const Limits& limits) {
  std::error_code error;
  const fs::path root = fs::canonical(directory, error);
  if (error) return fault(directory, "cannot be read: " + error.message());
  PageFiles page;
  std::size_t totalBytes = 0;
  fs::recursive_directory_iterator entry(root, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (entry->path().filename().native().starts_with('.')) {
      entry.disable_recursion_pending();
      continue;
    }
    if (const auto good = examined(*entry, root); !good) return std::unexpected(good.error());
    if (entry->is_directory(error)) continue;
    auto content = contentOf(entry->path(), limits.fileBytes);
    if (!content) return fault(entry->path(), "cannot be read");
    if (content->size() > limits.fileBytes) return fault(entry->path(), "is too large");
    totalBytes += content->size();
    if (totalBytes > limits.totalBytes) return fault(directory, "holds too much");
    if (page.files_.size() >= limits.files) return fault(directory, "holds too many files");
    page.add(fmt::format("/{}", entry->path().lexically_relative(root).generic_string()), std::move(*content));
  }
  if (error) return fault(directory, "cannot be read: " + error.message());
  if (!page.find(indexPath)) return fault(directory, "has no index.html");
  return page;
}

void PageFiles::add(std::string path, std::string body) {
  const std::string hash = hexEncoded(sha256(bytesOf(body))).substr(0, 32);
  PageFile file{.contentType = contentTypeOf(path),
                .cacheControl = cacheControlOf(path),
                .body = std::move(body),
                .entityTag = fmt::format("\"{}\"", hash),
                .gzipBody = {}};
  // Below a tenth saved, the browser's work is not worth it; pictures and fonts are compressed already.
  std::string compressed = gzipCompressed(file.body);
  if (compressed.size() < file.body.size() / 10 * 9) {
    file.gzipBody = std::move(compressed);
    file.gzipEntityTag = fmt::format("\"{}-gzip\"", hash);
  }
  files_.insert_or_assign(std::move(path), std::move(file));
}

const PageFile* PageFiles::find(std::string_view path) const {
  const auto found = files_.find(path == "/" ? indexPath : path);
  return found == files_.end() ? nullptr : &found->second;
}

}  // namespace tallyfox::server
