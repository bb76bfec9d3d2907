#include "layout/SourceTree.hpp"

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace tallyfox::layout {
namespace {

/// The folder that a path lies in, as a room: "detection", "platform" for the seam itself, "platform/linux". The
/// toolkit of a backend is a room of its own, so that the rest of the backend knows nothing of it.
std::string roomOf(const std::string& path) {
  for (const std::string window : {"platform/linux/window", "platform/macos/window"})
    if (path.starts_with(window + "/")) return window;
  const auto first = path.find('/');
  if (first == std::string::npos) return {};
  const std::string room = path.substr(0, first);
  if (room != "platform") return room;
  const auto second = path.find('/', first + 1);
  return second == std::string::npos ? room : path.substr(0, second);
}

/// Rooms that a room may include besides itself.
const std::map<std::string, std::set<std::string>>& permits() {
  static const std::map<std::string, std::set<std::string>> table = {
      {"base", {}},
      {"model", {"base"}},
      {"platform", {"base", "model"}},
      {"detection", {"base", "model", "platform"}},
      {"actions", {"base", "model", "platform", "detection"}},
      {"relay", {"base", "model", "platform"}},
      {"pairing", {"base", "model", "platform"}},
      {"system", {"base", "model", "platform"}},
      {"ui", {"base", "model", "platform"}},
      {"app", {"base", "model", "platform", "detection", "actions", "relay", "pairing", "system", "ui"}},
      {"platform/memory", {"base", "model", "platform"}},
      {"platform/posix", {"base", "model", "platform"}},
      {"platform/linux", {"base", "model", "platform", "platform/posix"}},
      {"platform/linux/window", {"base", "model", "platform", "ui", "platform/posix", "platform/linux"}},
      {"platform/macos", {"base", "model", "platform", "platform/posix"}},
      {"platform/macos/window", {"base", "model", "platform", "ui", "platform/posix", "platform/macos"}},
  };
  return table;
}

/// Single files of other rooms that a room may include: what the agent tells its interface, and what that asks of it.
const std::map<std::string, std::set<std::string>>& filePermits() {
  static const std::map<std::string, std::set<std::string>> table = {
      {"platform/linux/window", {"app/AgentInterface.hpp", "app/AppDelegate.hpp"}},
      {"platform/macos/window", {"app/AgentInterface.hpp", "app/AppDelegate.hpp"}},
  };
  return table;
}

bool isPermittedFile(const std::string& room, const std::string& file) {
  const auto permit = filePermits().find(room);
  return permit != filePermits().end() && permit->second.contains(file);
}

/// A backend's main wires the agent, so it may see everything but another backend.
bool isMain(const std::string& path) {
  return path.ends_with("/main.cpp") || path.ends_with("/main.mm");
}

bool isBackend(const std::string& room) {
  return room.starts_with("platform/");
}

/// Libraries that portable rooms may include by <...>; whatever else has a "/" or ends in ".h" is an OS or a toolkit.
bool isPortableSystemInclude(const std::string& room, const std::string& header) {
  if (header.starts_with("nlohmann/") || header.starts_with("fmt/")) return true;
  if (room == "base" && (header.starts_with("openssl/") || header.starts_with("unicode/") || header == "immintrin.h"))
    return true;
  if (room == "pairing" && header.starts_with("qrcodegen/")) return true;
  return header.find('/') == std::string::npos && !header.ends_with(".h");
}

/// Replaces comments and the contents of literals by blanks, so that rules look at code alone.
std::string codeOnly(const std::string& text) {
  enum class In { code, lineComment, blockComment, string, character } in = In::code;
  std::string result = text;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    const bool digitSeparator = c == '\'' && i > 0 && std::isalnum(static_cast<unsigned char>(text[i - 1])) != 0;
    switch (in) {
      case In::code:
        if (c == '/' && next == '/')
          in = In::lineComment;
        else if (c == '/' && next == '*')
          in = In::blockComment;
        else if (c == '"')
          in = In::string;
        else if (c == '\'' && !digitSeparator)
          in = In::character;
        if (in == In::lineComment || in == In::blockComment) result[i] = ' ';
        break;
      case In::lineComment:
        if (c == '\n')
          in = In::code;
        else
          result[i] = ' ';
        break;
      case In::blockComment:
        if (c != '\n') result[i] = ' ';
        if (c == '*' && next == '/') {
          result[++i] = ' ';
          in = In::code;
        }
        break;
      case In::string:
      case In::character:
        if (c == '\\') {
          result[i] = ' ';
          if (next != '\n') result[++i] = ' ';
        } else if (c == (in == In::string ? '"' : '\'')) {
          in = In::code;
        } else if (c != '\n') {
          result[i] = ' ';
        }
        break;
    }
  }
  return result;
}

/// Depth-first search for a circle in a graph of names; each circle once, as "a -> b -> a".
std::vector<std::string> circles(const std::map<std::string, std::set<std::string>>& graph) {
  std::vector<std::string> found;
  std::map<std::string, int> state;
  std::vector<std::string> trail;
  const std::function<void(const std::string&)> visit = [&](const std::string& node) {
    state[node] = 1;
    trail.push_back(node);
    const auto edges = graph.find(node);
    for (const auto& target : edges == graph.end() ? std::set<std::string>{} : edges->second) {
      if (state[target] == 1) {
        std::string circle;
        for (auto at = std::find(trail.begin(), trail.end(), target); at != trail.end(); ++at)
          circle += *at + " -> ";
        found.push_back(circle + target);
      } else if (state[target] == 0) {
        visit(target);
      }
    }
    trail.pop_back();
    state[node] = 2;
  };
  for (const auto& [node, edges] : graph)
    if (state[node] == 0) visit(node);
  return found;
}

}  // namespace

SourceFile parsedSource(std::string path, const std::string& text) {
  SourceFile file{std::move(path), {}, {}, codeOnly(text)};
  static const std::regex includeLine(R"re(^\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>))re");
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (!std::regex_search(line, match, includeLine)) continue;
    if (match[1].matched)
      file.includes.push_back(match[1]);
    else
      file.systemIncludes.push_back(match[2]);
  }
  return file;
}

std::vector<SourceFile> readSources(const std::filesystem::path& root) {
  static const std::set<std::string> endings = {".hpp", ".cpp", ".h", ".mm", ".m"};
  std::vector<SourceFile> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || !endings.contains(entry.path().extension().string())) continue;
    std::ifstream stream(entry.path());
    std::ostringstream text;
    text << stream.rdbuf();
    files.push_back(parsedSource(std::filesystem::relative(entry.path(), root).generic_string(), text.str()));
  }
  std::ranges::sort(files, {}, &SourceFile::path);
  return files;
}

std::vector<std::string> brokenIncludePermits(const std::vector<SourceFile>& files) {
  std::vector<std::string> broken;
  for (const auto& file : files) {
    const std::string room = roomOf(file.path);
    const auto permit = permits().find(room);
    if (permit == permits().end()) {
      broken.push_back(file.path + ": lies in no known room");
      continue;
    }
    for (const auto& include : file.includes) {
      const std::string target = roomOf(include);
      if (target == room || permit->second.contains(target) || isPermittedFile(room, include)) continue;
      const bool isOfMain = !isBackend(target) || target.starts_with(room + "/");
      if (isMain(file.path) && isBackend(room) && isOfMain && permits().contains(target)) continue;
      broken.push_back(file.path + ": may not include " + include);
    }
    if (isBackend(room) && room != "platform/memory") continue;
    for (const auto& header : file.systemIncludes)
      if (!isPortableSystemInclude(room, header)) broken.push_back(file.path + ": may not include <" + header + ">");
  }
  return broken;
}

std::vector<std::string> includeCircles(const std::vector<SourceFile>& files) {
  std::map<std::string, std::set<std::string>> graph;
  for (const auto& file : files)
    graph[file.path].insert(file.includes.begin(), file.includes.end());
  return circles(graph);
}

std::vector<std::string> roomCircles(const std::vector<SourceFile>& files) {
  std::map<std::string, std::set<std::string>> graph;
  // A main is included by nobody, so it closes no circle.
  for (const auto& file : files)
    for (const auto& include : file.includes)
      if (!isMain(file.path) && roomOf(include) != roomOf(file.path)) graph[roomOf(file.path)].insert(roomOf(include));
  return circles(graph);
}

namespace {

using Pattern = std::pair<std::regex, std::string>;

/// Every line of a file's code that matches, as "path:line: what".
void findLines(const SourceFile& file, const std::vector<Pattern>& patterns, std::vector<std::string>& found) {
  std::istringstream lines(file.code);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    for (const auto& [pattern, what] : patterns)
      if (std::regex_search(line, pattern)) found.push_back(file.path + ":" + std::to_string(number) + ": " + what);
  }
}

}  // namespace

std::vector<std::string> localeLeaks(const std::vector<SourceFile>& files) {
  static const std::vector<Pattern> leaks = {
      {std::regex(R"(\b(strto(d|f|ld|l|ll|ul|ull)|ato(f|i|l|ll)|sto(d|f|ld|i|l|ll|ul|ull)|v?s?scanf|v?sn?printf)\b)"),
       "a number in the process locale"},
      {std::regex(
           R"(\b(is(alpha|alnum|digit|space|upper|lower|punct|xdigit)|to(upper|lower)|str(case|n?case)cmp)\s*\()"),
       "a character in the process locale"},
      {std::regex(R"(\b(strftime|strptime|put_time|get_time|strcoll|setlocale|localeconv)\b|std::locale\b)"),
       "the process locale"},
  };
  std::vector<std::string> found;
  for (const auto& file : files)
    // It reads numbers without a decimal point, the one thing that a locale could change.
    if (file.path != "base/RoundedNumber.cpp") findLines(file, leaks, found);
  return found;
}

std::vector<std::string> platformLeaks(const std::vector<SourceFile>& files) {
  static const std::vector<Pattern> leaks = {
      {std::regex(
           R"(#\s*(if|ifdef|ifndef|elif)\b.*(__APPLE__|__linux__|__linux\b|_WIN32|__unix__|__MACH__|TARGET_OS_))"),
       "an operating-system conditional"},
      {std::regex(R"((system_clock|steady_clock|high_resolution_clock|utc_clock|file_clock)\s*::\s*now)"),
       "a clock read"},
      {std::regex(R"(\b(clock_gettime|gettimeofday|time\s*\(\s*(NULL|nullptr|0)\s*\)))"), "a clock read"},
      {std::regex(R"(\b(sleep_for|sleep_until|usleep|nanosleep|sleep\s*\(\s*\d))"), "a sleep"},
      {std::regex(R"(\b(secure_getenv|getenv|setenv|putenv|environ)\b)"), "an environment read"},
  };
  std::vector<std::string> found;
  for (const auto& file : files) {
    const std::string room = roomOf(file.path);
    if (isBackend(room) && room != "platform/memory") continue;
    findLines(file, leaks, found);
  }
  return found;
}

std::vector<std::string> brokenSeamRules(const std::vector<SourceFile>& files) {
  static const std::regex interfaceStart(R"(^class (\w+)[^;]*\{)");
  static const std::regex operation(R"(virtual .*= 0;|^\s+virtual (?!~))");
  std::vector<std::string> broken;
  for (const auto& file : files) {
    if (roomOf(file.path) != "platform" || !file.path.ends_with(".hpp")) continue;
    std::string name;
    int operations = 0;
    std::istringstream lines(file.code);
    for (std::string line; std::getline(lines, line);) {
      std::smatch match;
      if (std::regex_search(line, match, std::regex(R"(^\s*#\s*if)")))
        broken.push_back(file.path + ": the seam has no conditionals");
      if (std::regex_search(line, match, interfaceStart)) {
        name = match[1];
        operations = 0;
      }
      if (std::regex_search(line, operation) && ++operations == 9)
        broken.push_back(file.path + ": " + name + " has more than eight operations");
    }
  }
  return broken;
}

}  // namespace tallyfox::layout
