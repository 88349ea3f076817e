#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <string>

#include "bench/demo_phone.h"
#include "bench/streak_picture.h"

// Similar work with bare system calls and libraries. Goals are multiples of these figures, because
// times differ between machines.

namespace bench {
namespace {

/// About the size of the suite's file.
constexpr std::size_t kFileBytes = 256;
/// About the size of a streak timeline with its archived view.
constexpr std::size_t kMessageBytes = 2048;

void writeFile(const std::filesystem::path& file) {
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const std::string bytes(kFileBytes, 'x');
  if (::write(descriptor, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    giveUp(file.string() + " can't be written");
  }
  ::close(descriptor);
}

void readFile(benchmark::State& state) {
  const DemoPhone phone;
  const auto file = phone.container() / "file";
  writeFile(file);
  std::array<char, kFileBytes> bytes = {};
  for (auto _ : state) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (::read(descriptor, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      giveUp(file.string() + " can't be read");
    }
    ::close(descriptor);
  }
}
BENCHMARK(readFile)->Name("yardstick: read a small file");

void createAndRemoveFile(benchmark::State& state) {
  const DemoPhone phone;
  const auto file = phone.container() / "file";
  for (auto _ : state) {
    writeFile(file);
    ::unlink(file.c_str());
  }
}
BENCHMARK(createAndRemoveFile)->Name("yardstick: create and remove a small file");

/// Reads as many bytes as `message` has; false at the end of the stream.
bool receive(int socket, std::string& message) {
  return ::recv(socket, message.data(), message.size(), MSG_WAITALL) ==
         static_cast<ssize_t>(message.size());
}

void roundTrip(benchmark::State& state) {
  int ends[2] = {};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    giveUp("no pair of sockets");
  }
  std::string message(kMessageBytes, 'x');
  const pid_t echo = ::fork();
  if (echo == 0) {
    ::close(ends[0]);
    while (receive(ends[1], message) &&
           ::send(ends[1], message.data(), message.size(), MSG_NOSIGNAL) > 0) {
    }
    ::_exit(0);
  }
  ::close(ends[1]);
  for (auto _ : state) {
    if (::send(ends[0], message.data(), message.size(), MSG_NOSIGNAL) < 0 ||
        !receive(ends[0], message)) {
      giveUp("the other process does not answer");
    }
  }
  ::close(ends[0]);
  ::waitpid(echo, nullptr, 0);
}
BENCHMARK(roundTrip)->Name("yardstick: message to a process and back");

/// The streak picture's pixels by zlib at its fastest level.
void deflatePixels(benchmark::State& state) {
  StreakPicture picture;
  const auto bitmap =
      valueOf(picture.renderer().rasterize(picture.layOut(), StreakPicture::kOptions));
  const uLong size = bitmap.pixels.size() * sizeof(bitmap.pixels[0]);
  std::string packed(::compressBound(size), '\0');
  for (auto _ : state) {
    uLongf length = packed.size();
    if (::compress2(reinterpret_cast<Bytef*>(packed.data()),
                    &length,
                    reinterpret_cast<const Bytef*>(bitmap.pixels.data()),
                    size,
                    Z_BEST_SPEED) != Z_OK) {
      giveUp("the pixels can't be compressed");
    }
  }
}
BENCHMARK(deflatePixels)->Name("yardstick: deflate the streak picture's pixels");

}  // namespace
}  // namespace bench
