#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/Limits.hpp"

namespace tallyfox {

struct IllFormedText {
  std::string name;
  std::string text;
};

/// What every reader of JSON must refuse, made from an object that it accepts: the object cut off anywhere, with one
/// more member that is broken, or beyond a bound.
inline std::vector<IllFormedText> illFormedJson(const std::string& object) {
  const auto with = [&object](const std::string& value) {
    return object.substr(0, object.size() - 1) + ",\"more\":" + value + "}";
  };
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  std::string manyMembers = "{\"0\":0";
  for (std::size_t member = 1; member <= limits::jsonMembers; ++member)
    manyMembers += ",\"" + std::to_string(member) + "\":0";

  std::vector<IllFormedText> texts = {
      {"a byte that never occurs in UTF-8", with("\"\xFF\"")},
      {"a cut-off sequence", with("\"\xE2\x82\"")},
      {"a surrogate in UTF-8", with("\"\xED\xA0\x80\"")},
      {"half a surrogate pair", with(R"("\ud83d")")},
      {"the other half alone", with(R"("\ude00")")},
      {"a NUL behind the end", object + std::string(1, '\0')},
      {"a NUL and more behind the end", object + std::string(1, '\0') + object},
      {"a NUL in a string", with("\"a" + std::string(1, '\0') + "\"")},
      {"a number beyond all numbers", with("1e999")},
      {"a number of too many digits", with(std::string(400, '9'))},
      {"a name for a number", with("NaN")},
      {"a byte order mark of another encoding", "\xFF\xFE" + object},
      {"a comma before the end", object.substr(0, object.size() - 1) + ",}"},
      {"two values", object + object},
      {"nesting just too deep", with(nested(limits::jsonDepth))},
      {"nesting far too deep", with(nested(100'000))},
      {"too many members", with(manyMembers + "}")},
      {"too large", object + std::string(limits::frameBytes + 1 - object.size(), ' ')},
  };
  for (std::size_t size = 0; size < object.size(); ++size)
    texts.push_back({"cut off", object.substr(0, size)});
  return texts;
}

}  // namespace tallyfox
