#include "platform/posix/FlockInstanceLock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "platform/posix/FileDescriptor.hpp"
#include "platform/posix/PlainFileName.hpp"

namespace tallyfox::posix_os {
namespace {

class HeldFlock : public HeldLock {
 public:
  explicit HeldFlock(FileDescriptor file) : file_(std::move(file)) {}
  ~HeldFlock() override { ::flock(file_.get(), LOCK_UN); }

 private:
  FileDescriptor file_;
};

}  // namespace

LockResult FlockInstanceLock::acquire(const std::string& fileName) {
  if (!isPlainFileName(fileName)) return {};
  FileDescriptor file(::open((directory_ + "/" + fileName).c_str(),
                             O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR));
  struct stat status{};
  if (!file || ::fstat(file.get(), &status) != 0) return {};
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return {};
  if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return {LockOutcome::heldByAnother, nullptr};
  return {LockOutcome::acquired, std::make_unique<HeldFlock>(std::move(file))};
}

}  // namespace tallyfox::posix_os
