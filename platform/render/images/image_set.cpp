#include "platform/render/images/image_set.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "platform/foundation/data/json_serialization.h"
#include "platform/support/file_bytes.h"

namespace platform {
namespace {

namespace fs = std::filesystem;
using Result = std::expected<std::vector<ImageFile>, std::string>;

/// Qualifiers of files that no widget of a phone shows in full colour.
constexpr std::array kOtherQualifiers = {
    "display-gamut",
    "language-direction",
    "locale",
    "memory",
    "graphics-feature-set",
    "height-class",
    "width-class",
    "screen-width",
    "subtype",
};

enum class Appearance : std::uint8_t { general, dark, other };

Appearance appearance(const Dictionary& image) {
  const Value* list = image.find("appearances");
  if (!list || !list->array() || list->array()->empty()) {
    return Appearance::general;
  }
  if (list->array()->size() > 1) {
    return Appearance::other;
  }
  const Dictionary* only = list->array()->front().dictionary();
  const bool luminosity = only && only->string("appearance") == "luminosity";
  if (luminosity && only->string("value") == "dark") {
    return Appearance::dark;
  }
  return luminosity && only->string("value") == "light" ? Appearance::general : Appearance::other;
}

bool isForPhones(const Dictionary& image) {
  const auto idiom = image.string("idiom").value_or("universal");
  return (idiom == "universal" || idiom == "iphone") &&
         std::ranges::none_of(kOtherQualifiers, [&](auto key) { return image.find(key); });
}

/// 1 to 3, or nothing for a scale that is none.
std::optional<int> scaleOf(const Dictionary& image) {
  const auto text = image.string("scale").value_or("1x");
  return text.size() == 2 && text[0] >= '1' && text[0] <= '3' && text[1] == 'x'
             ? std::optional(text[0] - '0')
             : std::nullopt;
}

}  // namespace

Result readImageSet(const fs::path& folder) {
  const fs::path contents = folder / "Contents.json";
  const auto failure = [&](std::string_view what) {
    return std::unexpected(contents.string() + ": " + std::string(what));
  };
  auto bytes = fileBytes(contents);
  if (!bytes) {
    return std::unexpected(std::move(bytes).error());
  }
  const auto json = NSJSONSerialization::JSONObjectWithData({std::move(*bytes)});
  if (!json) {
    return failure(json.error().debugDescription);
  }
  const Dictionary* set = json->dictionary();
  const Value* images = set ? set->find("images") : nullptr;
  if (!images || !images->array()) {
    return failure("an image set has an array \"images\"");
  }
  if (const Value* properties = set->find("properties");
      properties && properties->dictionary() &&
      properties->dictionary()->string("template-rendering-intent") == "template") {
    return failure("template images are not supported");
  }
  std::vector<ImageFile> files;
  for (const Value& element : *images->array()) {
    const Dictionary* image = element.dictionary();
    if (!image) {
      return failure("an element of \"images\" is not an object");
    }
    const auto name = image->string("filename");
    const Appearance look = appearance(*image);
    if (!name || !isForPhones(*image) || look == Appearance::other) {
      continue;
    }
    ImageFile file{.path = folder / *name, .dark = look == Appearance::dark};
    if (fs::path(*name).has_parent_path()) {
      return failure("\"" + *name + "\" is not a file of the image set's folder");
    }
    if (!file.isDrawing() && file.path.extension() != ".png") {
      return failure("\"" + *name + "\" is neither PNG nor SVG");
    }
    const auto scale = scaleOf(*image);
    if (!scale) {
      return failure("\"" + *name + "\" has a scale other than 1x, 2x and 3x");
    }
    file.scale = file.isDrawing() ? 0 : *scale;
    files.push_back(std::move(file));
  }
  return files;
}

const ImageFile* choose(const std::vector<ImageFile>& files, ColorScheme scheme, double scale) {
  const auto among = [&](bool dark) {
    const ImageFile* best = nullptr;
    for (const ImageFile& file : files) {
      const auto isBetter = [&] {
        if (file.scale == 0 || best->scale == 0) {
          return file.scale == 0 && best->scale != 0;
        }
        const bool enough = file.scale >= scale;
        const bool bestIsEnough = best->scale >= scale;
        if (enough != bestIsEnough) {
          return enough;
        }
        return enough ? file.scale < best->scale : file.scale > best->scale;
      };
      if (file.dark == dark && (!best || isBetter())) {
        best = &file;
      }
    }
    return best;
  };
  const ImageFile* own = among(scheme == ColorScheme::dark);
  return own || scheme == ColorScheme::light ? own : among(false);
}

}  // namespace platform
