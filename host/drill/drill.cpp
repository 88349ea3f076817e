#include "host/drill/drill.h"

#include <absl/strings/ascii.h>
#include <absl/strings/str_replace.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <iterator>
#include <thread>
#include <utility>

#include "host/drill/drill_phone.h"
#include "host/drill/drill_tables.h"

namespace host {

const std::vector<Drill>& drills() {
  static const std::vector<Drill> all = [] {
    std::vector<Drill> joined;
    for (const auto& table :
         {extensionDrills, hostDrills, suiteDrills, clockDrills, serverDrills}) {
      std::ranges::copy(table(), std::back_inserter(joined));
    }
    return joined;
  }();
  return all;
}

DrillResult play(const Drill& drill) {
  DrillResult result;
  try {
    DrillPhone phone;
    result = {true, drill.play(phone)};
  } catch (const std::exception& broken) {
    result = {false, broken.what()};
  }
  absl::StrReplaceAll({{"\n", " "}}, &result.seen);
  absl::StripTrailingAsciiWhitespace(&result.seen);
  return result;
}

void playAll(const std::vector<Drill>& drills,
             const std::function<void(const Drill&, DrillResult)>& ended) {
  // Drills wait most of the time.
  constexpr std::size_t kThreads = 8;
  std::vector<std::promise<DrillResult>> results(drills.size());
  std::atomic<std::size_t> next = 0;
  std::vector<std::jthread> threads;
  for (std::size_t count = 0; count < std::min(kThreads, drills.size()); ++count) {
    threads.emplace_back([&] {
      for (std::size_t index = next++; index < drills.size(); index = next++) {
        results[index].set_value(play(drills[index]));
      }
    });
  }
  for (std::size_t index = 0; index < drills.size(); ++index) {
    ended(drills[index], results[index].get_future().get());
  }
}

}  // namespace host
