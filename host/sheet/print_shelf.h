#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/sheet/checks.h"
#include "platform/render/layout/display_list.h"
#include "platform/swiftui/color_scheme.h"

namespace host {

/// All that a picture depends on: the list has no links, which do not show.
struct Scene {
  platform::DisplayList list;
  double scale = 3;
  platform::ColorScheme scheme = platform::ColorScheme::light;
  friend bool operator==(const Scene&, const Scene&) = default;
};

/// What costs most of a picture, and is the same for the same scene.
struct Developed {
  std::string png;
  std::vector<Finding> contrast;
};

/// The latest scenes that were developed. A good quarter of a sheet's pictures are those of a
/// neighbour: a state that another shows as well, a system or a scheme that makes no difference.
/// Safe from any thread.
class PrintShelf {
 public:
  /// Null for a scene that is not there, or no longer.
  std::shared_ptr<const Developed> find(const Scene& scene) const;
  void keep(Scene scene, std::shared_ptr<const Developed> developed);

 private:
  mutable std::mutex mutex_;
  /// Latest first.
  std::deque<std::pair<Scene, std::shared_ptr<const Developed>>> scenes_;
};

}  // namespace host
