#include "platform/linux/PrivateFiles.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/posix/PlainFileName.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr mode_t directoryMode = S_IRWXU;
constexpr mode_t fileMode = S_IRUSR | S_IWUSR;
constexpr mode_t othersAccess = S_IRWXG | S_IRWXO;

std::unexpected<FileError> lastError() {
  return std::unexpected(FileError{errno});
}

std::expected<void, FileError> writeAll(int fd, ByteView content) {
  while (!content.empty()) {
    const ssize_t written = ::write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    content = content.subspan(static_cast<std::size_t>(written));
  }
  return {};
}

std::expected<Bytes, FileError> readAll(int fd, std::size_t limit) {
  Bytes content;
  while (content.size() <= limit) {
    const std::size_t begin = content.size();
    content.resize(begin + 64 * 1024);
    const ssize_t count = ::read(fd, content.data() + begin, content.size() - begin);
    content.resize(begin + static_cast<std::size_t>(count > 0 ? count : 0));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (count == 0) return content;
  }
  return std::unexpected(FileError{EFBIG});
}

/// mkdir -p: the directories above a user's own base directories are made with the same mode.
std::expected<void, FileError> makeDirectories(const std::filesystem::path& path) {
  if (::mkdir(path.c_str(), directoryMode) == 0 || errno == EEXIST) return {};
  if (errno != ENOENT || !path.has_relative_path()) return lastError();
  if (auto made = makeDirectories(path.parent_path()); !made) return made;
  if (::mkdir(path.c_str(), directoryMode) == 0 || errno == EEXIST) return {};
  return lastError();
}

}  // namespace

std::string FileError::description() const {
  if (code == EBADMSG) return "The file is not private to this user.";
  return std::generic_category().message(code) + ".";
}

bool FileError::isMissing() const {
  return code == ENOENT;
}

std::expected<PrivateDirectory, FileError> PrivateDirectory::open(const std::string& base, bool create) {
  if (create)
    if (auto made = makeDirectories(base); !made) return std::unexpected(made.error());
  posix_os::FileDescriptor directory(::open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return lastError();
  return PrivateDirectory(std::move(directory));
}

std::expected<PrivateDirectory, FileError> PrivateDirectory::inside(const std::string& name, bool create) const {
  if (!posix_os::isPlainFileName(name)) return std::unexpected(FileError{EINVAL});
  if (create && ::mkdirat(directory_.get(), name.c_str(), directoryMode) != 0 && errno != EEXIST) return lastError();
  posix_os::FileDescriptor directory(
      ::openat(directory_.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status{};
  if (!directory || ::fstat(directory.get(), &status) != 0) return lastError();
  if (status.st_uid != ::geteuid()) return std::unexpected(FileError{EBADMSG});
  if ((status.st_mode & othersAccess) != 0 && ::fchmod(directory.get(), directoryMode) != 0) return lastError();
  return PrivateDirectory(std::move(directory));
}

std::expected<Bytes, FileError> PrivateDirectory::read(const std::string& name, std::size_t limit,
                                                       bool onlyOurs) const {
  const posix_os::FileDescriptor file(
      ::openat(directory_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status{};
  if (!file || ::fstat(file.get(), &status) != 0) return lastError();
  if (S_ISDIR(status.st_mode)) return std::unexpected(FileError{EISDIR});
  const bool isOurs = status.st_uid == ::geteuid() && (status.st_mode & othersAccess) == 0;
  if (!S_ISREG(status.st_mode) || (onlyOurs && !isOurs)) return std::unexpected(FileError{EBADMSG});
  return readAll(file.get(), limit);
}

/// Writes a complete file beside its later place and returns its name.
std::expected<std::string, FileError> PrivateDirectory::writeAside(const std::string& name, ByteView content) const {
  std::string aside = "." + name + ".new";
  if (::unlinkat(directory_.get(), aside.c_str(), 0) != 0 && errno != ENOENT) return lastError();
  const posix_os::FileDescriptor file(
      ::openat(directory_.get(), aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, fileMode));
  if (!file) return lastError();
  auto written = writeAll(file.get(), content);
  if (written && ::fsync(file.get()) != 0) written = lastError();
  if (!written) {
    ::unlinkat(directory_.get(), aside.c_str(), 0);
    return std::unexpected(written.error());
  }
  return aside;
}

std::expected<void, FileError> PrivateDirectory::replace(const std::string& name, ByteView content) const {
  const auto aside = writeAside(name, content);
  if (!aside) return std::unexpected(aside.error());
  if (auto renamed = rename(*aside, name); !renamed) {
    ::unlinkat(directory_.get(), aside->c_str(), 0);
    return renamed;
  }
  return {};
}

std::expected<void, FileError> PrivateDirectory::add(const std::string& name, ByteView content) const {
  const auto aside = writeAside(name, content);
  if (!aside) return std::unexpected(aside.error());
  const bool linked = ::linkat(directory_.get(), aside->c_str(), directory_.get(), name.c_str(), 0) == 0;
  const FileError error{errno};
  ::unlinkat(directory_.get(), aside->c_str(), 0);
  if (!linked) return std::unexpected(error);
  return synchronized();
}

std::expected<void, FileError> PrivateDirectory::rename(const std::string& from, const std::string& to) const {
  if (::renameat(directory_.get(), from.c_str(), directory_.get(), to.c_str()) != 0) return lastError();
  return synchronized();
}

std::expected<void, FileError> PrivateDirectory::remove(const std::string& name) const {
  if (::unlinkat(directory_.get(), name.c_str(), 0) != 0) return lastError();
  return synchronized();
}

std::expected<void, FileError> PrivateDirectory::synchronized() const {
  if (::fsync(directory_.get()) != 0) return lastError();
  return {};
}

}  // namespace tallyfox::linux_os
