#include "host/home/home_page.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <utility>

#include "host/home/home_state.h"
#include "host/home/page_files.h"
#include "host/phone/command_error.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

constexpr std::size_t kLinesKept = 500;
constexpr std::string_view kPictures = "/widgets/";
constexpr const char* kTypefacePath = "/Inter.ttf";

/// Puts the text in the one place of the page that is marked so.
void fillIn(std::string& page, std::string_view mark, const std::string& text) {
  if (const std::size_t place = page.find(mark); place != std::string::npos) {
    page.replace(place, mark.size(), text);
  }
}

/// A text that can stand in a page.
std::string escaped(std::string_view text) {
  std::string safe;
  for (const char letter : text) {
    switch (letter) {
      case '&':
        safe += "&amp;";
        break;
      case '<':
        safe += "&lt;";
        break;
      default:
        safe += letter;
    }
  }
  return safe;
}

std::string_view typeOf(std::string_view path) {
  return path.ends_with(".css")   ? "text/css; charset=utf-8"
         : path.ends_with(".js")  ? "text/javascript; charset=utf-8"
         : path.ends_with(".svg") ? "image/svg+xml"
                                  : "text/html; charset=utf-8";
}

std::string randomToken() {
  std::array<unsigned char, 16> bytes = {};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw CommandError("the system gives no random numbers");
  }
  std::string token;
  for (const unsigned char byte : bytes) {
    token += "0123456789abcdef"[byte >> 4];
    token += "0123456789abcdef"[byte & 15];
  }
  return token;
}

/// What keeps a browser from letting anything else in on the page.
HttpAnswer secured(HttpAnswer answer) {
  answer.headers.insert(
      answer.headers.end(),
      {{"Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; font-src 'self'; "
        "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
       {"Cross-Origin-Resource-Policy", "same-origin"},
       {"X-Content-Type-Options", "nosniff"},
       {"Referrer-Policy", "no-referrer"}});
  return answer;
}

HttpAnswer content(std::string_view type, std::string body, const char* caching = "no-store") {
  return {.headers = {{"Content-Type", std::string(type)}, {"Cache-Control", caching}},
          .body = std::move(body)};
}

HttpAnswer json(int status, std::string body) {
  HttpAnswer answer = content("application/json", std::move(body));
  answer.status = status;
  return answer;
}

HttpAnswer refusal(int status, const std::string& why) {
  return json(status, errorJSON(why));
}

std::string event(const char* name, const std::string& data) {
  return "event: " + std::string(name) + "\ndata: " + data + "\n\n";
}

}  // namespace

HomePage::HomePage(Act act, std::filesystem::path typeface)
    : act_(std::move(act)), typeface_(std::move(typeface)), token_(randomToken()) {
}

void HomePage::answer(const HttpRequest& request, const HttpServer::Reply& reply) {
  const auto named = request.header("Host");
  const bool reads = request.method == "GET" || request.method == "HEAD";
  const std::string_view path = pathOf(request.target);
  if (!named || !isLoopbackHost(*named)) {
    reply(secured(refusal(403, "the header Host must name this machine")));
  } else if (path == "/actions") {
    act(request, [reply](HttpAnswer answer) { reply(secured(std::move(answer))); });
  } else if (!reads) {
    HttpAnswer answer = refusal(405, "the method must be GET");
    answer.headers.emplace_back("Allow", "GET, HEAD");
    reply(secured(std::move(answer)));
  } else if (path == "/events") {
    reply(secured(events()));
  } else if (path.starts_with(kPictures) && path.ends_with(".png")) {
    reply(secured(picture(request)));
  } else {
    reply(secured(file(request)));
  }
}

HttpAnswer HomePage::file(const HttpRequest& request) const {
  const std::string_view path = pathOf(request.target);
  if (path == kTypefacePath) {
    auto bytes = readFile(typeface_);
    return bytes ? content("font/ttf", *std::move(bytes), "max-age=86400")
                 : refusal(404, "the typeface can't be read: " + bytes.error().message());
  }
  const auto file = pageFile(path == "/" ? "/index.html" : path);
  if (!file) {
    return refusal(404, "there is no such page");
  }
  std::string bytes(*file);
  if (path == "/") {
    std::string preloads;
    for (const auto& [kind, picture] : view_.pictures) {
      preloads += R"(<link rel="preload" as="image" href=")" + picture.path + "\">\n";
    }
    fillIn(bytes, "{{token}}", token_);
    fillIn(bytes, "{{pictures}}", preloads);
    fillIn(bytes, "{{state}}", escaped(stateNow()));
  }
  return content(typeOf(path), std::move(bytes));
}

/// With the instant at which it is sent.
std::string HomePage::stateNow() const {
  return R"({"instant":")" + view_.clock.now().iso8601() + "\"," + view_.state.substr(1);
}

HttpAnswer HomePage::picture(const HttpRequest& request) const {
  const std::string_view path = pathOf(request.target);
  const std::string_view kind = path.substr(kPictures.size(), path.size() - kPictures.size() - 4);
  const auto found = view_.pictures.find(std::string(kind));
  if (found == view_.pictures.end()) {
    return refusal(404, "there is no picture of such a widget");
  }
  // The address changes with the picture; one that came too late for its own must not be kept
  // under it.
  const bool own = request.target == found->second.path;
  return content("image/png", *found->second.png, own ? "private, max-age=3600" : "no-store");
}

HttpAnswer HomePage::events() const {
  HttpAnswer stream = content("text/event-stream", "");
  stream.events = [this, seen = std::uint64_t{0}, told = std::uint64_t{0}]() mutable {
    std::string fresh;
    if (seen != views_) {
      seen = views_;
      fresh += event("state", stateNow());
    }
    if (told != lines_) {
      const auto count = std::min<std::uint64_t>(lines_ - told, log_.size());
      fresh += event("log", logJSON({log_.end() - static_cast<std::ptrdiff_t>(count), log_.end()}));
      told = lines_;
    }
    return fresh;
  };
  return stream;
}

void HomePage::act(const HttpRequest& request, const HttpServer::Reply& reply) {
  const auto origin = request.header("Origin");
  const auto type = request.header("Content-Type");
  if (request.method != "POST") {
    HttpAnswer answer = refusal(405, "the method must be POST");
    answer.headers.emplace_back("Allow", "POST");
    reply(std::move(answer));
  } else if (request.header("X-Home-Token") != token_) {
    reply(refusal(403, "the header X-Home-Token must hold the token of the page: load it again"));
  } else if (origin && *origin != "http://" + *request.header("Host")) {
    reply(refusal(403, "the header Origin names another page"));
  } else if (!type || !isJSONType(*type)) {
    reply(refusal(415, "the header Content-Type must be application/json"));
  } else {
    act_(request.body,
         [reply](const Outcome& outcome) { reply(json(outcome.status, outcome.json)); });
  }
}

void HomePage::show(HomeView view) {
  for (LogLine& line : view.log) {
    log_.push_back(std::move(line));
    ++lines_;
  }
  view.log.clear();
  while (log_.size() > kLinesKept) {
    log_.pop_front();
  }
  view_ = std::move(view);
  ++views_;
}

}  // namespace host
