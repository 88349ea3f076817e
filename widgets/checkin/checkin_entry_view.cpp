#include "widgets/checkin/checkin_entry_view.h"

#include <functional>
#include <string>

#include "platform/foundation/network/url.h"
#include "platform/support/require.h"
#include "platform/swiftui/stacks.h"
#include "ui/hex_color.h"
#include "ui/widget_background.h"
#include "widgets/checkin/checkin_date.h"
#include "widgets/checkin/emotion.h"

namespace glancery {

using namespace platform;

namespace {

View title(bool dark) {
  return Text("CHECKIN_TITLE")
      .font(Font::system(14, Weight::bold))
      .foregroundColor(hexColor(dark ? "A7DCDA" : "873A00"));
}

View face(Emotion emotion, bool hasUid) {
  const std::string name(rawValue(emotion));
  View image = Image(name).resizable().frame({.width = 40, .height = 40});
  if (!hasUid) {
    return image;
  }
  return Link(require(URL::fromString("quiloapp://emotion/" + name)), image);
}

View emotionRow(double width, bool hasUid) {
  return HStack({.spacing = width < 300 ? 8 : 24},
                ForEach(allCases<Emotion>(), std::identity(), [&](Emotion emotion) {
                  return face(emotion, hasUid);
                }));
}

View dateLine(Date date, bool dark) {
  return Text::verbatim(formattedCheckinDate(date))
      .font(Font::system(12, Weight::medium))
      .foregroundColor(dark ? Color::white.withOpacity(0.6) : hexColor("936A39"));
}

}  // namespace

View CheckinEntryView::body() const {
  const bool dark = _colorScheme.wrappedValue() == ColorScheme::dark;
  const auto content = [dark, shown = entry](const GeometryProxy& geometry) -> View {
    return VStack({.spacing = 24},
                  title(dark),
                  emotionRow(geometry.size.width, shown.hasUid),
                  dateLine(shown.date, dark))
        .frame({.maxWidth = infinity, .maxHeight = infinity});
  };
  return widgetBackground(GeometryReader(content), hexColor(dark ? "242E33" : "FAF6F2"));
}

}  // namespace glancery
