// Makes a bundle's asset catalogue from its source: a copy, with ready pixels beside every drawing.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "platform/render/images/pixel_file.h"
#include "platform/render/svg/svg_drawing.h"
#include "platform/support/file_bytes.h"

namespace {

namespace fs = std::filesystem;
using namespace platform;

constexpr int kScales[] = {2, 3};

[[noreturn]] void fail(const std::string& what) {
  std::cerr << "glancery_pixels: " << what << '\n';
  std::exit(1);
}

bool isCurrent(const fs::path& pixels, const DrawingIdentity& drawing) {
  const auto file = openPixelFile(pixels);
  return file && *file && (*file)->drawing == drawing;
}

void drawReadyPixels(const fs::path& drawing) {
  const auto bytes = fileBytes(drawing);
  if (!bytes) {
    fail(bytes.error());
  }
  const DrawingIdentity identity = identify(*bytes);
  for (const int scale : kScales) {
    const fs::path file = pixelFileFor(drawing, scale);
    if (isCurrent(file, identity)) {
      continue;
    }
    auto picture = drawSVG(*bytes, scale);
    if (!picture) {
      fail(drawing.string() + ": " + picture.error());
    }
    const auto written =
        writePixelFile(file, {.drawing = identity, .scale = scale, .picture = std::move(*picture)});
    if (!written) {
      fail(written.error());
    }
  }
}

/// Whether the source still has what a file of the built catalogue was made from.
bool hasSource(const fs::path& built, const fs::path& source) {
  if (built.extension() != ".pixels") {
    return fs::exists(source);
  }
  const std::string stem = built.stem();
  fs::path drawing = source;
  drawing.replace_filename(stem.substr(0, stem.rfind('@')) + ".svg");
  return fs::exists(drawing);
}

void removeLeftovers(const fs::path& source, const fs::path& built) {
  std::vector<fs::path> leftovers;
  for (const auto& entry : fs::recursive_directory_iterator(built)) {
    if (!hasSource(entry.path(), source / fs::relative(entry.path(), built))) {
      leftovers.push_back(entry.path());
    }
  }
  for (const fs::path& path : leftovers) {
    fs::remove_all(path);
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::cerr << "usage: glancery_pixels SOURCE.xcassets BUILT.xcassets\n";
    return 2;
  }
  const fs::path source = arguments[1];
  const fs::path built = arguments[2];
  try {
    fs::create_directories(built);
    removeLeftovers(source, built);
    constexpr auto kOptions = fs::copy_options::recursive | fs::copy_options::overwrite_existing;
    fs::copy(source, built, kOptions);
    for (const auto& entry : fs::recursive_directory_iterator(built)) {
      if (entry.path().extension() == ".svg") {
        drawReadyPixels(entry.path());
      }
    }
  } catch (const fs::filesystem_error& error) {
    fail(error.what());
  }
}
