#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace platform {

/// A prefix code made for the uses of its symbols: the more often, the shorter the word. As deflate
/// wants it: words of the same length count up in the order of their symbols, and stand with their
/// first bit lowest.
class HuffmanCode {
 public:
  struct Word {
    std::uint16_t bits = 0;
    /// 0 for a symbol that is not used.
    std::uint8_t length = 0;
  };

  /// No word is longer than `longest`. A code of fewer than two symbols takes further ones in, as
  /// some readers refuse an incomplete one.
  HuffmanCode(std::span<const std::uint32_t> uses, int longest);

  std::size_t size() const { return words_.size(); }
  const Word& operator[](std::size_t symbol) const { return words_[symbol]; }

 private:
  std::vector<Word> words_;
};

}  // namespace platform
