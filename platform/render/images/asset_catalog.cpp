#include "platform/render/images/asset_catalog.h"

#include <system_error>
#include <utility>

#include "platform/foundation/data/json_serialization.h"
#include "platform/support/file_bytes.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSetExtension = ".imageset";

bool providesNamespace(const fs::path& group) {
  auto bytes = fileBytes(group / "Contents.json");
  // A group needs no Contents.json.
  const auto json = NSJSONSerialization::JSONObjectWithData({std::move(bytes).value_or("{}")});
  const Dictionary* contents = json ? json->dictionary() : nullptr;
  const Value* properties = contents ? contents->find("properties") : nullptr;
  return properties && properties->dictionary() &&
         properties->dictionary()->integer("provides-namespace") == 1;
}

}  // namespace

std::expected<const std::vector<ImageFile>*, std::string> AssetCatalog::imageSet(
    std::string_view name) {
  if (const auto known = sets_.find(name); known != sets_.end()) {
    return &known->second;
  }
  const auto folder = find(std::string(name));
  if (!folder) {
    return nullptr;
  }
  auto files = readImageSet(*folder);
  if (!files) {
    return std::unexpected(std::move(files).error());
  }
  return &sets_.emplace(name, std::move(*files)).first->second;
}

std::optional<fs::path> AssetCatalog::find(const std::string& name) {
  std::error_code ignored;
  const bool isPlain = !name.empty() && name.find('/') == std::string::npos;
  if (fs::path direct = folder_ / (name + std::string(kSetExtension));
      isPlain && fs::is_directory(direct, ignored)) {
    return direct;
  }
  if (!grouped_) {
    grouped_.emplace();
    addGroup(folder_, "");
  }
  const auto found = grouped_->find(name);
  return found == grouped_->end() ? std::nullopt : std::optional(found->second);
}

void AssetCatalog::addGroup(const fs::path& folder, const std::string& prefix) {
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    if (!entry.is_directory(ignored)) {
      continue;
    }
    const fs::path& path = entry.path();
    if (path.extension() == kSetExtension) {
      grouped_->emplace(prefix + path.stem().string(), path);
    } else if (!path.has_extension()) {
      addGroup(path, providesNamespace(path) ? prefix + path.filename().string() + "/" : prefix);
    }
  }
}

}  // namespace platform
