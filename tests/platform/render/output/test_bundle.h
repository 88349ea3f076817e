#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/render/pixels/bitmap.h"
#include "platform/render/text/typefaces.h"
#include "platform/support/scratch_folder.h"

namespace platform {

inline const std::filesystem::path kSystemFonts = GLANCERY_BUILD "/system/Fonts";
inline const std::filesystem::path kSVGModule = GLANCERY_BUILD "/libglancery_svg.so";

/// A temporary bundle folder with the serif and no pictures.
class TestBundle {
 public:
  TestBundle();

  const std::filesystem::path& folder() const { return folder_.path(); }
  std::filesystem::path assets() const { return folder() / "Assets.xcassets"; }

  /// Writes a file below the bundle's folder, with the folders it lies in.
  std::filesystem::path write(const std::filesystem::path& file, std::string_view bytes);

  /// An image set of these files; `images` are the elements of the array in Contents.json.
  std::filesystem::path writeImageSet(const std::string& name,
                                      const std::string& images,
                                      const std::map<std::string, std::string>& files);

  /// An image set of one drawing.
  std::filesystem::path writeDrawing(const std::string& name, const std::string& svg);

  std::unique_ptr<Typefaces> typefaces() const;

 private:
  ScratchFolder folder_;
};

/// Puts pre-rendered pixels beside the drawings of a bundle's catalogue, as the build does.
void preRenderPixels(const TestBundle& bundle);

Bitmap solid(int width, int height, std::uint32_t pixel);

/// A PNG of one colour.
std::string solidPNG(int width, int height, std::uint32_t pixel);

/// An SVG of that size whose pixels differ from one another: gradients, a curve, transparency.
std::string sampleSVG(int width, int height);

}  // namespace platform
