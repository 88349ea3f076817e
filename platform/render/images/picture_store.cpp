#include "platform/render/images/picture_store.h"

#include <cmath>

#include "platform/render/images/pixel_file.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/render/svg/svg_drawing.h"
#include "platform/support/files.h"
#include "platform/support/fingerprint.h"
#include "platform/support/module_library.h"

namespace platform {
namespace {

/// 48 MiB: every backdrop of a home screen in both schemes.
constexpr std::size_t kMostStretchedPixels = 12 << 20;

/// The layout measures the file for this scale.
constexpr double kLayoutScale = 3;

}  // namespace

std::optional<Size> PictureStore::naturalSize(std::string_view name) {
  // Files for other schemes and scales may differ by a fraction of a point. The layout must not
  // depend on which of them were drawn before.
  const auto found = picture(name, ColorScheme::light, kLayoutScale);
  if (!found) {
    return Size{};
  }
  return *found ? std::optional((*found)->naturalSize) : std::nullopt;
}

PictureStore::Result PictureStore::picture(std::string_view name,
                                           ColorScheme scheme,
                                           double scale) {
  const auto found = catalog_.file(name, scheme, scale);
  if (!found) {
    return std::unexpected(found.error());
  }
  const ImageFile* file = *found;
  if (!file) {
    missing_.emplace(name);
    return nullptr;
  }
  const int drawnScale = file->isDrawing() ? static_cast<int>(std::ceil(scale)) : 0;
  auto& kept = loaded_[FileKey(file->path.string(), drawnScale)];
  if (!kept) {
    auto loaded = load(*file, drawnScale);
    if (!loaded) {
      return std::unexpected(std::move(loaded).error());
    }
    kept = std::make_shared<const Picture>(*std::move(loaded));
  }
  return kept;
}

PictureStore::Result PictureStore::stretched(
    std::string_view name, ColorScheme scheme, double scale, int width, int height) {
  auto original = picture(name, scheme, scale);
  if (!original || !*original || ((*original)->width == width && (*original)->height == height)) {
    return original;
  }
  if (width > kMaxSide || height > kMaxSide) {
    return std::unexpected("picture \"" + std::string(name) +
                           "\" would be stretched beyond 8192 pixels a side");
  }
  StretchKey key(*original, width, height);
  if (const auto known = stretched_.find(key); known != stretched_.end()) {
    return known->second;
  }
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  stretchedPixels_ += pixels;
  if (stretchedPixels_ > kMostStretchedPixels) {
    stretched_.clear();
    stretchedPixels_ = pixels;
  }
  auto result = std::make_shared<const Picture>(scaled(**original, width, height));
  stretched_.emplace(std::move(key), result);
  return result;
}

std::expected<Picture, std::string> PictureStore::load(const ImageFile& file, int scale) const {
  const auto named = [&](std::expected<Picture, std::string> result) {
    if (!result) {
      result.error().insert(0, file.path.string() + ": ");
    }
    return result;
  };
  const auto bytes = readFile(file.path);
  if (!bytes) {
    return named(std::unexpected(bytes.error().message()));
  }
  if (!file.isDrawing()) {
    return named(readPNG(*bytes, file.scale));
  }
  const std::uint64_t drawing = checksum(*bytes);
  // The scale itself, then a finer one, then a coarser one.
  for (const int candidate : {scale, scale + 1, scale + 2, scale - 1}) {
    auto pixels = openPixelFile(pixelFileFor(file.path, candidate), drawing);
    if (!pixels) {
      return std::unexpected(std::move(pixels).error());
    }
    if (*pixels) {
      return **std::move(pixels);
    }
  }
  const auto draw = openModule(svgModule_, "glanceryDrawSVG");
  if (!draw) {
    return named(std::unexpected(draw.error()));
  }
  std::expected<Picture, std::string> result;
  reinterpret_cast<decltype(glanceryDrawSVG)*> (*draw)(*bytes, scale, result);
  return named(std::move(result));
}

}  // namespace platform
