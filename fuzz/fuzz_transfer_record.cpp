#include "fuzz/fuzz.h"
#include "host/transfer/transfer_record.h"
#include "tests/host/transfer/sealed_record.h"

namespace {

/// A journal as a host writes it: two tasks, one that waited in vain and one that was answered.
std::string writtenJournal() {
  host::TransferTask waiting = {.id = "1-a", .request = {.session = "s", .url = "http://a/"}};
  waiting.wait = {.attempts = 2, .next = 5, .error = {"NSURLErrorDomain", -1005, "lost"}};
  host::TransferTask done = {.id = "1-b", .request = {.session = "s", .url = "http://b/"}};
  done.outcome = {.order = 1, .answer = host::TransferAnswer{.status = 200, .url = "http://b/"}};
  return host::taskRecord(waiting) + host::taskRecord(done) + host::waitRecord(waiting) +
         host::outcomeRecord(done);
}

std::string written(const host::TransferTask& task) {
  return host::taskRecord(task) + (task.wait.attempts > 0 ? host::waitRecord(task) : "") +
         (task.outcome ? host::outcomeRecord(task) : "");
}

void read(std::string_view bytes) {
  const host::Journal journal = host::readJournal(bytes);
  fuzz::expect(journal.length <= bytes.size(), "no more is read than there is");
  std::string records;
  for (const host::TransferTask& task : journal.tasks) {
    records += written(task);
  }
  const host::Journal again = host::readJournal(records);
  fuzz::expect(again.damage.empty(), "what was read is written whole");
  std::string twice;
  for (const host::TransferTask& task : again.tasks) {
    twice += written(task);
  }
  fuzz::expect(twice == records, "what was read is written again");
}

}  // namespace

// Hardly an arbitrary input gets past the checksums: beside the bytes as they are, they stand in a
// record as it should be, and damage a journal that was whole.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto input = fuzz::bytes(data, size);
  read(input);
  read(host::taskRecord({.id = "1-b"}) + world::sealedRecord(input));
  std::string damaged = writtenJournal();
  for (std::size_t at = 0; at + 1 < input.size(); at += 2) {
    const auto place = static_cast<unsigned char>(input[at]) * 3u % damaged.size();
    damaged[place] = static_cast<char>(damaged[place] ^ input[at + 1]);
  }
  read(damaged);
  return 0;
}
