#include "host/sheet/goldens.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "platform/support/files.h"

namespace host {

namespace fs = std::filesystem;

using namespace platform;

namespace {

constexpr std::uint32_t kDifferingPixel = 0xFF'E0'00'30;

PixelSize sizeOf(const Bitmap& bitmap) {
  return {bitmap.width, bitmap.height};
}

int channel(std::uint32_t pixel, int shift) {
  return static_cast<int>((pixel >> shift) & 0xFF);
}

/// The pixel as a light grey, on white.
std::uint32_t faint(std::uint32_t pixel) {
  const int uncovered = 255 - channel(pixel, 24);
  const int grey = (channel(pixel, 16) * 2 + channel(pixel, 8) * 5 + channel(pixel, 0)) / 8;
  const auto shade = static_cast<std::uint32_t>(255 - (255 - grey - uncovered) / 4);
  return 0xFF'00'00'00 | shade << 16 | shade << 8 | shade;
}

/// Counts the differing pixels of two bitmaps of one size into `difference`. Returns an image of
/// them in red, over a faint image of the expected one.
Bitmap comparePixels(const Bitmap& expected, const Bitmap& actual, Difference& difference) {
  Bitmap image{.width = expected.width, .height = expected.height};
  image.pixels.reserve(expected.pixels.size());
  std::uint64_t sum = 0;
  for (std::size_t index = 0; index < expected.pixels.size(); ++index) {
    const std::uint32_t one = expected.pixels[index];
    const std::uint32_t other = actual.pixels[index];
    image.pixels.push_back(one == other ? faint(one) : kDifferingPixel);
    difference.pixels += one != other ? 1 : 0;
    for (const int shift : {0, 8, 16, 24}) {
      const int distance = std::abs(channel(one, shift) - channel(other, shift));
      difference.largest = std::max(difference.largest, distance);
      sum += static_cast<std::uint64_t>(distance);
    }
  }
  if (sum > 0) {
    difference.mean = static_cast<double>(sum) / static_cast<double>(4 * expected.pixels.size());
  }
  return image;
}

/// How the golden image, as far as it could be read, differs from the one of this run.
std::optional<Difference> comparePNG(const std::expected<std::string, std::error_code>& golden,
                                     const std::string& name,
                                     const RenderedImage& image,
                                     Renderer& renderer,
                                     OutputFolder& report) {
  if (golden && *golden == image.png) {
    return std::nullopt;
  }
  const auto actual = renderer.decodePNG(image.png);
  if (!actual) {
    throw std::runtime_error(name + ": the rendered image can't be read: " + actual.error());
  }
  Difference difference = {.kind = "missing", .name = name, .actual = sizeOf(*actual)};
  if (!golden && golden.error() == std::errc::no_such_file_or_directory) {
    return difference;
  }
  const auto expected =
      golden ? renderer.decodePNG(*golden) : std::unexpected(golden.error().message());
  if (!expected) {
    difference.kind = "unreadable";
    difference.reason = expected.error();
    return difference;
  }
  difference.expected = sizeOf(*expected);
  if (difference.expected != difference.actual) {
    difference.kind = "size";
  } else {
    difference.kind = "pixels";
    const Bitmap differing = comparePixels(*expected, *actual, difference);
    if (difference.pixels == 0) {
      return std::nullopt;
    }
    report.write("difference/" + name + ".png", renderer.encodePNG(differing));
  }
  report.write("expected/" + name + ".png", *golden);
  return difference;
}

}  // namespace

std::optional<Difference> compareWithGolden(const fs::path& goldens,
                                            const std::string& name,
                                            const RenderedImage& image,
                                            Renderer& renderer,
                                            OutputFolder& report) {
  auto difference = comparePNG(readFile(goldens / (name + ".png")), name, image, renderer, report);
  if (!difference) {
    const auto list = readFile(goldens / (name + ".json"));
    if (!list || *list == image.list) {
      return std::nullopt;
    }
    difference = {.kind = "display-list", .name = name};
  }
  report.write("actual/" + name + ".png", image.png);
  report.write("actual/" + name + ".json", image.list);
  return difference;
}

std::vector<Difference> extraGoldens(const fs::path& goldens,
                                     std::span<const std::string_view> kinds,
                                     const std::set<std::string>& known) {
  std::set<std::string> names;
  for (const std::string_view kind : kinds) {
    std::error_code ignored;  // A widget may have no goldens yet.
    for (const auto& entry : fs::directory_iterator(goldens / kind, ignored)) {
      const fs::path& file = entry.path();
      const std::string name = std::string(kind) + "/" + file.stem().string();
      if ((file.extension() == ".png" || file.extension() == ".json") && !known.contains(name)) {
        names.insert(name);
      }
    }
  }
  std::vector<Difference> extras;
  for (const std::string& name : names) {
    extras.push_back({.kind = "extra", .name = name});
  }
  return extras;
}

void acceptGolden(const fs::path& file, std::string_view bytes) {
  if (const auto present = readFile(file); present && *present == bytes) {
    return;
  }
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  if ((error = replaceFile(file, bytes))) {
    throw std::runtime_error(file.string() + " can't be written: " + error.message());
  }
}

}  // namespace host
