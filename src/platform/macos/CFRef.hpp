#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace tallyfox::mac_os {

/// Owns one reference to a Core Foundation object, or none. Copies retain.
template <typename T>
class CFRef {
 public:
  CFRef() = default;
  /// Takes over the reference that a function with Create or Copy in its name gave.
  [[nodiscard]] static CFRef adopt(T created) { return CFRef(created); }
  /// Adds a reference of our own to an object that somebody else keeps (Get functions, members of collections).
  [[nodiscard]] static CFRef retain(T got) {
    if (got) CFRetain(got);
    return CFRef(got);
  }
  ~CFRef() { reset(); }
  CFRef(const CFRef& other) : object_(other.object_) {
    if (object_) CFRetain(object_);
  }
  CFRef(CFRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  CFRef& operator=(CFRef other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  [[nodiscard]] T get() const { return object_; }
  [[nodiscard]] explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit CFRef(T object) : object_(object) {}
  void reset() {
    if (object_) CFRelease(object_);
    object_ = nullptr;
  }
  T object_ = nullptr;
};

}  // namespace tallyfox::mac_os
