// Reading the phone page: what is served under which name, and that nothing else can get in.
#include "page/PageFiles.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>

#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class PageFilesTest : public ::testing::Test {
 protected:
  PageFilesTest() { write("index.html", "<!doctype html>"); }
  void write(const std::string& name, const std::string& content) const {
    fs::create_directories((root / name).parent_path());
    std::ofstream(root / name, std::ios::binary) << content;
  }
  [[nodiscard]] PageFiles read() const {
    auto page = PageFiles::read(root, {});
    if (!page) throw std::runtime_error(page.error());
    return std::move(*page);
  }
  [[nodiscard]] std::string fault(const PageFiles::Limits& limits = {}) const {
    const auto page = PageFiles::read(root, limits);
    return page ? "none" : page.error();
  }

  testing::TemporaryDirectory directory;
  fs::path root = directory.path() / "page";
};

TEST_F(PageFilesTest, findsEachFileByItsExactPathAndTheIndexAtTheRoot) {
  write("assets/main-1a2B_3c.js", "let x;");
  const PageFiles page = read();
  ASSERT_NE(page.find("/"), nullptr);
  EXPECT_EQ(page.find("/"), page.find("/index.html"));
  EXPECT_EQ(page.find("/index.html")->body, "<!doctype html>");
  ASSERT_NE(page.find("/assets/main-1a2B_3c.js"), nullptr);
  for (const char* path : {"", "index.html", "/Index.html", "/assets", "/assets/", "//index.html", "/./index.html",
                           "/assets/../index.html", "/../page/index.html", "/assets/%6dain-1a2B_3c.js", "/index.html/"})
    EXPECT_EQ(page.find(path), nullptr) << path;
}

TEST_F(PageFilesTest, knowTheirTypesByTheirNames) {
  const std::vector<std::pair<std::string, std::string>> types{{"sw.js", "text/javascript; charset=utf-8"},
                                                               {"a.css", "text/css; charset=utf-8"},
                                                               {"a.webmanifest", "application/manifest+json"},
                                                               {"a.svg", "image/svg+xml"},
                                                               {"a.png", "image/png"},
                                                               {"a.json", "application/json"},
                                                               {"index.html", "text/html; charset=utf-8"},
                                                               {"strange.exe", "application/octet-stream"}};
  for (const auto& [name, type] : types)
    write(name, "x");
  const PageFiles page = read();
  for (const auto& [name, type] : types)
    EXPECT_EQ(page.find("/" + name)->contentType, type) << name;
}

TEST_F(PageFilesTest, mayBeKeptForGoodOnlyWhereTheNameChangesWithTheContent) {
  write("assets/a.js", "x");
  write("sw.js", "x");
  write("manifest.webmanifest", "{}");
  const PageFiles page = read();
  EXPECT_EQ(page.find("/assets/a.js")->cacheControl, "public, max-age=31536000, immutable");
  for (const char* path : {"/", "/sw.js", "/manifest.webmanifest"})
    EXPECT_EQ(page.find(path)->cacheControl, "no-cache") << path;
}

TEST_F(PageFilesTest, areTaggedByTheirContent) {
  write("a.txt", std::string(1000, 'x'));
  write("b.txt", std::string(1000, 'x'));
  write("c.txt", std::string(1000, 'y'));
  const PageFiles page = read();
  EXPECT_EQ(page.find("/a.txt")->entityTag, page.find("/b.txt")->entityTag);
  EXPECT_NE(page.find("/a.txt")->entityTag, page.find("/c.txt")->entityTag);
  EXPECT_NE(page.find("/a.txt")->entityTag, page.find("/a.txt")->gzipEntityTag);
}

TEST_F(PageFilesTest, areCompressedWhereThatGains) {
  write("long.js", std::string(1000, 'x'));
  write("short.js", "x");
  write("empty.js", "");
  const PageFiles page = read();
  EXPECT_THAT(page.find("/long.js")->gzipBody, ::testing::StartsWith("\x1f\x8b\x08"));
  EXPECT_LT(page.find("/long.js")->gzipBody.size(), 100U);
  EXPECT_EQ(page.find("/short.js")->gzipBody, "");
  EXPECT_EQ(page.find("/empty.js")->body, "");
}

TEST_F(PageFilesTest, leaveHiddenFilesOut) {
  write(".htpasswd", "secret");
  write(".git/config", "secret");
  const PageFiles page = read();
  EXPECT_EQ(page.find("/.htpasswd"), nullptr);
  EXPECT_EQ(page.find("/.git/config"), nullptr);
}

TEST_F(PageFilesTest, mayBeLinksAsLongAsTheyStayInside) {
  fs::create_symlink("index.html", root / "start.html");
  EXPECT_EQ(read().find("/start.html")->body, "<!doctype html>");
  fs::create_directory_symlink(root, directory.path() / "linked");
  EXPECT_TRUE(PageFiles::read(directory.path() / "linked", {})) << "the directory itself may be one";
}

TEST_F(PageFilesTest, refusesLinksThatLeadOut) {
  std::ofstream(directory.path() / "secret.txt") << "secret";
  fs::create_symlink("../secret.txt", root / "a.txt");
  EXPECT_THAT(fault(), EndsWith("/a.txt leads out of the page's directory"));
  fs::remove(root / "a.txt");
  fs::create_directory(directory.path() / "page-other");
  fs::create_directory_symlink("../page-other", root / "other");
  EXPECT_THAT(fault(), EndsWith("/other leads out of the page's directory"));
  fs::remove(root / "other");
  write("assets/a.js", "x");
  fs::create_directory_symlink("assets", root / "again");
  EXPECT_THAT(fault(), EndsWith("/again is a link to a directory"));
  fs::remove(root / "again");
  fs::create_symlink("nowhere", root / "broken");
  EXPECT_THAT(fault(), HasSubstr("/broken cannot be read: "));
}

TEST_F(PageFilesTest, refusesWhatIsNoFile) {
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(fault(), EndsWith("/pipe is no file"));
}

TEST_F(PageFilesTest, refusesNamesThatAPathWouldWriteDifferently) {
  write("a b.txt", "x");
  EXPECT_THAT(fault(), EndsWith("/a b.txt has a name that is no plain path"));
}

TEST_F(PageFilesTest, isBoundedInNumberAndSize) {
  write("a.txt", std::string(100, 'x'));
  EXPECT_EQ(fault({.fileBytes = 100, .totalBytes = 115, .files = 2}), "none");
  EXPECT_THAT(fault({.fileBytes = 99}), EndsWith("/a.txt is too large"));
  EXPECT_THAT(fault({.totalBytes = 114}), EndsWith("/page holds too much"));
  EXPECT_THAT(fault({.files = 1}), EndsWith("/page holds too many files"));
}

TEST_F(PageFilesTest, saysWhatIsMissing) {
  fs::remove(root / "index.html");
  EXPECT_THAT(fault(), EndsWith("/page has no index.html"));
  fs::remove_all(root);
  EXPECT_THAT(fault(), EndsWith("/page cannot be read: No such file or directory"));
  EXPECT_THAT(fault(), Not(HasSubstr("\n")));
}

}  // namespace
}  // namespace tallyfox::server
