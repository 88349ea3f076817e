#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/sheet/darkroom.h"
#include "host/sheet/picture_difference.h"
#include "platform/render/output/renderer.h"

namespace host {

struct PixelSize {
  int width = 0;
  int height = 0;
  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// A picture that is not what it was, or is no longer, or was not before.
struct Difference {
  enum class Kind { pixels, size, displayList, missing, unreadable, extra };
  Kind kind = Kind::pixels;
  /// As `Shot::name`.
  std::string name = {};
  std::optional<PixelSize> expected = {};
  std::optional<PixelSize> actual = {};
  PixelDifference numbers = {};
  /// Why the golden picture can't be read.
  std::string reason = {};
};

/// "pixels", "size", "display-list", "missing", "unreadable", "extra"
std::string_view nameOf(Difference::Kind kind);

/// What a comparison leaves for people to look at, besides the difference itself.
struct DifferencePictures {
  std::string expected;
  /// Only of pictures of the same size.
  std::string difference;
};

/// A folder of pictures and display lists as a sheet has them, to compare with.
class Goldens {
 public:
  explicit Goldens(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// Compares the pixels, then the display list where the folder has one. Files that differ while
  /// their pixels do not are the same picture. From any thread.
  std::optional<Difference> compare(const std::string& name,
                                    const Print& print,
                                    platform::Renderer& renderer,
                                    DifferencePictures& pictures) const;

  /// Golden pictures of those widgets that no sheet has, by name.
  std::vector<Difference> extras(std::span<const std::string_view> kinds,
                                 const std::set<std::string>& known) const;

  /// Puts a file in the place of what is there, in one step; leaves one alone that is the same.
  void accept(const std::filesystem::path& file, std::string_view bytes) const;
  /// Removes a picture and its display list.
  void remove(const std::string& name) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace host
