#include "fuzz/message_round_trip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::messageRoundTrip(fuzz::bytes(data, size), platform::decodeExtensionMessage);
  return 0;
}
