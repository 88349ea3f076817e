#include "widgets/moodlog/binnacle_view.h"

#include <algorithm>
#include <span>
#include <string>

#include "platform/swiftui/stacks.h"
#include "ui/hex_color.h"
#include "ui/widget_background.h"

namespace glancery {

using namespace platform;

namespace {

constexpr std::size_t kShownDays = 7;

struct CellSizes {
  double image;
  double label;
};

CellSizes sizesFor(double width) {
  return width < 300 ? CellSizes{30, 8} : CellSizes{35, 11};
}

/// The moods have one picture for both colour schemes, the empty day one for each.
std::string pictureName(MoodType mood, bool dark) {
  return mood == MoodType::emptyDay && dark ? "emptyDayDark" : std::string(rawValue(mood));
}

View dayCell(const MoodDay& day, CellSizes sizes, bool dark) {
  return VStack({.spacing = 14},
                Image(pictureName(day.mood, dark))
                    .resizable()
                    .frame({.width = sizes.image, .height = sizes.image}),
                Text::verbatim(day.dayLabel)
                    .font(Font::system(sizes.label, Weight::medium))
                    .foregroundColor(dark ? Color::white.withOpacity(0.6) : hexColor("674B28")));
}

View days(std::span<const MoodDay> all, CellSizes sizes, bool dark) {
  if (all.empty()) {
    return Text("Cargando ánimo...").font(Font::caption()).foregroundColor(Color::secondary);
  }
  return HStack({.spacing = 10},
                ForEach(all.last(std::min(all.size(), kShownDays)),
                        &MoodDay::id,
                        [&](const MoodDay& day) { return dayCell(day, sizes, dark); }));
}

}  // namespace

View BinnacleView::body() const {
  const bool dark = _colorScheme.wrappedValue() == ColorScheme::dark;
  const auto content = [dark, shown = entry.moodDays](const GeometryProxy& geometry) -> View {
    return VStack({.spacing = 5}, days(shown, sizesFor(geometry.size.width), dark))
        .frame({.maxWidth = infinity, .maxHeight = infinity});
  };
  return widgetBackground(GeometryReader(content), hexColor(dark ? "242E33" : "FAF6F2"));
}

}  // namespace glancery
