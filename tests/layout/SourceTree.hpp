#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tallyfox::layout {

/// One source file with what the layout rules look at.
struct SourceFile {
  std::string path;                   ///< relative to the root that was read, "/" between parts
  std::vector<std::string> includes;  ///< quoted includes as written
  std::vector<std::string> systemIncludes;
  std::string code;  ///< text without comments and string contents, line structure kept
};

/// All C++ sources below `root`, sorted by path.
[[nodiscard]] std::vector<SourceFile> readSources(const std::filesystem::path& root);
[[nodiscard]] SourceFile parsedSource(std::string path, const std::string& text);

/// Which rule a file breaks, as "FILE: why"; empty when none.
[[nodiscard]] std::vector<std::string> brokenIncludePermits(const std::vector<SourceFile>& files);
[[nodiscard]] std::vector<std::string> includeCircles(const std::vector<SourceFile>& files);
[[nodiscard]] std::vector<std::string> roomCircles(const std::vector<SourceFile>& files);
/// Functions whose result depends on the locale that a toolkit may have set.
[[nodiscard]] std::vector<std::string> localeLeaks(const std::vector<SourceFile>& files);
[[nodiscard]] std::vector<std::string> platformLeaks(const std::vector<SourceFile>& files);
[[nodiscard]] std::vector<std::string> brokenSeamRules(const std::vector<SourceFile>& files);

}  // namespace tallyfox::layout
