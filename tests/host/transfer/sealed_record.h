#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace world {

/// A record of a journal with any payload, put together byte by byte as the format has it.
inline std::string sealedRecord(std::string_view payload) {
  const auto checksum = [](std::string_view bytes) {
    std::uint64_t sum = 0xCBF29CE484222325u;
    for (const char byte : bytes) {
      sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    }
    return sum;
  };
  const auto plain = [](std::uint64_t number, std::size_t count) {
    return std::string(reinterpret_cast<const char*>(&number), count);
  };
  const std::string head = "\xD7GT1" + plain(payload.size(), 4);
  return (head + plain(checksum(head), 4) + plain(checksum(payload), 8)).append(payload);
}

}  // namespace world
