#include "host/home/home_page.h"

#include <absl/strings/str_replace.h>

#include <algorithm>
#include <utility>

#include "host/home/home_state.h"
#include "host/pages/page_files.h"
#include "platform/foundation/text/uuid.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

/// The folder `page`.
extern const std::span<const PageFile> kHomePage;

namespace {

constexpr std::size_t kLinesKept = 500;
constexpr std::string_view kPictures = "/widgets/";
constexpr const char* kTypefacePath = "/Inter.ttf";

std::string_view typeOf(std::string_view path) {
  return path.ends_with(".css")   ? "text/css; charset=utf-8"
         : path.ends_with(".js")  ? "text/javascript; charset=utf-8"
         : path.ends_with(".svg") ? "image/svg+xml"
                                  : "text/html; charset=utf-8";
}

/// Forbids the browser to load or run anything else on the page.
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
    : act_(std::move(act)), typeface_(std::move(typeface)), token_(UUID().uuidString()) {
}

void HomePage::answer(const HttpRequest& request, const HttpServer::Reply& reply) {
  const auto named = request.header("Host");
  const bool reads = request.method == "GET" || request.method == "HEAD";
  const std::string_view path = pathOf(request.target);
  if (!named || !isLoopbackHost(*named)) {
    reply(secured(refusal(403, "the Host header must be a loopback name")));
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
  const auto file = pageFile(kHomePage, path == "/" ? "/index.html" : path);
  if (!file) {
    return refusal(404, "no such page");
  }
  std::string bytes(*file);
  if (path == "/") {
    std::string preloads;
    for (const auto& [kind, picture] : view_.pictures) {
      preloads += R"(<link rel="preload" as="image" href=")" + picture.path + "\">\n";
    }
    absl::StrReplaceAll(
        {{"{{token}}", token_}, {"{{pictures}}", preloads}, {"{{state}}", escapedHTML(stateNow())}},
        &bytes);
  }
  return content(typeOf(path), std::move(bytes));
}

/// The state with the time at which it is sent.
std::string HomePage::stateNow() const {
  return R"({"instant":")" + view_.clock.now().iso8601() + "\"," + view_.state.substr(1);
}

HttpAnswer HomePage::picture(const HttpRequest& request) const {
  const std::string_view path = pathOf(request.target);
  const std::string_view kind = path.substr(kPictures.size(), path.size() - kPictures.size() - 4);
  const auto found = view_.pictures.find(std::string(kind));
  if (found == view_.pictures.end()) {
    return refusal(404, "no picture of such a widget");
  }
  // The path changes with the picture. A request for an earlier picture gets the current one, which
  // must not be cached under the earlier path.
  const bool own = request.target == found->second.path;
  return content("image/png", *found->second.png, own ? "private, max-age=3600" : "no-store");
}

HttpAnswer HomePage::events() const {
  HttpAnswer stream = content("text/event-stream", "");
  stream.events = [this, sentViews = std::uint64_t{0}, sentLines = std::uint64_t{0}]() mutable {
    std::string text;
    if (sentViews != views_) {
      sentViews = views_;
      text += event("state", stateNow());
    }
    if (sentLines != lines_) {
      const auto count = std::min<std::uint64_t>(lines_ - sentLines, log_.size());
      text += event("log", logJSON({log_.end() - static_cast<std::ptrdiff_t>(count), log_.end()}));
      sentLines = lines_;
    }
    return text;
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
    reply(refusal(403, "the X-Home-Token header must be the token of the page: load it again"));
  } else if (origin && *origin != "http://" + *request.header("Host")) {
    reply(refusal(403, "the Origin header names another page"));
  } else if (!type || !isJSONType(*type)) {
    reply(refusal(415, "the Content-Type header must be application/json"));
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
