#include "platform/render/output/renderer.h"

#include <dlfcn.h>

#include <system_error>
#include <utility>

#include "platform/render/images/picture_store.h"
#include "platform/render/images/png_reader.h"
#include "platform/render/layout/layout.h"
#include "platform/render/output/png_encoder.h"
#include "platform/render/output/svg_document.h"
#include "platform/render/paint/rasterizer.h"
#include "platform/render/text/text_breaker.h"
#include "platform/render/text/text_lock.h"
#include "platform/render/text/typefaces.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

/// The library that draws SVG lies beside the program or library that this code is in.
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

  std::string encodePNG(const Bitmap& bitmap) override { return encoder_.encode(bitmap); }

  std::expected<Bitmap, std::string> decodePNG(std::string_view bytes) override {
    const auto picture = readPNG(bytes, 1);
    if (!picture) {
      return std::unexpected(picture.error());
    }
    Bitmap bitmap{.width = picture->width, .height = picture->height};
    for (int y = 0; y < bitmap.height; ++y) {
      const auto row = picture->row(y);
      bitmap.pixels.insert(bitmap.pixels.end(), row.begin(), row.end());
    }
    return bitmap;
  }

  std::expected<std::string, std::string> svg(const DisplayList& list,
                                              const PictureOptions& options) override {
    const TextLock lock;
    return svgDocument(
        list, options, {.texts = *texts_, .pictures = pictures_, .encoder = encoder_});
  }

  const std::set<std::string>& missingImages() const override { return pictures_.missing(); }

 private:
  std::unique_ptr<Typefaces> typefaces_;
  std::unique_ptr<TextBreaker> texts_ = std::make_unique<TextBreaker>(*typefaces_);
  PictureStore pictures_;
  Rasterizer rasterizer_{*texts_, pictures_};
  PNGEncoder encoder_;
  /// Kept between pictures, as the encoder's buffers are.
  Bitmap scratch_;
};

}  // namespace

std::expected<std::unique_ptr<Renderer>, std::string> openRenderer(const fs::path& bundle,
                                                                   const fs::path& systemFonts) {
  const TextLock lock;
  auto typefaces = Typefaces::open(bundle, systemFonts);
  if (!typefaces) {
    return std::unexpected(std::move(typefaces).error());
  }
  return std::make_unique<BundleRenderer>(std::move(*typefaces), bundle);
}

}  // namespace platform
