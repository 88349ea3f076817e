#include "platform/widgetkit/message_channel.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <thread>

namespace platform {
namespace {

using namespace std::chrono_literals;
using Kind = ChannelError::Kind;

/// A channel and the bare other end of its socket.
struct Line {
  Line() : channel((connect(), ends[0])), other(ends[1]) {}
  ~Line() { hangUp(); }
  void connect() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0); }
  void say(std::string_view bytes) const {
    EXPECT_EQ(::send(other, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  void hangUp() {
    if (other >= 0) {
      ::close(other);
    }
    other = -1;
  }
  std::array<int, 2> ends = {};
  MessageChannel channel;
  int other;
};

std::string bytes(std::initializer_list<int> values) {
  return {values.begin(), values.end()};
}

TEST(MessageChannel, CarriesMessagesLargerThanTheSocketsBuffer) {
  Line line;
  const std::string large(5'000'000, 'x');
  std::thread peer([&] {
    MessageChannel other(::dup(line.other));
    const auto first = other.receive(10s);
    ASSERT_TRUE(first) << first.error().what;
    EXPECT_TRUE(other.send(*first));
    EXPECT_TRUE(other.send("2"));
  });
  EXPECT_TRUE(line.channel.send(large));
  EXPECT_EQ(line.channel.receive(10s).value(), large);
  EXPECT_EQ(line.channel.receive(10s).value(), "2");
  peer.join();
}

TEST(MessageChannel, KeepsWhatArrivedBeforeATimeout) {
  Line line;
  // The messages "ab" and "c".
  const std::string whole = bytes({0, 0, 0, 2, 'a', 'b', 0, 0, 0, 1, 'c'});
  for (std::size_t split = 0; split <= 6; ++split) {
    line.say(whole.substr(0, split));
    if (split < 6) {
      EXPECT_EQ(line.channel.receive(0ms).error().kind, Kind::timedOut) << split;
    }
    line.say(whole.substr(split));
    EXPECT_EQ(line.channel.receive(1s).value(), "ab") << split;
    EXPECT_EQ(line.channel.receive(1s).value(), "c") << split;
  }
}

TEST(MessageChannel, RefusesMalformedMessages) {
  const std::pair<std::string, Kind> kCases[] = {
      {bytes({1, 0, 0, 1}), Kind::malformed},          // 16 MiB and a byte
      {bytes({255, 255, 255, 255}), Kind::malformed},  // 4 GiB
      {bytes({0, 0, 0, 1}), Kind::closed},             // the peer closes in the middle
      {"", Kind::closed},
  };
  for (const auto& [said, kind] : kCases) {
    Line line;
    line.say(said);
    line.hangUp();
    EXPECT_EQ(line.channel.receive(1s).error().kind, kind) << ::testing::PrintToString(said);
  }
}

TEST(MessageChannel, ReportsWhatCannotBeSent) {
  Line line;
  line.hangUp();
  EXPECT_EQ(line.channel.send("1").error().kind, Kind::closed);
  const auto tooLong = line.channel.send(std::string(MessageChannel::kMaxLength + 1, 'x'));
  EXPECT_EQ(tooLong.error().kind, Kind::malformed);
  const auto unencoded = line.channel.send(std::unexpected("not UTF-8"));
  EXPECT_EQ(unencoded.error().kind, Kind::malformed);
  EXPECT_EQ(unencoded.error().what, "not UTF-8");
}

}  // namespace
}  // namespace platform
