#include <benchmark/benchmark.h>

#include "bench/demo_phone.h"
#include "host/extension_process.h"
#include "host/screens.h"
#include "platform/render/render_module.h"

namespace bench {
namespace {

using namespace platform;

constexpr PictureOptions kPicture = {.scale = 3, .cornerRadius = host::kWidgetCornerRadius};

/// The streak widget's view as its extension hands it over, and a renderer of the same bundle.
class StreakPicture {
 public:
  StreakPicture() {
    const DemoPhone phone;
    const auto extension = valueOf(host::ExtensionProcess::start(kExtension));
    valueOf(extension->ask(phone.configure()));
    auto answer = valueOf(extension->ask(DemoPhone::streakTimeline()));
    view_ = std::get<ArchivedTimeline>(std::move(answer)).entries.at(0).light;
    renderer_ = valueOf(
        loadRenderer(kExtension, kBuild / "system" / "Fonts", kBuild / "libglancery_render.so"));
    // The first picture reads typefaces and artwork; what is measured is every later one.
    valueOf(renderer_->png(layOut(), kPicture));
  }

  DisplayList layOut() {
    return renderer_->layOut(
        view_, DemoPhone::kSmallWidget, DemoPhone::kContentMargins, LayoutDirection::leftToRight);
  }
  Renderer& renderer() { return *renderer_; }

 private:
  ArchivedView view_;
  std::unique_ptr<Renderer> renderer_;
};

void layoutAndDrawing(benchmark::State& state) {
  StreakPicture picture;
  for (auto _ : state) {
    benchmark::DoNotOptimize(valueOf(picture.renderer().rasterize(picture.layOut(), kPicture)));
  }
  if (!picture.renderer().missingImages().empty()) {
    giveUp("the bundle has no picture " + *picture.renderer().missingImages().begin());
  }
}
BENCHMARK(layoutAndDrawing)->Name("streak picture: layout, drawing at 3x");

void layoutDrawingAndPNG(benchmark::State& state) {
  StreakPicture picture;
  for (auto _ : state) {
    benchmark::DoNotOptimize(valueOf(picture.renderer().png(picture.layOut(), kPicture)));
  }
}
BENCHMARK(layoutDrawingAndPNG)->Name("streak picture: layout, drawing at 3x, PNG");

}  // namespace
}  // namespace bench
