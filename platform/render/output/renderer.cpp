#include "platform/render/output/renderer.h"

#include <dlfcn.h>

#include <utility>

#include "platform/render/images/picture_store.h"
#include "platform/render/layout/layout.h"
#include "platform/render/output/png_encoder.h"
#include "platform/render/output/render_module.h"
#include "platform/render/paint/rasterizer.h"
#include "platform/render/text/text_breaker.h"
#include "platform/render/text/typefaces.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

/// The library that draws SVG is beside the library that this code is in.
fs::path svgModule() {
  static const char here = 0;
  Dl_info module = {};
  dladdr(&here, &module);
  return fs::path(module.dli_fname).parent_path() / "libglancery_svg.so";
}

class BundleRenderer final : public Renderer {
 public:
  BundleRenderer(std::unique_ptr<Typefaces> typefaces, const fs::path& bundle)
      : typefaces_(std::move(typefaces)), pictures_(bundle / "Assets.xcassets", svgModule()) {}
  ~BundleRenderer() override {
    const TextLock lock;
    texts_.reset();
    typefaces_.reset();
  }
  BundleRenderer(const BundleRenderer&) = delete;
  BundleRenderer& operator=(const BundleRenderer&) = delete;

  DisplayList layOut(const ArchivedView& view,
                     Size widget,
                     EdgeInsets contentMargins,
                     LayoutDirection direction) override {
    const TextLock lock;
    return platform::layOut(
        view,
        widget,
        contentMargins,
        {.text = *texts_,
         .imageSize = [this](std::string_view name) { return pictures_.naturalSize(name); },
         .direction = direction});
  }

  std::expected<Bitmap, std::string> rasterize(const DisplayList& list,
                                               const PictureOptions& options) override {
    Bitmap bitmap;
    if (auto painted = rasterizer_.paint(list, options, bitmap); !painted) {
      return std::unexpected(std::move(painted).error());
    }
    return bitmap;
  }

  std::expected<std::string, std::string> png(const DisplayList& list,
                                              const PictureOptions& options) override {
    if (auto painted = rasterizer_.paint(list, options, scratch_); !painted) {
      return std::unexpected(std::move(painted).error());
    }
    return encoder_.encode(scratch_);
  }

  std::expected<std::string, std::string> svg(const DisplayList& list,
                                              const PictureOptions& options) override {
    return rasterizer_.svg(list, options);
  }

  std::string encodePNG(const Bitmap& bitmap) override { return encoder_.encode(bitmap); }

  std::expected<Bitmap, std::string> decodePNG(std::string_view bytes) override {
    const auto picture = readPNG(bytes, 1);
    if (!picture) {
      return std::unexpected(picture.error());
    }
    const auto pixels = picture->allPixels();
    return Bitmap{.width = picture->width,
                  .height = picture->height,
                  .pixels = {pixels.begin(), pixels.end()}};
  }

  const std::set<std::string>& missingImages() const override { return pictures_.missing(); }

 private:
  std::unique_ptr<Typefaces> typefaces_;
  std::unique_ptr<TextBreaker> texts_ = std::make_unique<TextBreaker>(*typefaces_);
  PictureStore pictures_;
  Rasterizer rasterizer_{*texts_, pictures_};
  PNGEncoder encoder_;
  /// Keeps its memory between pictures.
  Bitmap scratch_;
};

}  // namespace
}  // namespace platform

__attribute__((visibility("default"))) void glanceryOpenRenderer(
    const std::filesystem::path& bundle,
    const std::filesystem::path& systemFonts,
    std::expected<std::unique_ptr<platform::Renderer>, std::string>& result) {
  const platform::TextLock lock;
  auto typefaces = platform::Typefaces::open(bundle, systemFonts);
  if (typefaces) {
    result = std::make_unique<platform::BundleRenderer>(std::move(*typefaces), bundle);
  } else {
    result = std::unexpected(std::move(typefaces).error());
  }
}
