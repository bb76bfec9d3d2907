#include "page/Gzip.hpp"

#include <zlib.h>

#include "base/Require.hpp"

namespace tallyfox::server {

std::string gzipCompressed(std::string_view content) {
  // 16 more than the window's 15 bits asks zlib for a gzip header in place of its own.
  constexpr int gzipWindow = 15 + 16;
  constexpr int greatestMemory = 9;
  z_stream stream{};
  require(deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzipWindow, greatestMemory, Z_DEFAULT_STRATEGY) == Z_OK,
          "compression can be set up");
  std::string compressed(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
  // zlib's interface takes what it only reads by a pointer to bytes that could change.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_out = static_cast<uInt>(compressed.size());
  const int outcome = deflate(&stream, Z_FINISH);
  compressed.resize(stream.total_out);
  compressed.shrink_to_fit();
  deflateEnd(&stream);
  require(outcome == Z_STREAM_END, "content is compressed whole");
  return compressed;
}

}  // namespace tallyfox::server
