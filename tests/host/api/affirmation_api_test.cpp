#include "host/api/affirmation_api.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include <nlohmann/json.hpp>

#include "tests/instant.h"

namespace host {
namespace {

using ::testing::HasSubstr;
using Json = nlohmann::json;

Json goodBody() {
  return Json::parse(R"({"locale": "es", "timezone": "UTC+1", "appVersion": "4.47.3", "uid": "u-1",
                         "user_os": "ios", "os": "ios", "internal": {"events": []}})");
}

HttpRequest good() {
  return {.method = "POST",
          .target = kApiPath,
          .headers = {{"content-type", "application/json"}, {"X-API-KEY", ""}},
          .body = goodBody().dump()};
}

enum Header { contentType, key };

void setHeader(HttpRequest& request, Header header, const std::string& value) {
  request.headers[header].second = value;
}

void dropHeader(HttpRequest& request, Header header) {
  request.headers.erase(request.headers.begin() + header);
}

const platform::Date kNow = platform::Date::since1970(1'700'000'000);

struct Bad {
  const char* name;
  void (*spoil)(HttpRequest& request);
  int status;
  const char* says;
  friend void PrintTo(const Bad& row, std::ostream* out) { *out << row.name; }
};

template <class Change>
void changeBody(HttpRequest& request, Change change) {
  Json body = goodBody();
  change(body);
  request.body = body.dump();
}

// clang-format off
const Bad kBad[] = {
    {"otherPath", [](auto& r) { r.target = "/api/widgets"; }, 404, kApiPath},
    {"doubledSlash", [](auto& r) { r.target = "//api/widgets/get_affirmation"; }, 404, kApiPath},
    {"otherMethod", [](auto& r) { r.method = "GET"; }, 405, "POST"},
    {"noKey", [](auto& r) { dropHeader(r, key); }, 401, "X-API-KEY"},
    {"noContentType", [](auto& r) { dropHeader(r, contentType); }, 400, "Content-Type"},
    {"otherContentType", [](auto& r) { setHeader(r, contentType, "text/plain"); }, 400, "Content-Type"},
    {"contentTypeThatBeginsAlike", [](auto& r) { setHeader(r, contentType, "application/jsonp"); }, 400, "Content-Type"},
    {"emptyBody", [](auto& r) { r.body = ""; }, 400, "not valid JSON"},
    {"cutBody", [](auto& r) { r.body.pop_back(); }, 400, "not valid JSON"},
    {"listAsBody", [](auto& r) { r.body = "[]"; }, 400, "not a JSON object"},
    {"emptyUser", [](auto& r) { changeBody(r, [](Json& b) { b["uid"] = ""; }); }, 400, "uid"},
    {"numberAsUser", [](auto& r) { changeBody(r, [](Json& b) { b["uid"] = 1; }); }, 400, "uid"},
    {"zoneByName", [](auto& r) { changeBody(r, [](Json& b) { b["timezone"] = "Europe/Madrid"; }); }, 400, "timezone"},
    {"zoneWithoutASign", [](auto& r) { changeBody(r, [](Json& b) { b["timezone"] = "UTC5"; }); }, 400, "timezone"},
    {"zoneWithMinutes", [](auto& r) { changeBody(r, [](Json& b) { b["timezone"] = "UTC+5:30"; }); }, 400, "timezone"},
    {"zoneBeyondTheEarth", [](auto& r) { changeBody(r, [](Json& b) { b["timezone"] = "UTC+15"; }); }, 400, "timezone"},
    {"zoneWithTwoSigns", [](auto& r) { changeBody(r, [](Json& b) { b["timezone"] = "UTC+-5"; }); }, 400, "timezone"},
    {"listAsInternal", [](auto& r) { changeBody(r, [](Json& b) { b["internal"] = Json::array(); }); }, 400, "internal"},
    {"internalWithoutEvents", [](auto& r) { changeBody(r, [](Json& b) { b["internal"] = Json::object(); }); }, 400, "events"},
};
// clang-format on

TEST(AffirmationApi, NamesTheFaultOfARequest) {
  ASSERT_EQ(answerOf(good(), std::nullopt, kNow).http.status, 200);
  for (const Bad& row : kBad) {
    HttpRequest request = good();
    row.spoil(request);
    const HttpAnswer answer = answerOf(request, std::nullopt, kNow).http;
    EXPECT_EQ(answer.status, row.status) << row.name;
    EXPECT_THAT(Json::parse(answer.body)["error"].get<std::string>(), HasSubstr(row.says))
        << row.name;
  }
  const Json members = goodBody();
  for (const auto& [name, value] : members.items()) {
    HttpRequest request = good();
    changeBody(request, [&](Json& body) { body.erase(name); });
    const HttpAnswer answer = answerOf(request, std::nullopt, kNow).http;
    EXPECT_EQ(answer.status, 400);
    EXPECT_THAT(Json::parse(answer.body)["error"].get<std::string>(),
                HasSubstr("\"" + name + "\""));
  }
  EXPECT_EQ(answerOf(good(), "secret", kNow).http.status, 401);
  HttpRequest keyed = good();
  setHeader(keyed, key, "secret");
  EXPECT_EQ(answerOf(keyed, "secret", kNow).http.status, 200);
  EXPECT_EQ(answerOf(keyed, std::nullopt, kNow).http.status, 200);
}

Affirmation answered(const std::string& instant,
                     const std::string& zone,
                     const std::string& locale,
                     const std::string& uid) {
  HttpRequest request = good();
  changeBody(request, [&](Json& body) {
    body["timezone"] = zone;
    body["locale"] = locale;
    body["uid"] = uid;
  });
  const Json json = Json::parse(answerOf(request, std::nullopt, ::instant(instant)).http.body);
  EXPECT_EQ(json.size(), 2u);
  return {json.at("text"), json.at("color")};
}

TEST(AffirmationApi, ChangesAtMidnightOfTheUsersZone) {
  const auto at = [](const std::string& instant, const std::string& zone = "UTC-6") {
    return answered(instant, zone, "es", "u-1");
  };
  const Affirmation morning = at("2024-03-05T06:00:00Z");
  EXPECT_EQ(at("2024-03-06T05:59:59Z"), morning);
  const Affirmation next = at("2024-03-06T06:00:00Z");
  EXPECT_NE(next.text, morning.text);
  EXPECT_NE(next.color, morning.color);
  EXPECT_EQ(at("2024-03-05T10:00:00Z", "UTC+14"), next) << "a day ahead in the far east";
  EXPECT_NE(at("2024-03-05T05:59:59Z").text, morning.text);

  std::set<std::string> users;
  for (int user = 0; user < 40; ++user) {
    users.insert(answered("2024-03-05T06:00:00Z", "UTC+0", "en", "u-" + std::to_string(user)).text);
  }
  EXPECT_GT(users.size(), 5u);
}

TEST(AffirmationApi, AnswersInTheUsersLanguage) {
  std::map<std::string, std::set<std::string>> texts;
  std::set<std::string> colors;
  for (const char* language : {"es", "en", "pt", "fr"}) {
    for (std::int64_t day = 0; day < 42; ++day) {
      const Affirmation affirmation = affirmationOf("u-1", day, language);
      texts[language].insert(affirmation.text);
      colors.insert(affirmation.color);
      const auto letters =
          std::ranges::count_if(affirmation.text, [](char byte) { return (byte & 0xC0) != 0x80; });
      EXPECT_TRUE(letters >= 30 && letters <= 110) << affirmation.text;
    }
    EXPECT_GE(texts[language].size(), 12u);
  }
  EXPECT_EQ(colors, (std::set<std::string>{"blush", "gold", "sky"}));
  EXPECT_EQ(affirmationOf("u-1", 1, "pt_BR"), affirmationOf("u-1", 1, "pt"));
  EXPECT_NE(affirmationOf("u-1", 1, "pt").text, affirmationOf("u-1", 1, "es").text);
  EXPECT_EQ(affirmationOf("u-1", 1, "de"), affirmationOf("u-1", 1, "es"));
  EXPECT_EQ(affirmationOf("u-1", 1, ""), affirmationOf("u-1", 1, "es"));
}

}  // namespace
}  // namespace host
