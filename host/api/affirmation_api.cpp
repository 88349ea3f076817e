#include "host/api/affirmation_api.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include "host/api/affirmations.h"
#include "host/http/json_members.h"
#include "platform/foundation/data/json_serialization.h"

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

/// The hours of "UTC+1"; nothing for another format or an offset that no zone has.
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

struct AffirmationRequest {
  std::string language;
  std::string uid;
  int hours = 0;
};

AffirmationRequest requestIn(const std::string& body) {
  const JsonMembers members(body);
  for (const char* name : {"appVersion", "user_os", "os"}) {
    members.text(name);
  }
  const Value* const events = members.object("internal").find("events");
  if (!events || !events->array()) {
    throw BadRequest(R"(the member "internal" must have an array "events")");
  }
  const auto hours = hoursOf(members.text("timezone"));
  if (!hours) {
    throw BadRequest(R"(the member "timezone" must be such as "UTC+1")");
  }
  return {members.text("locale"), members.text("uid"), *hours};
}

}  // namespace

ApiAnswer answerOf(const HttpRequest& request,
                   const std::optional<std::string>& validKey,
                   Date now) {
  const auto named = request.header("Host");
  const auto key = request.header("X-API-KEY");
  const auto contentType = request.header("Content-Type");
  if (!named || !isLoopbackHost(*named)) {
    return refusal(403, "the Host header must be 127.0.0.1 or localhost");
  }
  if (pathOf(request.target) != kApiPath) {
    return refusal(404, "the only path is " + std::string(kApiPath));
  }
  if (request.method != "POST") {
    return refusal(405, "the method must be POST");
  }
  if (!key) {
    return refusal(401, "the X-API-KEY header is missing");
  }
  if (validKey && *key != *validKey) {
    return refusal(401, "the X-API-KEY header holds another key");
  }
  if (!contentType || !isJSONType(*contentType)) {
    return refusal(400, "the Content-Type header must be application/json");
  }
  try {
    const auto [language, uid, hours] = requestIn(request.body);
    const double local = now.timeIntervalSince1970() + hours * 3600.0;
    const auto day = static_cast<std::int64_t>(std::floor(local / 86400));
    const Affirmation affirmation = affirmationOf(uid, day, language);
    return {200,
            jsonText({{"text", affirmation.text}, {"color", affirmation.color}}),
            uid + " " + language};
  } catch (const BadRequest& error) {
    return refusal(400, error.what());
  }
}

}  // namespace host
