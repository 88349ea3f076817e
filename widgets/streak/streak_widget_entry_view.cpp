#include "widgets/streak/streak_widget_entry_view.h"

#include <optional>
#include <string>

#include "platform/swiftui/stacks.h"

namespace glancery {

using namespace platform;

namespace {

View background(const StreakEntry& entry) {
  return Image(entry.backgroundImageName)
      .resizable()
      .aspectRatio(std::nullopt, ContentMode::fill)
      .ignoresSafeArea(Edge::all);
}

View flame(const StreakEntry& entry) {
  return Image(entry.flameImageName)
      .resizable()
      .aspectRatio(std::nullopt, ContentMode::fit)
      .frame({.height = 30});
}

View count(const StreakEntry& entry) {
  return Text(LocalizedStringKey("%lld", {entry.displayStreakCount}))
      .font(Font::system(36, Weight::bold))
      .foregroundColor(Color::white);
}

std::optional<std::string> messageKey(const StreakEntry& entry) {
  if (entry.showTimeBasedText && entry.timeBasedMessageKey) {
    return entry.timeBasedMessageKey;
  }
  return entry.displayType == StreakDisplayType::failMessage ? entry.failMessageKey : std::nullopt;
}

// An absent message leaves no gap: the row spaces only the views it has.
std::optional<View> message(const StreakEntry& entry) {
  return messageKey(entry).transform([](const std::string& key) {
    return Text(LocalizedStringKey(key))
        .font(Font::system(14, Weight::semibold))
        .tracking(-0.48)
        .foregroundColor(Color::white)
        .padding(Edge::top, -4);
  });
}

}  // namespace

View StreakWidgetEntryView::body() const {
  return ZStack(background(entry),
                VStack(HStack({.spacing = 6}, flame(entry), count(entry), message(entry)))
                    .padding(Edge::top, 6)
                    .frame({.maxWidth = infinity, .maxHeight = infinity}))
      // Covers the content margins that the system adds around every widget from iOS 17 on.
      .padding(applyNegativePadding ? -19 : 0);
}

}  // namespace glancery
