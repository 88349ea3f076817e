#include "host/api/affirmation_api.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/http/json_members.h"
#include "platform/support/pattern.h"
#include "platform/support/utf8.h"

namespace host {

using namespace platform;

namespace {

/// The hours of "UTC+1"; nothing for another format or an offset that no zone has.
std::optional<int> hoursOf(const std::string& zone) {
  static const Pattern kZone("UTC[+-]0*([0-9]|1[0-4])");
  return kZone.matches(zone) ? std::optional(std::stoi(zone.substr(3))) : std::nullopt;
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
  const Dictionary internal = members.object("internal");
  const Value* const events = internal.find("events");
  if (!events || !events->array()) {
    throw BadRequest(R"(the member "internal" must have an array "events")");
  }
  const auto hours = hoursOf(members.text("timezone"));
  if (!hours) {
    throw BadRequest(R"(the member "timezone" must be such as "UTC+1")");
  }
  return {members.text("locale"), members.text("uid"), *hours};
}

/// Untrusted bytes as a part of one line of the log.
std::string printable(std::string_view text) {
  std::string safe = excerpt(text);
  std::ranges::replace_if(
      safe,
      [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; },
      '?');
  return safe;
}

/// The answer with the faults of the settings.
HttpAnswer withFaults(HttpAnswer answer, const ApiSettings& settings) {
  const bool good = answer.status == 200;
  answer.status = good ? settings.status.value_or(200) : answer.status;
  answer.delay = settings.delay;
  answer.cut = settings.cut;
  if (settings.badJSON) {
    answer.body.pop_back();  // Its closing bracket.
  }
  const std::string opening = R"("text":")";
  const std::size_t text = answer.body.find(opening);
  const std::uint64_t length = answer.body.size();
  if (good && settings.huge && *settings.huge > length && text != std::string::npos) {
    answer.filling = *settings.huge - length;
    answer.fillingAt = text + opening.size();
  }
  return answer;
}

}  // namespace

ApiAnswer answerOf(const HttpRequest& request,
                   const std::optional<std::string>& validKey,
                   Date now) {
  const auto key = request.header("X-API-KEY");
  if (request.path() != kApiPath) {
    return {refusal(404, "the only path is " + std::string(kApiPath))};
  }
  if (request.method != "POST") {
    return {wrongMethod("POST")};
  }
  if (!key) {
    return {refusal(401, "the X-API-KEY header is missing")};
  }
  if (validKey && *key != *validKey) {
    return {refusal(401, "the X-API-KEY header holds another key")};
  }
  if (!request.hasJSON()) {
    return {refusal(400, "the Content-Type header must be application/json")};
  }
  try {
    const auto [language, uid, hours] = requestIn(request.body);
    const double local = now.timeIntervalSince1970() + hours * 3600.0;
    const auto day = static_cast<std::int64_t>(std::floor(local / 86400));
    const auto [text, color] = affirmationOf(uid, day, language);
    const nlohmann::json json = {{"text", text}, {"color", color}};
    return {jsonAnswer(json.dump()), uid + " " + language};
  } catch (const BadRequest& error) {
    return {refusal(400, error.what())};
  }
}

std::expected<std::unique_ptr<HttpServer>, std::string> openApi(
    ApiSettings settings, std::function<void(const std::string&)> log) {
  const std::uint16_t port = settings.port;
  return HttpServer::listen(
      port,
      [settings = std::move(settings), log = std::move(log)](const HttpRequest& request,
                                                             const HttpServer::Reply& reply) {
        const ApiAnswer answer = answerOf(request, settings.key, Date::now());
        HttpAnswer faulty = withFaults(answer.http, settings);
        const std::string line = printable(request.method) + ' ' + printable(request.target) + ' ' +
                                 std::to_string(faulty.status) + ' ';
        const std::string user = answer.user.empty() ? "" : " for " + printable(answer.user);
        faulty.sending = [&log, line, user](std::uint64_t bytes) {
          log(line + std::to_string(bytes) + " bytes" + user);
        };
        reply(std::move(faulty));
      });
}

}  // namespace host
