#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/sheet/checks.h"
#include "host/sheet/print_shelf.h"
#include "platform/render/images/picture_options.h"
#include "platform/render/output/renderer.h"

namespace host {

/// A view that is to become the picture of that number.
struct Exposure {
  std::size_t number = 0;
  platform::ArchivedView view;
  platform::LayoutDirection direction = platform::LayoutDirection::leftToRight;
  platform::Size size;
  platform::EdgeInsets contentMargins;
  platform::PictureOptions options;
};

/// A finished picture.
struct Print {
  std::string png;
  /// The display list as JSON, with a line feed at its end.
  std::string list;
  platform::Size size;
  std::vector<Finding> findings;
};

/// Draws pictures on several threads, each with a renderer of its own, while the caller goes on to
/// the next view. Pictures do not depend on the number of threads nor on their order.
class Darkroom {
 public:
  /// Hears of every picture once, in any order, on any of the threads; `renderer` is that thread's.
  using Deliver =
      std::function<void(std::size_t number, Print print, platform::Renderer& renderer)>;

  /// `bundle` and `systemFonts` as `loadRenderer` takes them.
  Darkroom(const std::filesystem::path& bundle,
           const std::filesystem::path& systemFonts,
           std::size_t threads,
           Deliver deliver);
  /// Drops what has not been begun.
  ~Darkroom();
  Darkroom(const Darkroom&) = delete;
  Darkroom& operator=(const Darkroom&) = delete;

  /// Waits while the threads are far behind. Neighbours mostly go to the same thread, whose
  /// renderer then knows their artwork. Throws what went wrong in one of them.
  void add(Exposure exposure);
  /// Waits until every picture was delivered. Throws what went wrong in one of the threads.
  void finish();

 private:
  using Batch = std::vector<Exposure>;

  void work(platform::Renderer& renderer);
  Print develop(const Exposure& exposure, platform::Renderer& renderer);
  /// Nothing once there is nothing more to do.
  Batch nextBatch();
  void handOver();
  void close();

  Deliver deliver_;
  PrintShelf shelf_;
  std::vector<std::unique_ptr<platform::Renderer>> renderers_;
  std::mutex mutex_;
  std::condition_variable filled_;
  std::condition_variable emptied_;
  std::deque<Batch> waiting_;
  bool closed_ = false;
  std::exception_ptr failure_;
  Batch gathering_;
  std::vector<std::thread> threads_;
};

}  // namespace host
