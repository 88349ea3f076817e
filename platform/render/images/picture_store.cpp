#include "platform/render/images/picture_store.h"

#include <cmath>
#include <utility>

#include "platform/render/images/pixel_file.h"
#include "platform/render/images/png_reader.h"
#include "platform/render/svg/svg_entry.h"
#include "platform/support/file_bytes.h"
#include "platform/support/module_library.h"

namespace platform {
namespace {

/// 48 MiB: every backdrop of a home screen in both schemes.
constexpr std::size_t kMostStretchedPixels = 12 << 20;

constexpr int kMaxSide = 8192;

/// Whose file the layout measures.
constexpr double kLayoutScale = 3;

}  // namespace

PictureStore::PictureStore(std::filesystem::path catalog, std::filesystem::path svgModule)
    : catalog_(std::move(catalog)), svgModule_(std::move(svgModule)) {
}

std::optional<Size> PictureStore::naturalSize(std::string_view name) {
  // A dark variant has the size of the general one; that is the one the layout knows about. Files
  // of several scales may differ by a fraction of a point, which must not depend on what was drawn
  // before.
  const auto found = picture(name, ColorScheme::light, kLayoutScale);
  if (!found) {
    return Size{};
  }
  return *found ? std::optional((*found)->naturalSize) : std::nullopt;
}

PictureStore::Result PictureStore::picture(std::string_view name,
                                           ColorScheme scheme,
                                           double scale) {
  const auto set = catalog_.imageSet(name);
  if (!set) {
    return std::unexpected(set.error());
  }
  const ImageFile* file = *set ? choose(**set, scheme, scale) : nullptr;
  if (!file) {
    missing_.emplace(name);
    return nullptr;
  }
  const int drawnScale = file->isDrawing() ? static_cast<int>(std::ceil(scale)) : 0;
  FileKey key(file->path.string(), drawnScale);
  if (const auto known = loaded_.find(key); known != loaded_.end()) {
    return known->second;
  }
  auto loaded = load(*file, drawnScale);
  if (loaded) {
    loaded_.emplace(std::move(key), *loaded);
  }
  return loaded;
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
  stretchedPixels_ += static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  if (stretchedPixels_ > kMostStretchedPixels) {
    stretched_.clear();
    stretchedPixels_ = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  auto result = std::make_shared<const Picture>(scaled(**original, width, height));
  stretched_.emplace(std::move(key), result);
  return result;
}

PictureStore::Result PictureStore::load(const ImageFile& file, int scale) {
  const auto bytes = fileBytes(file.path);
  if (!bytes) {
    return std::unexpected(bytes.error());
  }
  if (file.isDrawing()) {
    if (auto ready = readyPixels(file, *bytes, scale); !ready || *ready) {
      return ready;
    }
  }
  auto picture = file.isDrawing() ? draw(*bytes, scale) : readPNG(*bytes, file.scale);
  if (!picture) {
    return std::unexpected(file.path.string() + ": " + picture.error());
  }
  return std::make_shared<const Picture>(std::move(*picture));
}

PictureStore::Result PictureStore::readyPixels(const ImageFile& file,
                                               std::string_view drawing,
                                               int scale) {
  const DrawingIdentity identity = identify(drawing);
  // The scale itself, then a finer one, then a coarser one.
  for (const int candidate : {scale, scale + 1, scale + 2, scale - 1}) {
    auto ready = openPixelFile(pixelFileFor(file.path, candidate));
    if (!ready) {
      return std::unexpected(std::move(ready).error());
    }
    if (*ready && (*ready)->drawing == identity) {
      return std::make_shared<const Picture>(std::move((*ready)->picture));
    }
  }
  return nullptr;
}

std::expected<Picture, std::string> PictureStore::draw(std::string_view drawing, int scale) {
  const auto entry = openModule(svgModule_, kSVGEntry);
  if (!entry) {
    return std::unexpected(entry.error());
  }
  std::expected<Picture, std::string> result;
  reinterpret_cast<SVGEntry*> (*entry)(drawing, scale, result);
  return result;
}

}  // namespace platform
