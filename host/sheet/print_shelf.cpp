#include "host/sheet/print_shelf.h"

#include <algorithm>

namespace host {

namespace {

/// Nearly all pictures that are there twice lie nearer to each other; as many take some 10 MiB.
constexpr std::size_t kMost = 100;

}  // namespace

std::shared_ptr<const Developed> PrintShelf::find(const Scene& scene) const {
  const std::scoped_lock lock(mutex_);
  const auto found =
      std::ranges::find_if(scenes_, [&](const auto& kept) { return kept.first == scene; });
  return found == scenes_.end() ? nullptr : found->second;
}

void PrintShelf::keep(Scene scene, std::shared_ptr<const Developed> developed) {
  const std::scoped_lock lock(mutex_);
  scenes_.emplace_front(std::move(scene), std::move(developed));
  if (scenes_.size() > kMost) {
    scenes_.pop_back();
  }
}

}  // namespace host
