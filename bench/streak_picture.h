#pragma once

#include <memory>

#include "bench/demo_phone.h"
#include "host/phone/screens.h"
#include "platform/render/output/render_module.h"

namespace bench {

/// The streak widget's view from its extension, and a renderer of the same bundle that has loaded
/// the typefaces and the artwork.
class StreakPicture {
 public:
  static constexpr platform::PictureOptions kOptions = {.scale = 3,
                                                        .cornerRadius = host::kWidgetCornerRadius};
  StreakPicture();

  platform::DisplayList layOut();
  platform::Renderer& renderer() { return *renderer_; }

 private:
  platform::ArchivedView view_;
  std::unique_ptr<platform::Renderer> renderer_;
};

}  // namespace bench
