#include "platform/render/images/asset_catalog.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <tuple>

#include "platform/foundation/data/json_serialization.h"
#include "platform/support/files.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

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

const Dictionary* dictionaryAt(const Dictionary* parent, std::string_view key) {
  const Value* value = parent ? parent->find(key) : nullptr;
  return value ? value->dictionary() : nullptr;
}

bool providesNamespace(const fs::path& group) {
  // A group needs no Contents.json.
  auto bytes = readFile(group / "Contents.json");
  const auto json = NSJSONSerialization::JSONObjectWithData({std::move(bytes).value_or("{}")});
  const Dictionary* properties = dictionaryAt(json ? json->dictionary() : nullptr, "properties");
  return properties && properties->integer("provides-namespace") == 1;
}

/// "light", "dark", or another text for an appearance that no widget has.
std::string appearance(const Dictionary& image) {
  const Value* list = image.find("appearances");
  if (!list || !list->array() || list->array()->empty()) {
    return "light";
  }
  const Dictionary* only =
      list->array()->size() == 1 ? list->array()->front().dictionary() : nullptr;
  return only && only->string("appearance") == "luminosity" ? only->string("value").value_or("")
                                                            : "";
}

bool isForPhones(const Dictionary& image) {
  const auto idiom = image.string("idiom").value_or("universal");
  return (idiom == "universal" || idiom == "iphone") &&
         std::ranges::none_of(kOtherQualifiers, [&](auto key) { return image.find(key); });
}

/// The files of a set that a phone may show; empty slots are left out.
std::expected<std::vector<ImageFile>, std::string> readImageSet(const fs::path& folder) {
  const fs::path contents = folder / "Contents.json";
  const auto failure = [&](const std::string& what) {
    return std::unexpected(contents.string() + ": " + what);
  };
  auto bytes = readFile(contents);
  if (!bytes) {
    return failure(bytes.error().message());
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
  if (const Dictionary* properties = dictionaryAt(set, "properties");
      properties && properties->string("template-rendering-intent") == "template") {
    return failure("template images are not supported");
  }
  std::vector<ImageFile> files;
  for (const Value& element : *images->array()) {
    const Dictionary* image = element.dictionary();
    if (!image) {
      return failure("an element of \"images\" is not an object");
    }
    const auto name = image->string("filename");
    const std::string look = appearance(*image);
    if (!name || !isForPhones(*image) || (look != "light" && look != "dark")) {
      continue;
    }
    const fs::path file = *name;
    const bool isDrawing = file.extension() == ".svg";
    if (file.has_parent_path()) {
      return failure("\"" + *name + "\" is not a file of the image set's folder");
    }
    if (!isDrawing && file.extension() != ".png") {
      return failure("\"" + *name + "\" is neither PNG nor SVG");
    }
    const std::string scale = image->string("scale").value_or("1x");
    if (scale != "1x" && scale != "2x" && scale != "3x") {
      return failure("\"" + *name + "\" has a scale other than 1x, 2x and 3x");
    }
    files.push_back(
        {.path = folder / file, .scale = isDrawing ? 0 : scale[0] - '0', .dark = look == "dark"});
  }
  return files;
}

}  // namespace

std::expected<const ImageFile*, std::string> AssetCatalog::file(std::string_view name,
                                                                ColorScheme scheme,
                                                                double scale) {
  const auto set = imageSet(name);
  if (!set) {
    return std::unexpected(set.error());
  }
  if (!*set) {
    return nullptr;
  }
  const bool inDark = scheme == ColorScheme::dark;
  const auto rank = [&](const ImageFile& file) {
    const bool enough = file.scale >= scale;
    return std::tuple(
        file.dark != inDark, !file.isDrawing(), !enough, enough ? file.scale : -file.scale);
  };
  const ImageFile* best = nullptr;
  for (const ImageFile& file : **set) {
    if ((inDark || !file.dark) && (!best || rank(file) < rank(*best))) {
      best = &file;
    }
  }
  return best;
}

std::expected<const AssetCatalog::Files*, std::string> AssetCatalog::imageSet(
    std::string_view name) {
  if (const auto known = sets_.find(name); known != sets_.end()) {
    return &known->second;
  }
  if (!folders_.contains(name)) {
    addSets(folder_, "");
  }
  const auto folder = folders_.find(name);
  if (folder == folders_.end()) {
    return nullptr;
  }
  auto files = readImageSet(folder->second);
  if (!files) {
    return std::unexpected(std::move(files).error());
  }
  return &sets_.emplace(name, std::move(*files)).first->second;
}

void AssetCatalog::addSets(const fs::path& folder, const std::string& prefix) {
  std::error_code ignored;
  std::vector<fs::path> groups;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    const fs::path& path = entry.path();
    if (entry.is_directory(ignored) && path.extension() == ".imageset") {
      folders_.emplace(prefix + path.stem().string(), path);
    } else if (entry.is_directory(ignored) && !path.has_extension()) {
      groups.push_back(path);
    }
  }
  for (const fs::path& group : groups) {
    addSets(group, providesNamespace(group) ? prefix + group.filename().string() + "/" : prefix);
  }
}

}  // namespace platform
