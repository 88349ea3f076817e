#include "platform/render/images/picture_options.h"

#include <cmath>
#include <sstream>

#include "platform/render/pixels/pixel_grid.h"

namespace platform {
namespace {

constexpr double kMaxSide = 4096;

}  // namespace

std::expected<void, std::string> checkPicture(Size size, const PictureOptions& options) {
  std::ostringstream error;
  // Written so that a length that is no number is refused too.
  if (!(options.scale >= 1 && options.scale <= 4)) {
    error << "a picture has 1 to 4 pixels a point, not " << options.scale;
  } else if (!(size.width > 0 && size.height > 0)) {
    error << "a picture can't be " << size.width << " by " << size.height << " points";
  } else if (size.width * options.scale > kMaxSide || size.height * options.scale > kMaxSide) {
    error << "a picture of " << size.width << " by " << size.height << " points at "
          << options.scale << " pixels a point is beyond " << kMaxSide << " pixels a side";
  } else if (!(options.cornerRadius >= 0)) {
    error << "a corner radius can't be " << options.cornerRadius;
  } else {
    return {};
  }
  return std::unexpected(error.str());
}

}  // namespace platform
