#pragma once

#include <gio/gio.h>

#include <memory>

namespace tallyfox::linux_os {

struct GObjectReleaser {
  void operator()(gpointer object) const { ::g_object_unref(object); }
};
template <typename Object>
using GObjectHandle = std::unique_ptr<Object, GObjectReleaser>;

/// What a call of GLib may have to say about its failure.
class GErrorHolder {
 public:
  GErrorHolder() = default;
  ~GErrorHolder() { ::g_clear_error(&error_); }
  GErrorHolder(const GErrorHolder&) = delete;
  GErrorHolder& operator=(const GErrorHolder&) = delete;

  /// For one call.
  [[nodiscard]] GError** out() { return &error_; }
  [[nodiscard]] bool isSet() const { return error_ != nullptr; }
  [[nodiscard]] bool matches(GQuark domain, int code) const { return ::g_error_matches(error_, domain, code) != 0; }

 private:
  GError* error_ = nullptr;
};

/// A main context of the thread's own while it lives: what arrives for the thread's objects lands there and ends there.
class ThreadMainContext {
 public:
  ThreadMainContext() : context_(::g_main_context_new()) { ::g_main_context_push_thread_default(context_); }
  ~ThreadMainContext() {
    ::g_main_context_pop_thread_default(context_);
    ::g_main_context_unref(context_);
  }
  ThreadMainContext(const ThreadMainContext&) = delete;
  ThreadMainContext& operator=(const ThreadMainContext&) = delete;

 private:
  GMainContext* context_;
};

}  // namespace tallyfox::linux_os
