#include "host/sheet/goldens.h"

#include <algorithm>
#include <iterator>
#include <system_error>

#include "host/phone/command_error.h"
#include "platform/support/files.h"

namespace host {

namespace fs = std::filesystem;

using namespace platform;
using enum Difference::Kind;

namespace {

PixelSize sizeOf(const Bitmap& bitmap) {
  return {bitmap.width, bitmap.height};
}

Bitmap ownPixels(const Print& print, Renderer& renderer) {
  auto bitmap = renderer.decodePNG(print.png);
  if (!bitmap) {
    throw CommandError("a picture of this run can't be read back: " + bitmap.error());
  }
  return *std::move(bitmap);
}

}  // namespace

std::string_view nameOf(Difference::Kind kind) {
  constexpr std::string_view kNames[] = {
      "pixels", "size", "display-list", "missing", "unreadable", "extra"};
  return kNames[static_cast<std::size_t>(kind)];
}

std::optional<Difference> Goldens::compare(const std::string& name,
                                           const Print& print,
                                           Renderer& renderer,
                                           DifferencePictures& pictures) const {
  auto png = readFile(folder_ / (name + ".png"));
  if (!png || *png != print.png) {
    const Bitmap actual = ownPixels(print, renderer);
    if (!png && png.error() == std::errc::no_such_file_or_directory) {
      return Difference{.kind = missing, .name = name, .actual = sizeOf(actual)};
    }
    const auto golden = png ? renderer.decodePNG(*png) : std::unexpected(png.error().message());
    if (!golden) {
      return Difference{
          .kind = unreadable, .name = name, .actual = sizeOf(actual), .reason = golden.error()};
    }
    Difference difference = {
        .kind = size, .name = name, .expected = sizeOf(*golden), .actual = sizeOf(actual)};
    if (difference.expected != difference.actual) {
      pictures.expected = *std::move(png);
      return difference;
    }
    difference.kind = Difference::Kind::pixels;
    difference.numbers = host::compare(*golden, actual);
    if (difference.numbers.pixels > 0) {
      pictures.expected = *std::move(png);
      pictures.difference = renderer.encodePNG(differencePicture(*golden, actual));
      return difference;
    }
  }
  const auto list = readFile(folder_ / (name + ".json"));
  if (list && *list != print.list) {
    return Difference{.kind = displayList, .name = name};
  }
  return std::nullopt;
}

std::vector<Difference> Goldens::extras(std::span<const std::string_view> kinds,
                                        const std::set<std::string>& known) const {
  std::set<std::string> names;
  for (const std::string_view kind : kinds) {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder_ / kind, none)) {
      const fs::path& file = entry.path();
      const std::string name = std::string(kind) + "/" + file.stem().string();
      if ((file.extension() == ".png" || file.extension() == ".json") && !known.contains(name)) {
        names.insert(name);
      }
    }
  }
  std::vector<Difference> extras;
  std::ranges::transform(names, std::back_inserter(extras), [](const std::string& name) {
    return Difference{.kind = extra, .name = name};
  });
  return extras;
}

void Goldens::accept(const fs::path& file, std::string_view bytes) const {
  const fs::path path = folder_ / file;
  if (const auto present = readFile(path); present && *present == bytes) {
    return;
  }
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  if ((error = replaceFile(path, bytes))) {
    throw CommandError(path.string() + " can't be written: " + error.message());
  }
}

void Goldens::remove(const std::string& name) const {
  for (const char* ending : {".png", ".json"}) {
    std::error_code error;
    fs::remove(folder_ / (name + ending), error);
    if (error) {
      throw CommandError((folder_ / (name + ending)).string() +
                         " can't be removed: " + error.message());
    }
  }
}

}  // namespace host
