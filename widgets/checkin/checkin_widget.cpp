#include "widgets/checkin/checkin_widget.h"

#include "widgets/checkin/checkin_entry_view.h"
#include "widgets/checkin/checkin_provider.h"

namespace glancery {

using namespace platform;

WidgetConfiguration Checkin::body() const {
  const auto content = [](const CheckinSimpleEntry& entry) {
    return View(CheckinEntryView{.entry = entry});
  };
  return IntentConfiguration<ConfigurationIntent>(kind, CheckinProvider(), content)
      .configurationDisplayName("CHECKIN_WIDGET_TITLE")
      .description("CHECKIN_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemMedium});
}

}  // namespace glancery
