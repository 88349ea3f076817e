#include <chrono>

#include <boost/asio/ip/tcp.hpp>

#include "host/drill/drill_phone.h"
#include "platform/foundation/data/json_serialization.h"

namespace host {

using namespace platform;

namespace {

std::string textIn(const Dictionary& object, std::string_view name) {
  return object.string(name).value_or("");
}

}  // namespace

DrillHome::DrillHome(const DrillPhone& phone, const std::string& now)
    : process_(phone.deviceCommand({"home", "--port", "0"}, now)) {
  const std::string url = process_.line();
  const std::size_t colon = url.rfind(':');
  expect(colon != url.npos, "the home screen did not start");
  port_ = url.substr(colon + 1, url.size() - colon - 2);
  state();  // Answered once the phone has started.
}

pid_t DrillHome::extension() const {
  const auto children = process_.children();
  expect(!children.empty(), "no extension runs");
  return children.front();
}

std::string DrillHome::lineOf(const std::string& request,
                              const std::string& body,
                              std::string_view part) const {
  boost::asio::ip::tcp::iostream stream;
  stream.expires_after(std::chrono::seconds(30));
  stream.connect("127.0.0.1", port_);
  stream << request << " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
         << "Content-Type: application/json\r\nX-Home-Token: " << token_ << "\r\n"
         << "Content-Length: " << body.size() << "\r\n\r\n"
         << body << std::flush;
  for (std::string line; std::getline(stream, line);) {
    if (line.find(part) != line.npos) {
      return line;
    }
  }
  throw BrokenPromise("the page does not answer");
}

Dictionary DrillHome::state() const {
  // The stream of events begins with the state.
  constexpr std::string_view kData = "data: ";
  const std::string line = lineOf("GET /events", "", kData);
  const auto object = NSJSONSerialization::JSONObjectWithData({line.substr(kData.size())});
  expect(object && object->dictionary(), "the page has no state");
  return *object->dictionary();
}

ShownWidget DrillHome::widget(std::string_view kind) const {
  const Dictionary all = state();
  for (const Value& each : *all.find("widgets")->array()) {
    if (const Dictionary& widget = *each.dictionary(); textIn(widget, "kind") == kind) {
      return {textIn(widget, "alt"), textIn(widget, "picture"), textIn(widget, "problem")};
    }
  }
  throw BrokenPromise("the home screen has no " + std::string(kind));
}

std::string DrillHome::awaitText(std::string_view kind, const std::string& part) const {
  std::string text;
  await([&] { return (text = widget(kind).text).find(part) != text.npos; },
        "the widget never showed \"" + part + "\"");
  return text;
}

std::string DrillHome::extensionProblem() const {
  const Dictionary all = state();
  const Value* extension = all.find("extension");
  return extension && extension->dictionary() ? textIn(*extension->dictionary(), "problem") : "";
}

void DrillHome::act(const Dictionary& action) {
  if (token_.empty()) {
    constexpr std::string_view kContent = "content=\"";
    const std::string line = lineOf("GET /", "", "home-token");
    const std::size_t start = line.find(kContent) + kContent.size();
    token_ = line.substr(start, line.find('"', start) - start);
  }
  const auto body = NSJSONSerialization::dataWithJSONObject(action);
  const std::string status = lineOf("POST /actions", body->bytes, "HTTP/1.1 ");
  expect(status.starts_with("HTTP/1.1 200"), "the page answers " + status);
}

}  // namespace host
