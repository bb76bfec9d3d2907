#include "base/Require.hpp"

#include <cstdio>
#include <cstdlib>

namespace tallyfox {

void invariantBroken(std::string_view what, std::source_location where) {
  std::fprintf(stderr, "Tallyfox stopped: broken invariant at %s:%u: %.*s\n", where.file_name(),
               static_cast<unsigned>(where.line()), static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace tallyfox
