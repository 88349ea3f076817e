#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/sheet/checks.h"
#include "platform/render/images/picture_options.h"
#include "platform/render/output/renderer.h"

namespace host {

/// The view to render for the job with that number.
struct RenderInput {
  std::size_t number = 0;
  platform::ArchivedView view;
  platform::LayoutDirection direction = platform::LayoutDirection::leftToRight;
  /// Of the widget, in points.
  platform::Size size;
  platform::EdgeInsets contentMargins;
  platform::PictureOptions options;
};

struct RenderedImage {
  std::string png;
  /// The display list as JSON, with a line feed at the end.
  std::string list;
  /// In points.
  platform::Size size;
  std::vector<Finding> findings;
};

/// Renders and checks images on worker threads while the caller prepares the next inputs. The
/// images do not depend on the number of workers or the order of the inputs.
class ImageRenderer {
 public:
  /// Called once for each image, in any order, on a worker thread, with the renderer that the
  /// worker may use meanwhile.
  using Deliver =
      std::function<void(std::size_t number, RenderedImage image, platform::Renderer& renderer)>;

  /// `bundle` and `systemFonts` as in `loadRenderer`.
  ImageRenderer(std::filesystem::path bundle, std::filesystem::path systemFonts, Deliver deliver);
  /// Drops the inputs whose rendering has not started.
  ~ImageRenderer();

  /// Blocks while the workers are far behind. Throws what an earlier input failed with.
  void add(RenderInput input);
  /// Returns when all images are delivered. Throws what an input failed with.
  void finish();

 private:
  class Workers;
  std::unique_ptr<Workers> workers_;
  std::vector<RenderInput> batch_;
};

}  // namespace host
