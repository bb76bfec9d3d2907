#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tallyfox::server {

/// One file as it is sent.
struct PageFile {
  std::string_view contentType;
  std::string_view cacheControl;
  std::string body;
  std::string entityTag;        ///< strong, in quotation marks
  std::string gzipBody;         ///< empty when compressing gains too little
  std::string gzipEntityTag{};  ///< of the compressed form, which is another sequence of bytes
};

/// Every file of the phone page, read once and kept in memory: what is sent cannot change, fail or lead elsewhere while
/// the relay runs.
class PageFiles {
 public:
  struct Limits {
    std::size_t fileBytes = 4U * 1024U * 1024U;
    std::size_t totalBytes = 16U * 1024U * 1024U;
    std::size_t files = 1024;
  };

  PageFiles() = default;
  /// All files in and below the directory; hidden ones are left out. A symbolic link that leads out of it, anything
  /// that is no file, a name with other characters than `A-Z a-z 0-9 . _ -`, and a directory without index.html are
  /// errors, of one line.
  [[nodiscard]] static std::expected<PageFiles, std::string> read(const std::filesystem::path& directory,
                                                                  const Limits& limits);

  /// `path` begins with a slash. One that is already there is replaced.
  void add(std::string path, std::string body);
  /// The file at exactly this path; null when there is none. `/` is the index.
  [[nodiscard]] const PageFile* find(std::string_view path) const;

 private:
  std::map<std::string, PageFile, std::less<>> files_;
};

}  // namespace tallyfox::server
