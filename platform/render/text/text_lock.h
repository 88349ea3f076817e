#pragma once

#include <mutex>

namespace platform {

/// Held by whoever opens typefaces, measures or draws text: below Pango, the faces of one file are
/// shared by all renderers of the process, and the drawing library leaves locking them to its
/// users.
class TextLock {
 public:
  TextLock() : lock_(mutex()) {}

 private:
  static std::mutex& mutex() {
    static std::mutex shared;
    return shared;
  }
  std::scoped_lock<std::mutex> lock_;
};

}  // namespace platform
