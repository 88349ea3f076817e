#include "host/sheet/darkroom.h"

#include <utility>

#include "host/phone/command_error.h"
#include "platform/render/output/render_module.h"

namespace host {

using namespace platform;

namespace {

/// Enough for a state's pictures of all sizes, few enough that all threads end at about the same
/// time.
constexpr std::size_t kBatch = 24;
constexpr std::size_t kMostWaiting = 8;

template <class T>
T valueOf(std::expected<T, std::string> result) {
  if (!result) {
    throw CommandError(result.error());
  }
  return *std::move(result);
}

Scene sceneOf(DisplayList list, const PictureOptions& options) {
  list.widgetURL.reset();
  for (DisplayItem& item : list.items) {
    item.link.reset();
  }
  return {std::move(list), options.scale, options.scheme};
}

std::shared_ptr<const Developed> developed(const DisplayList& list,
                                           const PictureOptions& options,
                                           Renderer& renderer) {
  PictureOptions square = options;
  square.cornerRadius = 0;
  return std::make_shared<const Developed>(
      valueOf(renderer.png(list, options)),
      checkContrast(list, options.scheme, static_cast<int>(options.scale), [&](const auto& part) {
        return valueOf(renderer.rasterize(part, square));
      }));
}

}  // namespace

Darkroom::Darkroom(const std::filesystem::path& bundle,
                   const std::filesystem::path& systemFonts,
                   std::size_t threads,
                   Deliver deliver)
    : deliver_(std::move(deliver)) {
  for (std::size_t index = 0; index < threads; ++index) {
    renderers_.push_back(valueOf(loadRenderer(bundle, systemFonts)));
  }
  for (const auto& renderer : renderers_) {
    threads_.emplace_back([this, &renderer] { work(*renderer); });
  }
}

Darkroom::~Darkroom() {
  {
    const std::scoped_lock lock(mutex_);
    waiting_.clear();
  }
  close();
}

void Darkroom::close() {
  {
    const std::scoped_lock lock(mutex_);
    closed_ = true;
  }
  filled_.notify_all();
  for (std::thread& thread : threads_) {
    if (thread.joinable()) {
      thread.join();
    }
  }
}

void Darkroom::add(Exposure exposure) {
  gathering_.push_back(std::move(exposure));
  if (gathering_.size() == kBatch) {
    handOver();
  }
}

void Darkroom::handOver() {
  std::unique_lock lock(mutex_);
  emptied_.wait(lock, [this] { return waiting_.size() < kMostWaiting || failure_; });
  if (failure_) {
    std::rethrow_exception(failure_);
  }
  waiting_.push_back(std::exchange(gathering_, {}));
  lock.unlock();
  filled_.notify_one();
}

void Darkroom::finish() {
  if (!gathering_.empty()) {
    handOver();
  }
  close();
  if (failure_) {
    std::rethrow_exception(failure_);
  }
}

Darkroom::Batch Darkroom::nextBatch() {
  std::unique_lock lock(mutex_);
  filled_.wait(lock, [this] { return !waiting_.empty() || closed_; });
  if (waiting_.empty() || failure_) {
    return {};
  }
  Batch batch = std::move(waiting_.front());
  waiting_.pop_front();
  lock.unlock();
  emptied_.notify_one();
  return batch;
}

Print Darkroom::develop(const Exposure& exposure, Renderer& renderer) {
  const PictureOptions& options = exposure.options;
  const DisplayList list =
      renderer.layOut(exposure.view, exposure.size, exposure.contentMargins, exposure.direction);
  Scene scene = sceneOf(list, options);
  auto picture = shelf_.find(scene);
  if (!picture) {
    picture = developed(list, options, renderer);
    shelf_.keep(std::move(scene), picture);
  }
  Print print = {.png = picture->png,
                 .list = displayListJSON(list) + "\n",
                 .size = list.size,
                 .findings = checkList(list, renderer.missingImages())};
  print.findings.insert(print.findings.end(), picture->contrast.begin(), picture->contrast.end());
  return print;
}

void Darkroom::work(Renderer& renderer) {
  try {
    for (Batch batch = nextBatch(); !batch.empty(); batch = nextBatch()) {
      for (const Exposure& exposure : batch) {
        deliver_(exposure.number, develop(exposure, renderer), renderer);
      }
    }
  } catch (...) {
    const std::scoped_lock lock(mutex_);
    failure_ = failure_ ? failure_ : std::current_exception();
    emptied_.notify_all();
  }
}

}  // namespace host
