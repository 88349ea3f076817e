#include <filesystem>
#include <fstream>

#include "fuzz/fuzz.h"
#include "platform/render/images/asset_catalog.h"
#include "platform/support/scratch_folder.h"

using namespace platform;

// The input is the Contents.json of an image set. The file to draw from is one of the set's own.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ScratchFolder catalog;
  static const auto set = catalog.path() / "group" / "flame.imageset";
  std::filesystem::create_directories(set);
  std::ofstream(set / "Contents.json", std::ios::binary) << fuzz::bytes(data, size);
  AssetCatalog assets(catalog.path());
  for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
    for (const double scale : {1.0, 2.5, 4.0}) {
      const auto file = assets.file("flame", scheme, scale);
      if (fuzz::accepted(file) && *file) {
        fuzz::expect((*file)->path.parent_path() == set, "a file lies in its set");
        fuzz::expect((*file)->path == (*file)->path.lexically_normal(), "a file has a plain name");
      }
    }
  }
  return 0;
}
