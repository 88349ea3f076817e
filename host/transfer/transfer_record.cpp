#include "host/transfer/transfer_record.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <unordered_map>

#include "host/fingerprint.h"
#include "platform/foundation/cbor.h"
#include "platform/foundation/cbor_writer.h"
#include "platform/foundation/number_text.h"
#include "platform/foundation/value.h"

namespace host {

using namespace platform;

namespace {

/// What a record begins with; then its length, a checksum of that and one of the payload.
constexpr std::string_view kMagic = "\xD7GT1";
constexpr std::size_t kHeadBytes = 20;

void append(std::string& bytes, std::uint64_t number, std::size_t count) {
  for (std::size_t byte = 0; byte < count; ++byte) {
    bytes += static_cast<char>(number >> (8 * byte) & 0xFF);
  }
}

std::uint64_t numberAt(std::string_view bytes, std::size_t at, std::size_t count) {
  std::uint64_t number = 0;
  for (std::size_t byte = 0; byte < count; ++byte) {
    number |= std::uint64_t{static_cast<unsigned char>(bytes[at + byte])} << (8 * byte);
  }
  return number;
}

/// Writes one record: a map, whose keys are texts and whose texts, being of unknown origin, are
/// bytes.
class Writer {
 public:
  /// `count` members come behind the kind and the task.
  Writer(std::string_view kind, std::string_view id, std::size_t count) {
    record_.reserve(kUsualBytes);
    record_.resize(kHeadBytes);
    out_.map(2 + count);
    bytes("kind", kind);
    bytes("id", id);
  }

  Writer& bytes(std::string_view key, std::string_view value) {
    out_.text(key);
    out_.bytes(value);
    return *this;
  }
  Writer& integer(std::string_view key, std::int64_t value) {
    out_.text(key);
    out_.integer(value);
    return *this;
  }
  Writer& number(std::string_view key, double value) {
    out_.text(key);
    out_.real(value);
    return *this;
  }
  Writer& headers(const HeaderFields& headers) {
    out_.text("headers");
    out_.array(2 * headers.size());
    for (const auto& [name, text] : headers) {
      out_.bytes(name);
      out_.bytes(text);
    }
    return *this;
  }
  /// Three members.
  Writer& error(const NSError& error) {
    return bytes("domain", error.domain)
        .integer("code", error.code)
        .bytes("text", error.localizedDescription);
  }

  std::string sealed() {
    const std::string_view payload = std::string_view(record_).substr(kHeadBytes);
    std::string head(kMagic);
    append(head, payload.size(), 4);
    append(head, checksum(head), 4);
    append(head, checksum(payload), 8);
    std::ranges::copy(head, record_.begin());
    return std::move(record_);
  }

 private:
  static constexpr std::size_t kUsualBytes = 512;

  std::string record_;
  CBORWriter out_{record_};
};

/// Whether a record's head stands at the beginning, whose length can be believed.
bool hasHead(std::string_view bytes) {
  return bytes.size() >= kHeadBytes && bytes.starts_with(kMagic) &&
         numberAt(bytes, 8, 4) == (checksum(bytes.substr(0, 8)) & 0xFFFFFFFF);
}

// Bounds of what a transfer can have. Times are finite and not before 1970; attempts and orders
// stay far enough from the largest integer to be counted on.
constexpr double kLastMoment = std::numeric_limits<double>::max();
constexpr double kLeastTimeout = std::numeric_limits<double>::denorm_min();
constexpr std::int64_t kMostAttempts = 1'000'000'000;
constexpr std::int64_t kLastOrder = std::int64_t{1} << 62;
constexpr std::int64_t kMostBytes = std::numeric_limits<std::int64_t>::max();

std::string textOf(std::int64_t number) {
  return std::to_string(number);
}
std::string textOf(double number) {
  return shortestText(number);
}

/// Reads the members of a record; the first one that is missing, of another type or out of bounds
/// is `fault()`.
class Reader {
 public:
  explicit Reader(std::string_view payload) {
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
  std::int64_t integer(const char* key, std::int64_t least, std::int64_t most) {
    return within(key, members_.integer(key), least, most);
  }
  double number(const char* key, double least, double most) {
    return within(key, members_.number(key), least, most);
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

  const std::string& fault() const { return fault_; }

 private:
  template <class T>
  T missing(const char* key) {
    if (fault_.empty()) {
      fault_ = "the member \"" + std::string(key) + "\" is missing or of another type";
    }
    return T();
  }

  template <class T>
  T within(const char* key, std::optional<T> number, T least, T most) {
    if (!number) {
      return missing<T>(key);
    }
    if (*number >= least && *number <= most) {
      return *number;
    }
    if (fault_.empty()) {
      fault_ = "the member \"" + std::string(key) + "\" can't be " + textOf(*number);
    }
    return T();
  }

  Dictionary members_;
  std::string fault_;
};

TransferTask readTask(Reader& reader) {
  return {.id = reader.bytes("id"),
          .request = {.session = reader.bytes("session"),
                      .url = reader.bytes("url"),
                      .method = reader.bytes("method"),
                      .headers = reader.headers(),
                      .body = reader.bytes("body"),
                      .timeout = reader.number("timeout", kLeastTimeout, kLastMoment)},
          .created = reader.number("created", 0, kLastMoment)};
}

TransferWait readWait(Reader& reader) {
  return {static_cast<int>(reader.integer("attempts", 1, kMostAttempts)),
          reader.number("next", 0, kLastMoment),
          reader.error()};
}

TransferOutcome readOutcome(Reader& reader) {
  TransferOutcome outcome = {.order = reader.integer("order", 1, kLastOrder)};
  if (reader.has("status")) {
    outcome.answer = {.status = static_cast<int>(reader.integer("status", 100, 999)),
                      .url = reader.bytes("url"),
                      .headers = reader.headers(),
                      .size = static_cast<std::uint64_t>(reader.integer("size", 0, kMostBytes))};
  }
  if (reader.has("code") || !outcome.answer) {
    outcome.error = reader.error();
  }
  return outcome;
}

/// Goes through a journal record by record.
class JournalReader {
 public:
  Journal read(std::string_view bytes) && {
    while (journal_.length < bytes.size()) {
      const std::string_view rest = bytes.substr(journal_.length);
      if (!hasHead(rest)) {
        if (kMagic.starts_with(rest.substr(0, kMagic.size())) && rest.size() < kHeadBytes) {
          break;  // The head itself is not all there.
        }
        damaged("no record begins there");
        skipToHead(bytes);
        continue;
      }
      const std::size_t size = numberAt(rest, 4, 4);
      if (rest.size() - kHeadBytes < size) {
        break;
      }
      const std::string_view payload = rest.substr(kHeadBytes, size);
      if (checksum(payload) == numberAt(rest, 12, 8)) {
        apply(Reader(payload));
      } else {
        damaged("the record was changed: its checksum differs");
      }
      journal_.length += kHeadBytes + size;
    }
    for (const std::string& id : order_) {
      if (const auto task = tasks_.find(id); task != tasks_.end()) {
        journal_.tasks.push_back(std::move(task->second));
        tasks_.erase(task);
      }
    }
    return std::move(journal_);
  }

 private:
  void damaged(const std::string& what) {
    journal_.damage.push_back("at byte " + std::to_string(journal_.length) + ": " + what);
  }

  void skipToHead(std::string_view bytes) {
    do {
      journal_.length = std::min(bytes.find(kMagic, journal_.length + 1), bytes.size());
    } while (journal_.length < bytes.size() && !hasHead(bytes.substr(journal_.length)));
  }

  void apply(Reader reader) {
    const std::string kind = reader.bytes("kind");
    const std::string id = reader.bytes("id");
    if (kind == "task") {
      TransferTask task = readTask(reader);
      if (reader.fault().empty()) {
        order_.push_back(id);
        tasks_.insert_or_assign(id, std::move(task));
      }
    } else if (const auto known = tasks_.find(id); known == tasks_.end()) {
      // Of a task whose own record is damaged, which has been said.
    } else if (kind == "wait") {
      TransferWait wait = readWait(reader);
      known->second.wait = reader.fault().empty() ? std::move(wait) : TransferWait();
    } else if (kind == "outcome") {
      TransferOutcome outcome = readOutcome(reader);
      known->second.outcome =
          reader.fault().empty() ? std::optional(std::move(outcome)) : std::nullopt;
    } else if (kind == "removal") {
      tasks_.erase(known);
    } else {
      damaged("a record of an unknown kind");
    }
    if (!reader.fault().empty()) {
      damaged(reader.fault());
    }
  }

  std::vector<std::string> order_;
  std::unordered_map<std::string, TransferTask> tasks_;
  Journal journal_;
};

}  // namespace

std::string taskRecord(const TransferTask& task) {
  return Writer("task", task.id, 7)
      .number("created", task.created)
      .bytes("session", task.request.session)
      .bytes("url", task.request.url)
      .bytes("method", task.request.method)
      .headers(task.request.headers)
      .bytes("body", task.request.body)
      .number("timeout", task.request.timeout)
      .sealed();
}

std::string waitRecord(const TransferTask& task) {
  return Writer("wait", task.id, 5)
      .integer("attempts", task.wait.attempts)
      .number("next", task.wait.next)
      .error(task.wait.error)
      .sealed();
}

std::string outcomeRecord(const TransferTask& task) {
  const TransferOutcome& outcome = *task.outcome;
  Writer record("outcome", task.id, 1 + (outcome.answer ? 4 : 0) + (outcome.error ? 3 : 0));
  record.integer("order", outcome.order);
  if (outcome.answer) {
    record.integer("status", outcome.answer->status)
        .bytes("url", outcome.answer->url)
        .headers(outcome.answer->headers)
        .integer("size", static_cast<std::int64_t>(outcome.answer->size));
  }
  if (outcome.error) {
    record.error(*outcome.error);
  }
  return record.sealed();
}

std::string removalRecord(const std::string& id) {
  return Writer("removal", id, 0).sealed();
}

Journal readJournal(std::string_view bytes) {
  return JournalReader().read(bytes);
}

}  // namespace host
