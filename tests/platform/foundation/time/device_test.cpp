#include "platform/foundation/time/device.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>

#include "tests/on_device.h"
#include "tests/vectors.h"

namespace platform {
namespace {

TEST(SystemVersion, ReadsUpToThreeNumbers) {
  EXPECT_EQ(parseOperatingSystemVersion("17"), (OperatingSystemVersion{17, 0, 0}));
  EXPECT_EQ(parseOperatingSystemVersion("17.0"), (OperatingSystemVersion{17, 0, 0}));
  EXPECT_EQ(parseOperatingSystemVersion("16.4.1"), (OperatingSystemVersion{16, 4, 1}));
  // clang-format off
  for (const std::string_view text : {
        "", ".", "17.", ".17", "17..1", "17.0.1.2", "17.0.1.", "-17", "17.-1", "+17", " 17", "17 ",
        "17a", "iOS 17", "0x11", "99999999999"}) {
    // clang-format on
    EXPECT_FALSE(parseOperatingSystemVersion(text)) << text;
  }
}

TEST(SystemVersion, ComparesNumbersNotText) {
  const OnDevice device({.systemVersion = {16, 10, 1}});
  EXPECT_TRUE(isOperatingSystemAtLeast({16, 9, 9}));
  EXPECT_TRUE(isOperatingSystemAtLeast({16, 10, 1}));
  EXPECT_FALSE(isOperatingSystemAtLeast({16, 10, 2}));
  EXPECT_FALSE(isOperatingSystemAtLeast({17}));
}

TEST(Clock, RunsShiftsAndFreezes) {
  const auto systemTime = [] {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  };
  const OnDevice frozen({.clock = Clock::frozenAt(instant("2025-03-05T18:30:00Z"))});
  EXPECT_EQ(Date::now(), instant("2025-03-05T18:30:00Z"));

  constexpr double twoDays = 172800;
  for (const double shift : {0.0, twoDays, -twoDays}) {
    const OnDevice shifted({.clock = Clock::shiftedBy(shift)});
    const double before = systemTime();
    const double now = Date::now().timeIntervalSince1970() - shift;
    EXPECT_GE(now, before - 1e-3);
    EXPECT_LE(now, systemTime() + 1e-3);
  }
}

TEST(Device, IsReadWholeWhileAnotherThreadSetsIt) {
  const OnDevice device({.timeZone = "Europe/Madrid", .locale = "es_ES"});
  std::atomic<bool> done = false;
  std::jthread writer([&] {
    while (!done) {
      setCurrentDevice({.timeZone = "America/Argentina/Buenos_Aires", .locale = "es_AR"});
      setCurrentDevice({.timeZone = "Europe/Madrid", .locale = "es_ES"});
    }
  });
  for (int i = 0; i < 2000; ++i) {
    const Device seen = currentDevice();
    EXPECT_EQ(seen.timeZone == "Europe/Madrid", seen.locale == "es_ES") << seen.timeZone;
  }
  done = true;
}

}  // namespace
}  // namespace platform
