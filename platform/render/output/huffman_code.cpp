#include "platform/render/output/huffman_code.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace platform {
namespace {

constexpr int kLongest = 15;

struct Leaf {
  std::uint64_t uses;
  std::size_t symbol;
};

/// The used symbols, the rarest first; at least two.
std::vector<Leaf> leaves(std::span<const std::uint32_t> uses) {
  std::vector<Leaf> all;
  for (std::size_t symbol = 0; symbol < uses.size(); ++symbol) {
    if (uses[symbol] > 0) {
      all.push_back({uses[symbol], symbol});
    }
  }
  for (std::size_t symbol = 0; all.size() < 2; ++symbol) {
    if (uses[symbol] == 0) {
      all.push_back({0, symbol});
    }
  }
  std::ranges::stable_sort(all, {}, &Leaf::uses);
  return all;
}

/// Huffman's tree over sorted leaves: how deep each of them lies.
std::vector<int> depths(const std::vector<Leaf>& leaves) {
  const std::size_t count = leaves.size();
  // Leaves, then the nodes above them, each of which is made of the two lightest that are left.
  std::vector<std::uint64_t> weights(2 * count - 1);
  std::vector<std::size_t> parents(2 * count - 1);
  std::ranges::transform(leaves, weights.begin(), &Leaf::uses);
  std::size_t leaf = 0;
  std::size_t inner = count;
  for (std::size_t node = count; node < weights.size(); ++node) {
    for (int half = 0; half < 2; ++half) {
      const bool takeLeaf = leaf < count && (inner == node || weights[leaf] <= weights[inner]);
      const std::size_t child = takeLeaf ? leaf++ : inner++;
      weights[node] += weights[child];
      parents[child] = node;
    }
  }
  std::vector<int> depth(weights.size());
  for (std::size_t node = weights.size() - 1; node-- > 0;) {
    depth[node] = depth[parents[node]] + 1;
  }
  depth.resize(count);
  return depth;
}

/// How many words there are of each length, none longer than allowed.
std::array<int, kLongest + 1> lengthCounts(const std::vector<int>& depths, int longest) {
  std::array<int, kLongest + 1> counts = {};
  for (const int depth : depths) {
    ++counts[std::min(depth, longest)];
  }
  // Words that were cut short take up more than there is: each step lengthens another word to make
  // room, the longest that can still grow.
  int taken = 0;
  for (int length = 1; length <= longest; ++length) {
    taken += counts[length] << (longest - length);
  }
  for (; taken > 1 << longest; --taken) {
    int length = longest - 1;
    while (counts[length] == 0) {
      --length;
    }
    --counts[length];
    counts[length + 1] += 2;
    --counts[longest];
  }
  return counts;
}

std::uint16_t reversed(unsigned bits, int length) {
  unsigned result = 0;
  for (int i = 0; i < length; ++i) {
    result = result << 1 | (bits >> i & 1);
  }
  return static_cast<std::uint16_t>(result);
}

}  // namespace

HuffmanCode::HuffmanCode(std::span<const std::uint32_t> uses, int longest) : words_(uses.size()) {
  const std::vector<Leaf> sorted = leaves(uses);
  const auto counts = lengthCounts(depths(sorted), longest);
  auto leaf = sorted.begin();
  for (int length = longest; length > 0; --length) {
    for (int i = 0; i < counts[length]; ++i) {
      words_[leaf++->symbol].length = static_cast<std::uint8_t>(length);
    }
  }
  unsigned next = 0;
  for (int length = 1; length <= longest; ++length, next <<= 1) {
    for (Word& word : words_) {
      if (word.length == length) {
        word.bits = reversed(next++, length);
      }
    }
  }
}

}  // namespace platform
