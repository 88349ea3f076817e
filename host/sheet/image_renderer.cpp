#include "host/sheet/image_renderer.h"

#include <algorithm>
#include <deque>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>

#include "platform/render/output/render_module.h"

namespace host {

using namespace platform;

namespace {

/// Inputs for one worker in a row: enough for the sizes of one state, which share artwork, and few
/// enough that all workers finish at about the same time.
constexpr std::size_t kBatchSize = 12;
constexpr std::size_t kMaxPendingBatches = 20;
const std::size_t kThreads = std::max(1U, std::thread::hardware_concurrency());
/// The cached images take about 10 MiB. Nearly all equal scenes are closer to each other.
constexpr std::size_t kMaxCachedImages = 100;

template <class T>
T valueOf(std::expected<T, std::string> result) {
  if (!result) {
    throw std::runtime_error(result.error());
  }
  return *std::move(result);
}

/// Everything that the pixels depend on: the display list without its links.
struct Scene {
  DisplayList list;
  double scale = 3;
  ColorScheme scheme = ColorScheme::light;
  friend bool operator==(const Scene&, const Scene&) = default;
};

Scene sceneOf(DisplayList list, const PictureOptions& options) {
  list.widgetURL.reset();
  for (DisplayItem& item : list.items) {
    item.link.reset();
  }
  return {std::move(list), options.scale, options.scheme};
}

struct Pixels {
  std::string png;
  std::vector<Finding> lowContrast;
};

Pixels drawn(const DisplayList& list, const PictureOptions& options, Renderer& renderer) {
  PictureOptions square = options;
  square.cornerRadius = 0;
  return {
      valueOf(renderer.png(list, options)),
      checkContrast(list, options.scheme, static_cast<int>(options.scale), [&](const auto& part) {
        return valueOf(renderer.rasterize(part, square));
      })};
}

}  // namespace

class ImageRenderer::Workers {
 public:
  Workers(std::filesystem::path bundle, std::filesystem::path systemFonts, Deliver deliver)
      : bundle_(std::move(bundle)),
        systemFonts_(std::move(systemFonts)),
        deliver_(std::move(deliver)) {
    // Opens the renderers while the extension starts.
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
      run({});
    }
  }

  void run(std::vector<RenderInput> batch) {
    if (pending_.size() == kMaxPendingBatches) {
      awaitOldest();
    }
    pending_.push_back(boost::asio::post(
        threads_, boost::asio::use_future([this, batch = std::move(batch)] { renderAll(batch); })));
  }

  void finish() {
    while (!pending_.empty()) {
      awaitOldest();
    }
  }

 private:
  void awaitOldest() {
    auto oldest = std::move(pending_.front());
    pending_.pop_front();
    oldest.get();
  }

  /// A renderer that no other batch is using; a new one where there is none.
  std::unique_ptr<Renderer> takeRenderer() {
    std::unique_lock lock(mutex_);
    if (idle_.empty()) {
      lock.unlock();
      return valueOf(loadRenderer(bundle_, systemFonts_));
    }
    auto renderer = std::move(idle_.back());
    idle_.pop_back();
    return renderer;
  }

  void renderAll(const std::vector<RenderInput>& batch) {
    auto renderer = takeRenderer();
    for (const RenderInput& input : batch) {
      deliver_(input.number, render(input, *renderer), *renderer);
    }
    const std::scoped_lock lock(mutex_);
    idle_.push_back(std::move(renderer));
  }

  RenderedImage render(const RenderInput& input, Renderer& renderer) {
    const DisplayList list =
        renderer.layOut(input.view, input.size, input.contentMargins, input.direction);
    Pixels pixels = pixelsOf(list, input.options, renderer);
    RenderedImage image = {.png = std::move(pixels.png),
                           .list = displayListJSON(list) + "\n",
                           .size = list.size,
                           .findings = checkList(list, renderer.missingImages())};
    std::ranges::move(pixels.lowContrast, std::back_inserter(image.findings));
    return image;
  }

  /// From the latest images. A quarter of a sheet's images equal an earlier one: another state
  /// shows the same, or a system or a scheme makes no difference.
  Pixels pixelsOf(const DisplayList& list, const PictureOptions& options, Renderer& renderer) {
    Scene scene = sceneOf(list, options);
    {
      const std::scoped_lock lock(mutex_);
      const auto known = std::ranges::find(latest_, scene, &std::pair<Scene, Pixels>::first);
      if (known != latest_.end()) {
        return known->second;
      }
    }
    Pixels pixels = drawn(list, options, renderer);
    const std::scoped_lock lock(mutex_);
    latest_.emplace_front(std::move(scene), pixels);
    if (latest_.size() > kMaxCachedImages) {
      latest_.pop_back();
    }
    return pixels;
  }

  const std::filesystem::path bundle_;
  const std::filesystem::path systemFonts_;
  const Deliver deliver_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Renderer>> idle_;
  std::deque<std::pair<Scene, Pixels>> latest_;
  std::deque<std::future<void>> pending_;
  // Last: its destructor waits for the threads, which use all of the above.
  boost::asio::thread_pool threads_{kThreads};
};

ImageRenderer::ImageRenderer(std::filesystem::path bundle,
                             std::filesystem::path systemFonts,
                             Deliver deliver)
    : workers_(std::make_unique<Workers>(
          std::move(bundle), std::move(systemFonts), std::move(deliver))) {
}

ImageRenderer::~ImageRenderer() = default;

void ImageRenderer::add(RenderInput input) {
  batch_.push_back(std::move(input));
  if (batch_.size() == kBatchSize) {
    workers_->run(std::exchange(batch_, {}));
  }
}

void ImageRenderer::finish() {
  workers_->run(std::exchange(batch_, {}));
  workers_->finish();
}

}  // namespace host
