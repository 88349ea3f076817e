#include "host/http/json_members.h"

#include <utility>

#include "platform/foundation/data/json_serialization.h"

namespace host {

using namespace platform;

namespace {

/// What a read has found, if it is valid.
template <class Found>
auto valid(Found found, std::string_view name, const char* type) {
  if (!found) {
    throw BadRequest("the member \"" + std::string(name) + "\" must be " + type);
  }
  return *std::move(found);
}

}  // namespace

JsonMembers::JsonMembers(std::string body) {
  const auto json = NSJSONSerialization::JSONObjectWithData(Data{std::move(body)});
  if (!json) {
    throw BadRequest("the body is not valid JSON: " + json.error().debugDescription);
  }
  if (!json->dictionary()) {
    throw BadRequest("the body is not a JSON object");
  }
  members_ = *json->dictionary();
}

std::string JsonMembers::text(std::string_view name) const {
  auto found = members_.string(name);
  return valid(found && found->empty() ? std::nullopt : std::move(found),
               name,
               "a string that is not empty");
}

std::optional<std::string> JsonMembers::optionalText(std::string_view name) const {
  const Value* value = members_.find(name);
  return value && !value->isNull() ? std::optional(text(name)) : std::nullopt;
}

double JsonMembers::number(std::string_view name) const {
  return valid(members_.number(name), name, "a number");
}

std::int64_t JsonMembers::integer(std::string_view name) const {
  return valid(members_.integer(name), name, "a whole number");
}

bool JsonMembers::boolean(std::string_view name) const {
  const Value* value = members_.find(name);
  return valid(value ? value->as<bool>() : nullptr, name, "true or false");
}

Dictionary JsonMembers::object(std::string_view name) const {
  const Value* value = members_.find(name);
  return valid(value ? value->dictionary() : nullptr, name, "an object");
}

}  // namespace host
