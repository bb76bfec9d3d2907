#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

#include "base/Bytes.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {

/// Files of this user alone, reached through directories that nobody else can turn aside.

/// Why a file operation failed: an errno value; EBADMSG stands for "is not ours alone".
struct FileError {
  int code = 0;
  [[nodiscard]] std::string description() const;
  [[nodiscard]] bool isMissing() const;
  bool operator==(const FileError&) const = default;
};

/// A directory held open; names are looked up in it, not along a path that may change meanwhile.
class PrivateDirectory {
 public:
  /// Opens `base` (created with mode 0700 when missing; symbolic links on the way to it are the user's own business).
  /// Unless `create`, a missing directory is a failure with isMissing().
  [[nodiscard]] static std::expected<PrivateDirectory, FileError> open(const std::string& base, bool create);
  /// A directory inside this one: no symbolic link, owned by this user, closed to all others (a looser mode of a
  /// directory of ours is tightened).
  [[nodiscard]] std::expected<PrivateDirectory, FileError> inside(const std::string& name, bool create) const;

  /// Open as long as this is; "/proc/self/fd/N/name" leads to what the directory holds, however long its own path is.
  [[nodiscard]] int descriptor() const { return directory_.get(); }

  /// The content of a regular file of at most `limit` bytes. With `onlyOurs` it must belong to this user and give
  /// nobody else access. Never follows a symbolic link, never waits for a pipe.
  [[nodiscard]] std::expected<Bytes, FileError> read(const std::string& name, std::size_t limit, bool onlyOurs) const;
  /// Puts a new file of mode 0600 in the place of whatever has the name (a directory excepted): after a crash there is
  /// either the old content or the new, on the disk.
  [[nodiscard]] std::expected<void, FileError> replace(const std::string& name, ByteView content) const;
  /// As replace(), but fails with EEXIST when the name is taken.
  [[nodiscard]] std::expected<void, FileError> add(const std::string& name, ByteView content) const;
  [[nodiscard]] std::expected<void, FileError> rename(const std::string& from, const std::string& to) const;
  [[nodiscard]] std::expected<void, FileError> remove(const std::string& name) const;

 private:
  explicit PrivateDirectory(posix_os::FileDescriptor directory) : directory_(std::move(directory)) {}
  [[nodiscard]] std::expected<std::string, FileError> writeAside(const std::string& name, ByteView content) const;
  [[nodiscard]] std::expected<void, FileError> synchronized() const;

  posix_os::FileDescriptor directory_;
};

}  // namespace tallyfox::linux_os
