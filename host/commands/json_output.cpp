#include "host/commands/json_output.h"

#include <nlohmann/json.hpp>

#include "platform/foundation/text/base64.h"
#include "platform/support/utf8.h"

namespace host {

using namespace platform;

namespace {

using Json = nlohmann::ordered_json;

Json toJson(const Value& value);
Json toJson(const MirroredField& field);

/// The members of a dictionary, record or entry, in order.
Json toObject(const auto& members) {
  Json json = Json::object();
  for (const auto& [name, value] : members) {
    json[name] = toJson(value);
  }
  return json;
}

struct ToJson {
  Json operator()(Null) const { return nullptr; }
  Json operator()(Date date) const { return date.iso8601(); }
  Json operator()(const Data& data) const { return {{"data", encodeBase64(data.bytes)}}; }
  Json operator()(const UnsupportedObject& object) const {
    return {{"unsupported", encodeBase64(object.bytes)}};
  }
  Json operator()(const Array& array) const {
    Json json = Json::array();
    for (const Value& value : array) {
      json.push_back(toJson(value));
    }
    return json;
  }
  Json operator()(const Dictionary& dictionary) const { return toObject(dictionary); }
  Json operator()(const auto& scalar) const { return scalar; }
};

Json toJson(const Value& value) {
  return std::visit(ToJson(), value.storage());
}

Json toJson(const MirroredField& field) {
  if (const auto* value = std::get_if<Value>(&field)) {
    return toJson(*value);
  }
  Json records = Json::array();
  for (const MirroredRecord& record : std::get<std::vector<MirroredRecord>>(field)) {
    records.push_back(toObject(record));
  }
  return records;
}

Json timelineObject(const std::string& kind,
                    const ArchivedTimeline& timeline,
                    const std::vector<std::string>& log) {
  Json entries = Json::array();
  for (const ArchivedEntry& entry : timeline.entries) {
    entries.push_back(toObject(entry.fields));
  }
  Json policy = "never";
  if (timeline.policy.date) {
    policy = Json{{"after", timeline.policy.date->iso8601()}};
  }
  return {{"kind", kind}, {"entries", entries}, {"policy", policy}, {"log", log}};
}

// A log may contain bytes that are not valid UTF-8: they are replaced.
std::string printed(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::string isoDate(double seconds) {
  return Date::since1970(seconds).iso8601();
}

Json toJson(const TransferTask& task) {
  const auto& [error, status, size] = task.outcome;
  const bool waits = task.ended == 0 && task.attempts > 0;
  return {{"id", task.id},
          {"session", excerpt(task.request.session)},
          {"method", task.request.method},
          {"url", excerpt(task.request.url, kLongestURL)},
          {"state", nameOf(task.state())},
          {"hosted", task.hosted},
          {"created", isoDate(task.created)},
          {"attempts", task.attempts},
          {"sends", task.sends},
          {"nextAttempt", waits ? Json(isoDate(task.next)) : Json()},
          {"status", status ? Json(*status) : Json()},
          {"bytes", status ? Json(size) : Json()},
          {"error",
           error ? Json{{"domain", error->domain},
                        {"code", error->code},
                        {"description", error->localizedDescription}}
                 : Json()},
          {"undelivered", task.undelivered.empty() ? Json() : Json(excerpt(task.undelivered))}};
}

}  // namespace

const char* nameOf(TransferState state) {
  constexpr const char* kNames[] = {"pending", "done", "failed"};
  return kNames[std::to_underlying(state)];
}

std::string fieldJSON(const MirroredField& field) {
  return printed(toJson(field));
}

std::string answerJSON(ProvideRequest::What what,
                       const std::string& kind,
                       const ArchivedTimeline& answer,
                       const std::vector<std::string>& log) {
  if (what == ProvideRequest::What::timeline) {
    return printed(timelineObject(kind, answer, log));
  }
  return printed(
      {{"kind", kind}, {"entry", toObject(answer.entries.front().fields)}, {"log", log}});
}

std::string settledJSON(const std::string& kind,
                        const std::vector<LoggedTimeline>& timelines,
                        const std::vector<std::string>& log) {
  Json objects = Json::array();
  for (const LoggedTimeline& logged : timelines) {
    objects.push_back(timelineObject(kind, logged.timeline, logged.log));
  }
  return printed({{"timelines", objects}, {"log", log}});
}

std::string galleryJSON(const std::vector<GalleryItem>& gallery) {
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
  return printed(json);
}

std::string downloadsJSON(const TransferListing& listing) {
  Json downloads = Json::array();
  for (const TransferTask& task : listing.tasks) {
    downloads.push_back(toJson(task));
  }
  return printed({{"downloads", downloads}, {"damaged", listing.damaged}});
}

}  // namespace host
