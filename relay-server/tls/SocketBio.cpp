#include "tls/SocketBio.hpp"

#include <sys/socket.h>

#include <cerrno>
#include <cstdint>

namespace tallyfox::server {
namespace {

int descriptorOf(BIO* bio) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(BIO_get_data(bio)));
}

bool passes(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

int writeSome(BIO* bio, const char* bytes, std::size_t size, std::size_t* written) {
  BIO_clear_retry_flags(bio);
  const ssize_t sent = send(descriptorOf(bio), bytes, size, MSG_NOSIGNAL);
  if (sent < 0 && passes(errno)) BIO_set_retry_write(bio);
  *written = sent > 0 ? static_cast<std::size_t>(sent) : 0;
  return sent > 0 ? 1 : 0;
}

int readSome(BIO* bio, char* bytes, std::size_t size, std::size_t* got) {
  BIO_clear_retry_flags(bio);
  const ssize_t received = recv(descriptorOf(bio), bytes, size, 0);
  if (received < 0 && passes(errno)) BIO_set_retry_read(bio);
  if (received == 0) BIO_set_flags(bio, BIO_FLAGS_IN_EOF);
  *got = received > 0 ? static_cast<std::size_t>(received) : 0;
  return received > 0 ? 1 : 0;
}

long control(BIO* bio, int command, long, void*) {
  if (command == BIO_CTRL_EOF) return BIO_test_flags(bio, BIO_FLAGS_IN_EOF) != 0 ? 1 : 0;
  // Nothing is kept back that would have to be flushed.
  return command == BIO_CTRL_FLUSH ? 1 : 0;
}

/// Made once and kept to the end of the process, as OpenSSL's own methods are.
const BIO_METHOD* method() {
  static BIO_METHOD* const made = [] {
    BIO_METHOD* const fresh = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "tallyfox socket");
    if (fresh == nullptr) return fresh;
    BIO_meth_set_write_ex(fresh, writeSome);
    BIO_meth_set_read_ex(fresh, readSome);
    BIO_meth_set_ctrl(fresh, control);
    return fresh;
  }();
  return made;
}

}  // namespace

BIO* makeSocketBio(int descriptor) {
  if (method() == nullptr) return nullptr;
  BIO* const bio = BIO_new(method());
  if (bio == nullptr) return nullptr;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a BIO keeps one pointer, and the descriptor needs no more than that
  BIO_set_data(bio, reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)));
  BIO_set_init(bio, 1);
  return bio;
}

}  // namespace tallyfox::server
