#include "extension/glancery_bundle.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/bundle/string_catalog.h"
#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/widget_bundle.h"

namespace glancery {
namespace {

using namespace platform;

struct Declared {
  const char* kind;
  WidgetFamily family;
  const char* nameKey;
  const char* descriptionKey;
};

TEST(GlanceryBundle, DeclaresItsWidgetsInGalleryOrder) {
  constexpr Declared kDeclared[] = {
      {"Checkin", WidgetFamily::systemMedium, "CHECKIN_WIDGET_TITLE", "CHECKIN_WIDGET_DESC"},
      {"StreakWidget", WidgetFamily::systemSmall, "STREAK_WIDGET_TITLE", "STREAK_WIDGET_DESC"},
      {"AffirmationWidget",
       WidgetFamily::systemMedium,
       "AFFIRMATION_WIDGET_TITLE",
       "AFFIRMATION_WIDGET_DESC"},
      {"Binnacle", WidgetFamily::systemMedium, "BINNACLE_WIDGET_TITLE", "BINNACLE_WIDGET_DESC"},
  };
  const auto widgets = widgetBundleConformance<GlanceryBundle>().body();
  ASSERT_EQ(widgets.size(), std::size(kDeclared));
  for (std::size_t index = 0; index < widgets.size(); ++index) {
    const Declared& expected = kDeclared[index];
    EXPECT_EQ(widgets[index].kind, expected.kind);
    EXPECT_EQ(widgets[index].families, std::vector{expected.family});
    EXPECT_EQ(widgets[index].displayNameKey, expected.nameKey);
    EXPECT_EQ(widgets[index].descriptionKey, expected.descriptionKey);
  }
}

TEST(GlanceryBundle, EndsWellWhenItsHostHasNothingMoreToAsk) {
  std::array<int, 2> ends = {};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  const pid_t extension = ::fork();
  if (extension == 0) {
    ::dup2(ends[1], kHostSocket);
    ::execl(GLANCERY_BUILD "/Glancery.appex/Glancery", "Glancery", nullptr);
    ::_exit(127);
  }
  ::close(ends[0]);
  ::close(ends[1]);
  int status = -1;
  ASSERT_EQ(::waitpid(extension, &status, 0), extension);
  EXPECT_EQ(status, 0);
}

/// The keys that the widgets and the gallery use.
std::vector<std::string> shownKeys() {
  std::vector<std::string> keys = {"%lld",
                                   "CHECKIN_TITLE",
                                   "Cargando ánimo...",
                                   "TODAY_LABEL",
                                   "YESTERDAY_LABEL",
                                   "AFFIRMATION_PLACEHOLDER_NO_UID"};
  for (const char* widget : {"CHECKIN", "STREAK", "AFFIRMATION", "BINNACLE"}) {
    keys.push_back(widget + std::string("_WIDGET_TITLE"));
    keys.push_back(widget + std::string("_WIDGET_DESC"));
  }
  for (const char* band :
       {"00_08", "08_10", "10_12", "12_14", "14_16", "16_18", "18_20", "20_22", "22_24"}) {
    keys.push_back(std::string("STREAK_TEXT_") + band);
  }
  for (const char* number : {"1", "2", "3", "4"}) {
    keys.push_back(std::string("STREAK_FAIL_MESSAGE_") + number);
  }
  return keys;
}

TEST(GlanceryBundle, SpeaksFourLanguages) {
  const NSBundle bundle(std::string(GLANCERY_BUILD) + "/Glancery.appex");
  for (const char* language : {"es", "en", "pt", "fr"}) {
    for (const std::string& key : shownKeys()) {
      EXPECT_TRUE(bundle.strings().text(key, language, {7})) << key << " in " << language;
    }
  }
}

}  // namespace
}  // namespace glancery
