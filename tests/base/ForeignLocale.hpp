#pragma once

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <string>

namespace tallyfox {

/// Lets numbers have a decimal comma and grouped digits while it lives, for the C and the C++ library alike, as a
/// toolkit may do behind our back. The locale is made by localedef (its character maps come with Debian's package
/// locales), so that the machine need not have one.
class ForeignLocale {
 public:
  ForeignLocale() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tallyfox-locale-XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) folder_ = pattern;
    compile();
    ::setenv("LOCPATH", folder_.c_str(), 1);
    std::locale::global(std::locale(std::locale::classic(), new Punctuation));
    std::setlocale(LC_NUMERIC, "foreign");
  }
  ~ForeignLocale() {
    std::locale::global(std::locale::classic());
    ::unsetenv("LOCPATH");
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  ForeignLocale(const ForeignLocale&) = delete;
  ForeignLocale& operator=(const ForeignLocale&) = delete;

  /// Whether the C library really counts with commas now; a test that it does not reach would show nothing.
  [[nodiscard]] static bool isInForce() {
    char written[16] = {};
    std::snprintf(written, sizeof written, "%.1f", 1.5);
    return std::string(written) == "1,5" && std::strtod("2,5", nullptr) == 2.5;
  }

 private:
  struct Punctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  /// Forced, because it has the numbers' category only; localedef then says so by its status as well.
  void compile() const {
    const std::string source = (folder_ / "source").string();
    const std::string place = (folder_ / "foreign").string();
    std::ofstream(source) << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n";
    const char* const arguments[] = {"localedef", "--force",        "--quiet",     "-i",   source.c_str(),
                                     "-f",        "ANSI_X3.4-1968", place.c_str(), nullptr};
    ::pid_t child = 0;
    int status = 0;
    if (::posix_spawnp(&child, arguments[0], nullptr, nullptr, const_cast<char**>(arguments), environ) == 0)
      ::waitpid(child, &status, 0);
  }

  std::filesystem::path folder_;
};

/// A test under the foreign locale.
class ForeignLocaleTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(ForeignLocale::isInForce()); }

 private:
  ForeignLocale locale_;
};

}  // namespace tallyfox
