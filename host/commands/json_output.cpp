#include "host/commands/json_output.h"

#include <nlohmann/json.hpp>

#include "host/commands/command_line.h"
#include "platform/foundation/text/base64.h"
#include "platform/support/utf8.h"

namespace host {

using namespace platform;

namespace {

using Json = nlohmann::ordered_json;

Json toJson(const Value& value);
Json toJson(const Answer& answer);
Json toJson(const GalleryItem& item);
Json toJson(const TransferTask& task);

template <class T>
Json toJson(const std::vector<T>& items) {
  Json array = Json::array();
  for (const T& item : items) {
    array.push_back(toJson(item));
  }
  return array;
}

struct ToJson {
  Json operator()(Null) const { return nullptr; }
  Json operator()(Date date) const { return date.iso8601(); }
  Json operator()(const Data& data) const { return {{"data", encodeBase64(data.bytes)}}; }
  Json operator()(const UnsupportedObject& object) const {
    return {{"unsupported", encodeBase64(object.bytes)}};
  }
  Json operator()(const Array& array) const { return toJson(array); }
  Json operator()(const Dictionary& dictionary) const {
    Json json = Json::object();
    for (const auto& [name, value] : dictionary) {
      json[name] = toJson(value);
    }
    return json;
  }
  Json operator()(const auto& scalar) const { return scalar; }
};

Json toJson(const Value& value) {
  return std::visit(ToJson(), value.storage());
}

/// An entry's fields. The extension is not trusted: nesting is bounded, because a deep tree would
/// exhaust the stack.
Json fieldsOf(const ArchivedEntry& entry) {
  constexpr int kMaxDepth = 64;
  bool tooDeep = false;
  Json fields = Json::parse(
      entry.fields,
      [&](int depth, Json::parse_event_t, const Json&) {
        tooDeep |= depth > kMaxDepth;
        return !tooDeep;
      },
      false);
  if (tooDeep || !fields.is_object()) {
    throw CommandError("the extension sent an entry whose fields are not a JSON object");
  }
  return fields;
}

Json toJson(const Answer& answer) {
  const auto& [what, kind, timeline, log] = answer;
  if (what != ProvideRequest::What::timeline) {
    return {{"kind", kind}, {"entry", fieldsOf(timeline.entries.front())}, {"log", log}};
  }
  Json entries = Json::array();
  for (const ArchivedEntry& entry : timeline.entries) {
    entries.push_back(fieldsOf(entry));
  }
  const auto& date = timeline.policy.date;
  const Json policy = date ? Json{{"after", date->iso8601()}} : Json("never");
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

Json toJson(const GalleryItem& item) {
  Json families = Json::array();
  for (const WidgetFamily family : item.families) {
    families.push_back(nameOf(family));
  }
  return {{"kind", item.kind},
          {"displayName", item.displayName},
          {"description", item.description},
          {"families", families}};
}

}  // namespace

const char* nameOf(TransferState state) {
  constexpr const char* kNames[] = {"pending", "done", "failed"};
  return kNames[std::to_underlying(state)];
}

std::string valueJSON(const Value& value) {
  return printed(toJson(value));
}

std::vector<std::pair<std::string, std::string>> fieldTexts(const ArchivedEntry& entry) {
  std::vector<std::pair<std::string, std::string>> texts;
  const Json fields = fieldsOf(entry);
  for (const auto& [name, value] : fields.items()) {
    texts.emplace_back(name, value.is_string() ? value.get<std::string>() : printed(value));
  }
  return texts;
}

std::string answerJSON(const Answer& answer) {
  return printed(toJson(answer));
}

std::string settledJSON(const std::vector<Answer>& answers, const std::vector<std::string>& log) {
  return printed({{"timelines", toJson(answers)}, {"log", log}});
}

std::string galleryJSON(const std::vector<GalleryItem>& gallery) {
  return printed(toJson(gallery));
}

std::string downloadsJSON(const TransferListing& listing) {
  return printed({{"downloads", toJson(listing.tasks)}, {"damaged", listing.damaged}});
}

std::string drillsJSON(const std::vector<Drill>& drills, const std::vector<DrillResult>& results) {
  Json array = Json::array();
  for (const Drill& drill : drills) {
    Json row = {{"name", drill.name}, {"fault", drill.fault}, {"promise", drill.promise}};
    if (array.size() < results.size()) {
      const auto& [held, seen] = results[array.size()];
      row.update({{"held", held}, {"seen", seen}});
    }
    array.push_back(std::move(row));
  }
  return printed(array);
}

}  // namespace host
