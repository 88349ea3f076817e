#include "fuzz/fuzz.h"
#include "host/transfer/transfer_record.h"

namespace {

/// The record's frame around a payload, or hardly an input would get past the checksum.
std::string sealed(std::string_view payload) {
  std::uint64_t sum = 0xCBF29CE484222325u;
  for (const char byte : payload) {
    // The multiplication is meant to overflow, which it does well in unsigned numbers.
    sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
  }
  std::string bytes = "GLTRAN01";
  for (int byte = 0; byte < 8; ++byte) {
    bytes += static_cast<char>(sum >> (8 * byte) & 0xFF);
  }
  return bytes.append(payload);
}

template <class Part>
void roundTrip(std::string_view file,
               std::expected<Part, std::string> (*decode)(std::string_view),
               std::string (*encode)(const Part&)) {
  const auto part = decode(file);
  if (!fuzz::accepted(part)) {
    return;
  }
  const std::string written = encode(*part);
  const auto again = decode(written);
  fuzz::expect(again.has_value(), "an accepted record is accepted again");
  fuzz::expect(encode(*again) == written, "a record survives a round trip");
}

void readAsEveryPart(std::string_view file) {
  roundTrip(file, host::decodeTask, host::encodeTask);
  roundTrip(file, host::decodeWait, host::encodeWait);
  roundTrip(file, host::decodeOutcome, host::encodeOutcome);
  if (const auto task = host::decodeTask(file)) {
    fuzz::expect(task->request == host::decodeTask(host::encodeTask(*task))->request,
                 "a request is the one that was made");
  }
  if (const auto wait = host::decodeWait(file)) {
    fuzz::expect(wait->attempts >= 0, "attempts are counted from zero");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto input = fuzz::bytes(data, size);
  readAsEveryPart(input);
  readAsEveryPart(sealed(input));
  return 0;
}
