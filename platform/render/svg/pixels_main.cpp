// Makes a bundle's asset catalogue from its source: a copy, with pre-rendered pixels beside every
// drawing.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "platform/render/images/pixel_file.h"
#include "platform/render/svg/svg_drawing.h"
#include "platform/support/files.h"
#include "platform/support/fingerprint.h"

namespace {

namespace fs = std::filesystem;
using namespace platform;

constexpr int kScales[] = {2, 3};

[[noreturn]] void fail(const std::string& what) {
  std::cerr << "glancery_pixels: " << what << '\n';
  std::exit(1);
}

void preRender(const fs::path& drawing) {
  const auto bytes = readFile(drawing);
  if (!bytes) {
    fail(drawing.string() + ": " + bytes.error().message());
  }
  for (const int scale : kScales) {
    const fs::path file = pixelFileFor(drawing, scale);
    if (const auto current = openPixelFile(file, checksum(*bytes)); current && *current) {
      continue;
    }
    const auto picture = drawSVG(*bytes, scale);
    if (!picture) {
      fail(drawing.string() + ": " + picture.error());
    }
    if (const auto written = writePixelFile(file, checksum(*bytes), scale, *picture); !written) {
      fail(written.error());
    }
  }
}

void removeFilesWithoutSource(const fs::path& source, const fs::path& built) {
  std::vector<fs::path> leftovers;
  for (const auto& entry : fs::recursive_directory_iterator(built)) {
    fs::path origin = source / fs::relative(entry.path(), built);
    if (origin.extension() == ".pixels") {
      const std::string stem = origin.stem();
      origin.replace_filename(stem.substr(0, stem.rfind('@')) + ".svg");
    }
    if (!fs::exists(origin)) {
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
    removeFilesWithoutSource(source, built);
    constexpr auto kOptions = fs::copy_options::recursive | fs::copy_options::overwrite_existing;
    fs::copy(source, built, kOptions);
    for (const auto& entry : fs::recursive_directory_iterator(built)) {
      if (entry.path().extension() == ".svg") {
        preRender(entry.path());
      }
    }
  } catch (const fs::filesystem_error& error) {
    fail(error.what());
  }
}
