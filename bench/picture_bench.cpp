#include <benchmark/benchmark.h>

#include "bench/streak_picture.h"
#include "host/phone/extension_process.h"

namespace bench {

using namespace platform;

StreakPicture::StreakPicture() {
  const DemoPhone phone;
  const auto extension = valueOf(host::ExtensionProcess::start(kExtension));
  valueOf(extension->ask(phone.configure()));
  auto answer = valueOf(extension->ask(DemoPhone::streakTimeline()));
  view_ = std::get<ArchivedTimeline>(std::move(answer)).entries.at(0).light;
  renderer_ = valueOf(
      loadRenderer(kExtension, kBuild / "system" / "Fonts", kBuild / "libglancery_render.so"));
  valueOf(renderer_->png(layOut(), kOptions));
}

DisplayList StreakPicture::layOut() {
  return renderer_->layOut(
      view_, DemoPhone::kSmallWidget, DemoPhone::kContentMargins, LayoutDirection::leftToRight);
}

namespace {

void layoutAndDrawing(benchmark::State& state) {
  StreakPicture picture;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        valueOf(picture.renderer().rasterize(picture.layOut(), StreakPicture::kOptions)));
  }
  if (!picture.renderer().missingImages().empty()) {
    giveUp("the bundle has no picture " + *picture.renderer().missingImages().begin());
  }
}
BENCHMARK(layoutAndDrawing)->Name("streak picture: layout, drawing at 3x");

void layoutDrawingAndPNG(benchmark::State& state) {
  StreakPicture picture;
  static unsigned count = 0;
  for (auto _ : state) {
    DisplayList list = picture.layOut();
    // Another colour each time, in every row: the renderer keeps the packed rows of other pictures.
    const Color column = {.red = count % 256 / 255.0, .green = count / 256 % 256 / 255.0};
    list.items.push_back({FillItem{column}, {100, 0, 1, list.size.height}});
    ++count;
    benchmark::DoNotOptimize(valueOf(picture.renderer().png(list, StreakPicture::kOptions)));
  }
}
BENCHMARK(layoutDrawingAndPNG)->Name("streak picture: layout, drawing at 3x, PNG");

}  // namespace
}  // namespace bench
