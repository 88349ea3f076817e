#include "tests/platform/render/output/test_bundle.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/render/output/png_encoder.h"

namespace platform {

namespace fs = std::filesystem;

TestBundle::TestBundle() {
  write("Info.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
  <key>UIAppFonts</key>
  <array><string>Literata-latin.ttf</string><string>Literata-latin-ext.ttf</string></array>
  <key>GlanceryFontAliases</key>
  <dict><key>Sentient Variable</key><string>Literata</string></dict>
</dict></plist>
)");
  for (const char* font : {"Literata-latin.ttf", "Literata-latin-ext.ttf"}) {
    fs::create_symlink(fs::path(GLANCERY_TEST_FONTS) / font, folder() / font);
  }
}

fs::path TestBundle::write(const fs::path& file, std::string_view bytes) {
  const fs::path path = folder() / file;
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  EXPECT_TRUE(out.flush()) << path;
  return path;
}

fs::path TestBundle::writeImageSet(const std::string& name,
                                   const std::string& images,
                                   const std::map<std::string, std::string>& files) {
  const fs::path set = fs::path("Assets.xcassets") / (name + ".imageset");
  write(set / "Contents.json",
        R"({"info": {"author": "xcode", "version": 1}, "images": [)" + images + "]}");
  for (const auto& [file, bytes] : files) {
    write(set / file, bytes);
  }
  return folder() / set;
}

fs::path TestBundle::writeDrawing(const std::string& name, const std::string& svg) {
  return writeImageSet(
      name, R"({"idiom": "universal", "filename": ")" + name + R"(.svg"})", {{name + ".svg", svg}});
}

std::unique_ptr<Typefaces> TestBundle::typefaces() const {
  auto opened = Typefaces::open(folder(), kSystemFonts);
  EXPECT_TRUE(opened) << opened.error();
  return opened ? std::move(*opened) : nullptr;
}

void preRenderPixels(const TestBundle& bundle) {
  const fs::path source = bundle.folder() / "Source.xcassets";
  fs::rename(bundle.assets(), source);
  const std::string command =
      GLANCERY_BUILD "/glancery_pixels " + source.string() + " " + bundle.assets().string();
  ASSERT_EQ(std::system(command.c_str()), 0);
  fs::remove_all(source);
}

Bitmap solid(int width, int height, std::uint32_t pixel) {
  return {.width = width,
          .height = height,
          .pixels = std::vector(static_cast<std::size_t>(width) * height, pixel)};
}

std::string solidPNG(int width, int height, std::uint32_t pixel) {
  return PNGEncoder().encode(solid(width, height, pixel));
}

std::string sampleSVG(int width, int height) {
  const std::string size =
      "width=\"" + std::to_string(width) + "\" height=\"" + std::to_string(height) + "\"";
  return "<svg xmlns='http://www.w3.org/2000/svg' " + size + R"svg(>
<linearGradient id="sky" x2="0.3" y2="1">
  <stop stop-color="#2b1e5c"/><stop offset="1" stop-color="#f4a261"/>
</linearGradient>
<rect )svg" +
         size + R"svg( fill="url(#sky)"/>
<circle cx="60%" cy="40%" r="30%" fill="#fff" fill-opacity="0.6"/>
</svg>)svg";
}

}  // namespace platform
