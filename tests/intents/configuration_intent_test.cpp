#include "intents/configuration_intent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/data/property_list.h"
#include "platform/intents/keyed_archiver.h"

namespace glancery {
namespace {

using namespace platform;
using enum ConfigurationIntentResponseCode;
using ::testing::HasSubstr;

TEST(ConfigurationIntentResponseCode, IsMadeFromItsSevenNumbersAlone) {
  for (const std::int64_t beyond : {INT64_MIN, std::int64_t{-1}, std::int64_t{7}, INT64_MAX}) {
    EXPECT_EQ(configurationIntentResponseCode(beyond), std::nullopt) << beyond;
  }
  EXPECT_EQ(configurationIntentResponseCode(0), unspecified);
  EXPECT_EQ(configurationIntentResponseCode(4), success);
  EXPECT_EQ(configurationIntentResponseCode(6), failureRequiringAppLaunch);
}

Data archived(const NSCoding& object) {
  return NSKeyedArchiver::archivedDataWithRootObject(object).value_or(Data());
}

TEST(ConfigurationIntentResponse, ComesBackFromAnArchiveWithoutItsCode) {
  ConfigurationIntentResponse response(
      failure,
      std::make_shared<NSUserActivity>("com.quiloapp.open", Dictionary{{"kind", "Binnacle"}}));
  EXPECT_EQ(response.code(), failure);
  const auto restored =
      NSKeyedUnarchiver::unarchivedObject<ConfigurationIntentResponse>(archived(response));
  ASSERT_TRUE(restored) << restored.error();
  EXPECT_EQ((*restored)->code(), unspecified);
  ASSERT_TRUE((*restored)->userActivity());
  EXPECT_EQ((*restored)->userActivity()->activityType, "com.quiloapp.open");
  EXPECT_EQ((*restored)->userActivity()->userInfo, (Dictionary{{"kind", "Binnacle"}}));

  response = {ready, nullptr};
  EXPECT_EQ(response.code(), ready);
  EXPECT_EQ(response.userActivity(), nullptr);
  const auto without =
      NSKeyedUnarchiver::unarchivedObject<ConfigurationIntentResponse>(archived(response));
  ASSERT_TRUE(without) << without.error();
  EXPECT_EQ((*without)->userActivity(), nullptr);
}

Data archiveOf(const char* className, Value root) {
  return {NSPropertyListSerialization::dataWithPropertyList(
              Dictionary{{"$class", className}, {"root", std::move(root)}})
              .value_or("")};
}

TEST(ConfigurationIntent, ComesBackFromAnArchiveOrTheErrorSaysWhyNot) {
  ConfigurationIntent intent;
  intent.setSuggestedInvocationPhrase("Mi semana");
  const auto restored = NSKeyedUnarchiver::unarchivedObject<ConfigurationIntent>(archived(intent));
  ASSERT_TRUE(restored) << restored.error();
  EXPECT_EQ((*restored)->suggestedInvocationPhrase(), "Mi semana");

  const std::pair<Data, const char*> kBad[] = {
      {Data{"no archive"}, "No property list"},
      {archiveOf("ConfigurationIntent", "text"), "not a keyed archive"},
      {archived(ConfigurationIntentResponse()), "the class ConfigurationIntentResponse"},
      {archiveOf("ConfigurationIntent", Dictionary{{"suggestedInvocationPhrase", 5}}),
       "\"suggestedInvocationPhrase\" is of another type"},
  };
  for (const auto& [data, why] : kBad) {
    const auto bad = NSKeyedUnarchiver::unarchivedObject<ConfigurationIntent>(data);
    ASSERT_FALSE(bad) << why;
    EXPECT_THAT(bad.error().debugDescription, HasSubstr(why));
  }
  NSCoder wrong(Dictionary{{"userActivity.activityType", 5}});
  EXPECT_EQ(ConfigurationIntentResponse::initWithCoder(wrong), nullptr);
}

TEST(ConfigurationIntentHandling, OffersWhatAHandlerOverrides) {
  struct Confirms : ConfigurationIntentHandling {
    bool confirmConfiguration(const ConfigurationIntent&, Completion completion) override {
      completion(std::make_shared<ConfigurationIntentResponse>(ready, nullptr));
      return true;
    }
  };
  Confirms handler;
  auto response = handler.confirm(ConfigurationIntent());
  ASSERT_TRUE(response);
  EXPECT_EQ(response->get()->code(), ready);
  EXPECT_FALSE(handler.handle(ConfigurationIntent()));
  ConfigurationIntentHandling offersNothing;
  EXPECT_FALSE(offersNothing.confirm(ConfigurationIntent()));
}

}  // namespace
}  // namespace glancery
