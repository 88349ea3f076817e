#include "host/api/api_server.h"

#include <algorithm>
#include <utility>

#include "host/api/affirmation_api.h"
#include "platform/support/utf8.h"

namespace host {

namespace {

/// Untrusted bytes as a part of one line of the log.
std::string printable(std::string_view text) {
  std::string safe = platform::excerpt(text);
  std::ranges::replace_if(
      safe,
      [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; },
      '?');
  return safe;
}

/// The answer with the faults of the settings.
HttpAnswer withFaults(const ApiAnswer& answer, const ApiSettings& settings) {
  const bool good = answer.status == 200;
  HttpAnswer faulty = {
      .status = good ? settings.status.value_or(200) : answer.status,
      .headers = {{"Content-Type", "application/json"}, {"Cache-Control", "no-store"}},
      .body = answer.body,
      .delay = settings.delay,
      .cut = settings.cut};
  if (faulty.status == 405) {
    faulty.headers.emplace_back("Allow", "POST");
  }
  if (settings.badJSON) {
    faulty.body.pop_back();  // Its closing bracket.
  }
  const std::string opening = R"("text":")";
  const std::size_t text = faulty.body.find(opening);
  const std::uint64_t length = faulty.body.size();
  if (good && settings.huge && *settings.huge > length && text != std::string::npos) {
    faulty.filling = *settings.huge - length;
    faulty.fillingAt = text + opening.size();
  }
  return faulty;
}

}  // namespace

std::expected<std::unique_ptr<HttpServer>, std::string> openApi(
    ApiSettings settings, std::function<void(const std::string&)> log) {
  const std::uint16_t port = settings.port;
  return HttpServer::listen(
      port,
      [settings = std::move(settings), log = std::move(log)](const HttpRequest& request,
                                                             const HttpServer::Reply& reply) {
        const ApiAnswer answer = answerOf(request, settings.key, platform::Date::now());
        HttpAnswer faulty = withFaults(answer, settings);
        const std::string line = printable(request.method) + ' ' + printable(request.target) + ' ' +
                                 std::to_string(faulty.status) + ' ';
        const std::string user = answer.status == 200 ? " for " + printable(answer.note) : "";
        faulty.sending = [&log, line, user](std::uint64_t bytes) {
          log(line + std::to_string(bytes) + " bytes" + user);
        };
        reply(std::move(faulty));
      });
}

}  // namespace host
