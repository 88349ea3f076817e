#include "host/home/home_page.h"

#include <absl/strings/str_join.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>

#include <algorithm>
#include <utility>

#include "host/home/home_state.h"
#include "host/pages/page_files.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/text/uuid.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

/// The folder `page`.
extern const std::span<const PageFile> kHomePage;

namespace {

constexpr std::size_t kLinesKept = 500;
constexpr std::size_t kHappeningsKept = 10'000;
/// Of some 50 KiB each.
constexpr std::size_t kPicturesKept = 24;

/// Adds to the end, and drops from the front what is too much.
template <class T>
void keep(std::deque<T>& kept, T item, std::size_t most) {
  kept.push_back(std::move(item));
  if (kept.size() > most) {
    kept.pop_front();
  }
}

/// The last `count` items, or all.
template <class T>
std::vector<T> lastOf(const std::deque<T>& kept, std::uint64_t count) {
  return {kept.end() - static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(count, kept.size())),
          kept.end()};
}

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

std::string event(const char* name, const std::string& data) {
  return "event: " + std::string(name) + "\ndata: " + data + "\n\n";
}

}  // namespace

HomePage::HomePage(Act act, Act drill, std::string drills)
    : act_(std::move(act)),
      drill_(std::move(drill)),
      drills_(std::move(drills)),
      token_(UUID().uuidString()) {
}

void HomePage::answer(const HttpRequest& request, const HttpServer::Reply& reply) {
  const auto send = [reply](HttpAnswer answer) { reply(secured(std::move(answer))); };
  const std::string_view path = request.path();
  if (path == "/actions") {
    act(request, send, act_);
  } else if (path == "/drills" && request.method == "POST") {
    act(request, send, drill_);
  } else if (request.method != "GET" && request.method != "HEAD") {
    send(wrongMethod("GET, HEAD"));
  } else if (path == "/drills") {
    send(jsonAnswer(drills_));
  } else if (path == "/events") {
    send(events());
  } else if (path.starts_with("/pictures/")) {
    // Drawing a snapshot runs the extension, which may write: not for other pages.
    const auto site = request.header("Sec-Fetch-Site");
    if (site && *site != "same-origin" && *site != "none") {
      send(refusal(403, "another page requests this picture"));
    } else {
      drawn(path, send);
    }
  } else if (path.starts_with("/widgets/")) {
    send(picture(request));
  } else {
    send(file(path));
  }
}

HttpAnswer HomePage::file(std::string_view path) const {
  if (path == "/Inter.ttf") {
    auto bytes = readFile(systemFonts() / "Inter-roman.var.ttf");
    return bytes ? contentAnswer("font/ttf", *std::move(bytes), "max-age=86400")
                 : refusal(404, "the typeface can't be read: " + bytes.error().message());
  }
  const auto file = pageFile(kHomePage, path == "/" ? "/index.html" : path);
  if (!file) {
    return refusal(404, "no such page");
  }
  std::string bytes(*file);
  if (path == "/") {
    std::string preloads;
    for (const ServedPicture& picture : view_.pictures) {
      preloads += R"(<link rel="preload" as="image" href=")" + picture.path + "\">\n";
    }
    absl::StrReplaceAll(
        {{"{{token}}", token_}, {"{{pictures}}", preloads}, {"{{state}}", escapedHTML(stateNow())}},
        &bytes);
  }
  return contentAnswer(typeOf(path), std::move(bytes));
}

/// The state with the time at which it is sent.
std::string HomePage::stateNow() const {
  return R"({"instant":")" + view_.clock.now().iso8601() + "\"," + view_.state.substr(1);
}

HttpAnswer HomePage::picture(const HttpRequest& request) const {
  const auto kept = std::ranges::find(pictures_, request.target, &ServedPicture::path);
  return kept == pictures_.end() ? refusal(404, "no such picture is kept")
                                 : contentAnswer("image/png", *kept->png, "private, max-age=3600");
}

void HomePage::drawn(std::string_view path, const HttpServer::Reply& reply) const {
  const std::vector<std::string> parts = absl::StrSplit(std::string(path), '/');
  if (parts.size() != 4 || !parts[3].ends_with(".png")) {
    reply(refusal(404, "no such picture"));
    return;
  }
  const auto action = NSJSONSerialization::dataWithJSONObject(Dictionary{
      {"action", "picture"}, {"kind", parts[2]}, {"of", parts[3].substr(0, parts[3].size() - 4)}});
  act_(action ? action->bytes : "", reply);
}

HttpAnswer HomePage::events() const {
  HttpAnswer stream = contentAnswer("text/event-stream", "");
  stream.events = [this,
                   sentViews = std::uint64_t{0},
                   sentLines = std::uint64_t{0},
                   sentEvents = std::uint64_t{0}]() mutable {
    std::string text;
    if (sentViews != views_) {
      sentViews = views_;
      text += event("state", stateNow());
    }
    if (sentLines != lines_) {
      text += event("log", logJSON(lastOf(log_, lines_ - std::exchange(sentLines, lines_))));
    }
    if (sentEvents != happened_) {
      const auto fresh = lastOf(happenings_, happened_ - std::exchange(sentEvents, happened_));
      text += event("events", "[" + absl::StrJoin(fresh, ",") + "]");
    }
    return text;
  };
  return stream;
}

void HomePage::act(const HttpRequest& request,
                   const HttpServer::Reply& reply,
                   const Act& perform) const {
  const auto origin = request.header("Origin");
  if (request.method != "POST") {
    reply(wrongMethod("POST"));
  } else if (request.header("X-Home-Token") != token_) {
    reply(refusal(403, "the X-Home-Token header must be the token of the page: load it again"));
  } else if (origin && *origin != "http://" + *request.header("Host")) {
    reply(refusal(403, "the Origin header names another page"));
  } else if (!request.hasJSON()) {
    reply(refusal(415, "the Content-Type header must be application/json"));
  } else {
    perform(request.body, reply);
  }
}

void HomePage::show(HomeView view) {
  lines_ += view.log.size();
  for (LogLine& line : view.log) {
    keep(log_, std::move(line), kLinesKept);
  }
  happened_ += view.events.size();
  for (std::string& event : view.events) {
    keep(happenings_, std::move(event), kHappeningsKept);
  }
  for (const ServedPicture& picture : view.pictures) {
    if (std::ranges::count(pictures_, picture.path, &ServedPicture::path) == 0) {
      keep(pictures_, picture, kPicturesKept);
    }
  }
  view_ = std::move(view);
  ++views_;
}

}  // namespace host
