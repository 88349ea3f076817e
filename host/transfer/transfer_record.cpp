#include "host/transfer/transfer_record.h"

#include <array>
#include <limits>

#include "platform/foundation/cbor.h"
#include "platform/foundation/require.h"
#include "platform/foundation/value.h"

namespace host {

using namespace platform;

namespace {

/// Eight bytes that name the format and its version; the checksum's eight follow.
constexpr std::string_view kMagic = "GLTRAN01";
constexpr std::size_t kChecksumBytes = 8;

/// FNV-1a of 64 bits: a change in any single byte changes it.
std::uint64_t checksum(std::string_view bytes) {
  std::uint64_t sum = 0xCBF29CE484222325u;
  for (const char byte : bytes) {
    sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
  }
  return sum;
}

std::string sealed(const Dictionary& members) {
  // Texts of unknown origin travel as data, so nothing in here can be refused.
  const auto payload = encodeCBOR(members);
  if (!payload) {
    fatalError(payload.error());
  }
  std::string bytes(kMagic);
  const std::uint64_t sum = checksum(*payload);
  for (std::size_t byte = 0; byte < kChecksumBytes; ++byte) {
    bytes += static_cast<char>(sum >> (8 * byte) & 0xFF);
  }
  return bytes + *payload;
}

/// Reads the members of a record; the first one that is missing or of another type is `fault()`.
class Reader {
 public:
  explicit Reader(std::string_view bytes) {
    if (!bytes.starts_with(kMagic) || bytes.size() < kMagic.size() + kChecksumBytes) {
      fault_ = bytes.empty() ? "the file is empty" : "the file does not begin as a record does";
      return;
    }
    std::uint64_t sum = 0;
    for (std::size_t byte = 0; byte < kChecksumBytes; ++byte) {
      sum |= std::uint64_t{static_cast<unsigned char>(bytes[kMagic.size() + byte])} << (8 * byte);
    }
    const std::string_view payload = bytes.substr(kMagic.size() + kChecksumBytes);
    if (checksum(payload) != sum) {
      fault_ = "the file was cut or changed: its checksum differs";
      return;
    }
    auto value = decodeCBOR(payload);
    if (!value || !value->dictionary()) {
      fault_ = value ? "the record is no dictionary" : value.error();
      return;
    }
    members_ = *value->dictionary();
  }

  bool has(const char* key) const { return members_.find(key) != nullptr; }

  std::string bytes(const char* key) {
    const Value* value = members_.find(key);
    const Data* data = value ? value->as<Data>() : nullptr;
    return data ? data->bytes : missing<std::string>(key);
  }
  std::int64_t integer(const char* key) {
    const auto number = members_.integer(key);
    return number ? *number : missing<std::int64_t>(key);
  }
  double number(const char* key) {
    const auto number = members_.number(key);
    return number ? *number : missing<double>(key);
  }
  NSError error() { return {bytes("domain"), integer("code"), bytes("text")}; }
  HeaderFields headers() {
    const Value* value = members_.find("headers");
    const Array* flat = value ? value->array() : nullptr;
    if (!flat || flat->size() % 2 != 0) {
      return missing<HeaderFields>("headers");
    }
    HeaderFields headers;
    for (std::size_t index = 0; index < flat->size(); index += 2) {
      const Data* name = (*flat)[index].as<Data>();
      const Data* text = (*flat)[index + 1].as<Data>();
      if (!name || !text) {
        return missing<HeaderFields>("headers");
      }
      headers.emplace_back(name->bytes, text->bytes);
    }
    return headers;
  }

  template <class Record>
  std::expected<Record, std::string> finish(Record record) const {
    if (!fault_.empty()) {
      return std::unexpected(fault_);
    }
    return record;
  }

 private:
  template <class T>
  T missing(const char* key) {
    if (fault_.empty()) {
      fault_ = "the member \"" + std::string(key) + "\" is missing or of another type";
    }
    return T();
  }

  Dictionary members_;
  std::string fault_;
};

Array flatten(const HeaderFields& headers) {
  Array flat;
  for (const auto& [name, text] : headers) {
    flat.push_back(Data{name});
    flat.push_back(Data{text});
  }
  return flat;
}

void addError(Dictionary& members, const NSError& error) {
  members.set("domain", Data{error.domain});
  members.set("code", error.code);
  members.set("text", Data{error.localizedDescription});
}

}  // namespace

std::string encodeTask(const TransferTask& task) {
  return sealed({{"id", Data{task.id}},
                 {"created", task.created},
                 {"session", Data{task.request.session}},
                 {"url", Data{task.request.url}},
                 {"method", Data{task.request.method}},
                 {"headers", flatten(task.request.headers)},
                 {"body", Data{task.request.body}},
                 {"timeout", task.request.timeout}});
}

std::expected<TransferTask, std::string> decodeTask(std::string_view bytes) {
  Reader reader(bytes);
  TransferTask task;
  task.id = reader.bytes("id");
  task.created = reader.number("created");
  task.request = {.session = reader.bytes("session"),
                  .url = reader.bytes("url"),
                  .method = reader.bytes("method"),
                  .headers = reader.headers(),
                  .body = reader.bytes("body"),
                  .timeout = reader.number("timeout")};
  return reader.finish(std::move(task));
}

std::string encodeWait(const TransferWait& wait) {
  Dictionary members = {{"attempts", wait.attempts}, {"next", wait.next}};
  addError(members, wait.error);
  return sealed(members);
}

std::expected<TransferWait, std::string> decodeWait(std::string_view bytes) {
  Reader reader(bytes);
  const auto attempts = reader.integer("attempts");
  return reader.finish(
      TransferWait{static_cast<int>(attempts), reader.number("next"), reader.error()});
}

std::string encodeOutcome(const TransferOutcome& outcome) {
  Dictionary members = {{"order", outcome.order}};
  if (outcome.answer) {
    members.set("status", outcome.answer->status);
    members.set("url", Data{outcome.answer->url});
    members.set("headers", flatten(outcome.answer->headers));
    members.set("size", static_cast<std::int64_t>(outcome.answer->size));
  }
  if (outcome.error) {
    addError(members, *outcome.error);
  }
  return sealed(members);
}

std::expected<TransferOutcome, std::string> decodeOutcome(std::string_view bytes) {
  Reader reader(bytes);
  TransferOutcome outcome = {.order = reader.integer("order")};
  if (reader.has("status")) {
    outcome.answer = {.status = static_cast<int>(reader.integer("status")),
                      .url = reader.bytes("url"),
                      .headers = reader.headers(),
                      .size = static_cast<std::uint64_t>(reader.integer("size"))};
  }
  if (reader.has("code") || !outcome.answer) {
    outcome.error = reader.error();
  }
  return reader.finish(std::move(outcome));
}

}  // namespace host
