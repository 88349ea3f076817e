#include "host/json_output.h"

#include <cstdio>

#include "host/base64.h"

namespace host {

using namespace platform;

namespace {

struct ToJson {
  Json operator()(Null) const { return nullptr; }
  Json operator()(Date date) const { return date.iso8601(); }
  Json operator()(const Data& data) const { return {{"data", encodeBase64(data.bytes)}}; }
  Json operator()(const Array& array) const {
    Json json = Json::array();
    for (const Value& value : array) {
      json.push_back(toJson(value));
    }
    return json;
  }
  Json operator()(const Dictionary& dictionary) const {
    Json json = Json::object();
    for (const auto& [key, value] : dictionary) {
      json[key] = toJson(value);
    }
    return json;
  }
  Json operator()(const auto& scalar) const { return scalar; }
};

}  // namespace

Json toJson(const Value& value) {
  return std::visit(ToJson(), value.storage());
}

Json toJson(const ArchivedEntry& entry) {
  Json json = Json::object();
  for (const auto& [name, value] : entry.fields) {
    json[name] = toJson(value);
  }
  return json;
}

Json timelineJson(const std::string& kind,
                  const ArchivedTimeline& timeline,
                  const std::vector<std::string>& log) {
  Json entries = Json::array();
  for (const ArchivedEntry& entry : timeline.entries) {
    entries.push_back(toJson(entry));
  }
  Json policy = "never";
  if (timeline.policy.date) {
    policy = Json{{"after", timeline.policy.date->iso8601()}};
  }
  return {{"kind", kind}, {"entries", entries}, {"policy", policy}, {"log", log}};
}

Json entryJson(const std::string& kind,
               const ArchivedEntry& entry,
               const std::vector<std::string>& log) {
  return {{"kind", kind}, {"entry", toJson(entry)}, {"log", log}};
}

Json toJson(const std::vector<GalleryItem>& gallery) {
  Json json = Json::array();
  for (const GalleryItem& item : gallery) {
    Json families = Json::array();
    for (const WidgetFamily family : item.families) {
      families.push_back(nameOf(family));
    }
    json.push_back({{"kind", item.kind},
                    {"displayName", item.displayName},
                    {"description", item.description},
                    {"families", families}});
  }
  return json;
}

void print(const Json& json) {
  // Whatever bytes a program printed as its log, the JSON around them stays valid.
  const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace host
