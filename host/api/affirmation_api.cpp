#include "host/api/affirmation_api.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <expected>
#include <string_view>

#include "host/api/affirmations.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/support/require.h"

namespace host {

using namespace platform;

namespace {

std::string jsonText(const Dictionary& object) {
  const auto json = NSJSONSerialization::dataWithJSONObject(object);
  return json ? json->bytes : "{}";
}

ApiAnswer refusal(int status, const std::string& why) {
  return {status, jsonText({{"error", why}})};
}

/// The hours of "UTC+1"; nothing for what is no whole hour that some zone has.
std::optional<int> hoursOf(std::string_view zone) {
  if (!zone.starts_with("UTC") || zone.size() < 5 || (zone[3] != '+' && zone[3] != '-')) {
    return std::nullopt;
  }
  int hours = 0;
  const char* const end = zone.data() + zone.size();
  const auto [rest, error] = std::from_chars(zone.data() + 4, end, hours);
  if (error != std::errc() || rest != end || hours < 0 || hours > 14) {
    return std::nullopt;
  }
  return zone[3] == '-' ? -hours : hours;
}

/// What the body says; the error names the member at fault.
struct Asked {
  std::string language;
  std::string uid;
  int hours = 0;
};

std::expected<Asked, std::string> askedIn(const std::string& body) {
  const auto json = NSJSONSerialization::JSONObjectWithData(Data{body});
  if (!json) {
    return std::unexpected("the body is no JSON: " + json.error().debugDescription);
  }
  const Dictionary* members = json->dictionary();
  if (!members) {
    return std::unexpected("the body is no object");
  }
  for (const char* name : {"locale", "timezone", "appVersion", "uid", "user_os", "os"}) {
    const auto text = members->string(name);
    if (!text || text->empty()) {
      return std::unexpected("the member \"" + std::string(name) +
                             "\" must be a text that is not empty");
    }
  }
  const Value* internal = members->find("internal");
  const Dictionary* inside = internal ? internal->dictionary() : nullptr;
  const Value* events = inside ? inside->find("events") : nullptr;
  if (!events || !events->array()) {
    return std::unexpected(R"(the member "internal" must be an object with the list "events")");
  }
  const auto hours = hoursOf(*members->string("timezone"));
  if (!hours) {
    return std::unexpected(R"(the member "timezone" must be such as "UTC+1")");
  }
  return Asked{*members->string("locale"), *members->string("uid"), *hours};
}

}  // namespace

ApiAnswer answerOf(const HttpRequest& request,
                   const std::optional<std::string>& wantedKey,
                   Date now) {
  const auto named = request.header("Host");
  const auto key = request.header("X-API-KEY");
  const auto contentType = request.header("Content-Type");
  if (!named || !isLoopbackHost(*named)) {
    return refusal(403, "the header Host must name this machine: 127.0.0.1 or localhost");
  }
  if (pathOf(request.target) != kApiPath) {
    return refusal(404, "there is nothing but " + std::string(kApiPath));
  }
  if (request.method != "POST") {
    return refusal(405, "the method must be POST");
  }
  if (!key) {
    return refusal(401, "the header X-API-KEY is missing");
  }
  if (wantedKey && *key != *wantedKey) {
    return refusal(401, "the header X-API-KEY holds another key");
  }
  if (!contentType || !isJSONType(*contentType)) {
    return refusal(400, "the header Content-Type must be application/json");
  }
  const auto asked = askedIn(request.body);
  if (!asked) {
    return refusal(400, asked.error());
  }
  const double local = now.timeIntervalSince1970() + asked->hours * 3600.0;
  const auto day = static_cast<std::int64_t>(std::floor(local / 86400));
  const Affirmation affirmation = affirmationOf(asked->uid, day, asked->language);
  return {200,
          jsonText({{"text", affirmation.text}, {"color", affirmation.color}}),
          asked->uid + " " + asked->language};
}

}  // namespace host
