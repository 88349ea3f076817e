#include <curl/curl.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/spread.h"
#include "bench/transfer/loopback_server.h"
#include "host/transfer/transfer_service.h"
#include "platform/support/file_descriptor.h"
#include "platform/support/require.h"
#include "platform/support/sqlite_database.h"

// A thousand downloads of 200 bytes into files of their own, beside libcurl with as many writes
// that survive a power cut; and the memory that one download takes, by the size of its body.

namespace {

namespace fs = std::filesystem;
using bench::verdict;

constexpr int kDownloads = 1000;
constexpr std::size_t kBody = 200;
constexpr int kRounds = 7;
constexpr const char* kRequestBody =
    R"({"locale":"es","timezone":"UTC+1","appVersion":"4.47.3","uid":"u-1","user_os":"ios","os":"ios","internal":{"events":[]}})";

struct Work {
  std::string url;
  fs::path folder;
};

void require(bool done, const char* what) {
  if (!done) {
    platform::fatalError(what);
  }
}

class Service {
 public:
  explicit Service(const Work& work)
      : work_(work),
        service_(work.folder, {.library = GLANCERY_BUILD "/libglancery_transfer.so"}) {}

  void add() {
    const auto id =
        service_.add({.session = "bench",
                      .url = work_.url,
                      .method = "POST",
                      .headers = {{"Content-Type", "application/json"}, {"X-API-KEY", "k"}},
                      .body = kRequestBody});
    require(id.has_value(), "a download can't be added");
    service_.step();
  }

  void finish() {
    while (service_.pending() > 0) {
      service_.step(std::chrono::milliseconds(1000));
    }
  }

  void deliver() {
    finish();
    for (const host::TransferTask& task : service_.finished()) {
      require(task.state() == host::TransferState::done && task.outcome.size > 0,
              "a download failed");
      require(service_.markDelivered(task.id).has_value(), "a download can't be removed");
    }
  }

 private:
  const Work& work_;
  host::TransferService service_;
};

void addedAndRun(const Work& work) {
  Service service(work);
  for (int count = 0; count < kDownloads; ++count) {
    service.add();
  }
  service.finish();
}

void wholePaths(const Work& work) {
  Service service(work);
  for (int count = 0; count < kDownloads; ++count) {
    service.add();
    service.deliver();
  }
}

/// libcurl alone. It opens a connection for each request, as the service does: libcurl repeats a
/// POST whose reused connection ends, and the server would see it twice.
class Bare {
 public:
  explicit Bare(const Work& work) : work_(work) {
    headers_ = curl_slist_append(headers_, "Content-Type: application/json");
    headers_ = curl_slist_append(headers_, "X-API-KEY: k");
    curl_easy_setopt(handle_, CURLOPT_URL, work.url.c_str());
    curl_easy_setopt(handle_, CURLOPT_POSTFIELDS, kRequestBody);
    curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(handle_, CURLOPT_FRESH_CONNECT, 1L);
  }
  ~Bare() {
    curl_easy_cleanup(handle_);
    curl_slist_free_all(headers_);
  }
  Bare(const Bare&) = delete;
  Bare& operator=(const Bare&) = delete;

  void download(int number) {
    std::FILE* file = std::fopen((work_.folder / std::to_string(number)).c_str(), "w");
    curl_easy_setopt(handle_, CURLOPT_WRITEDATA, file);
    require(curl_easy_perform(handle_) == CURLE_OK, "a download failed");
    std::fclose(file);
  }

 private:
  const Work& work_;
  CURL* handle_ = curl_easy_init();
  curl_slist* headers_ = nullptr;
};

void bareSynced(const Work& work) {
  const platform::FileDescriptor records(
      ::open((work.folder / "records").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600));
  Bare bare(work);
  for (int number = 0; number < kDownloads; ++number) {
    require(::write(records.get(), kRequestBody, std::strlen(kRequestBody)) > 0 &&
                ::fdatasync(records.get()) == 0,
            "the disk can't be written");
    bare.download(number);
  }
}

void bareCommitted(const Work& work) {
  platform::SqliteDatabase database(
      work.folder / "records.db",
      "CREATE TABLE records(id INTEGER PRIMARY KEY, body BLOB, state INTEGER DEFAULT 0)");
  database.run("PRAGMA synchronous = FULL");
  Bare bare(work);
  for (int number = 0; number < kDownloads; ++number) {
    const std::int64_t id = number;
    database.run("INSERT INTO records(id, body) VALUES(?, ?)", {id, std::string(kRequestBody)});
    bare.download(number);
    database.run("UPDATE records SET state = 1 WHERE id = ?", {id});
    database.run("DELETE FROM records WHERE id = ?", {id});
    fs::remove(work.folder / std::to_string(number));  // As the service forgets a body.
  }
}

fs::path newFolder(const fs::path& parent) {
  std::string name = parent / "transfer-bench-XXXXXX";
  require(::mkdtemp(name.data()), "no folder for the downloads");
  return name;
}

/// The folder for all downloads. It is removed at the end only: for some seconds after many files
/// were removed, ext4 creates files slowly, which would count for the next way.
const fs::path& ground() {
  static const fs::path folder = newFolder(fs::current_path());
  return folder;
}

double milliseconds(void (*go)(const Work&), const std::string& url) {
  const Work work = {url, newFolder(ground())};
  ::sync();  // Otherwise this way would wait for the writes of the previous one.
  const auto start = std::chrono::steady_clock::now();
  go(work);
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

void oneDownload(const Work& work) {
  Service service(work);
  service.add();
  service.deliver();
}

/// The peak of a process that downloads one body, in MiB.
double peakFor(const std::string& url) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    milliseconds(oneDownload, url);
    ::_exit(0);
  }
  int status = 0;
  rusage used = {};
  require(::wait4(pid, &status, 0, &used) == pid && status == 0, "a download failed");
  return static_cast<double>(used.ru_maxrss) / 1024;
}

/// Prints a goal's line; false if it was missed.
bool judge(const char* what, double value, double goal) {
  std::printf("%-58s %8.2f  goal %.2f  %s\n", what, value, goal, verdict(value <= goal));
  return value <= goal;
}

bool memoryStays(const bench::LoopbackServer& server) {
  constexpr std::size_t kSizes[] = {1 << 10, 1 << 20, 256 << 20};
  std::vector<double> peaks;
  std::printf("Peak of a process that downloads one body:\n");
  for (const std::size_t size : kSizes) {
    peaks.push_back(peakFor(server.url(size)));
    std::printf("  %9zu KiB %52.1f MiB\n", size >> 10, peaks.back());
  }
  return judge("  MiB more for the largest than for the smallest", peaks.back() - peaks.front(), 1);
}

}  // namespace

/// `bench_transfer ROUNDS`; status 1: a goal was missed.
int main(int count, char** arguments) {
  const int rounds = count > 1 ? std::atoi(arguments[1]) : kRounds;
  if (count > 2 || rounds < 1) {
    std::fprintf(stderr, "usage: %s [ROUNDS]\n", arguments[0]);
    return 2;
  }
  const bench::LoopbackServer server;
  curl_global_init(CURL_GLOBAL_DEFAULT);
  (void)ground();  // The processes that measure memory share it.
  bool reached = memoryStays(server);

  struct Way {
    const char* name;
    void (*go)(const Work& work);
    std::vector<double> spent = {};
  };
  Way ways[] = {{"libcurl, a record synced before each", bareSynced},
                {"service, added singly, run to their ends", addedAndRun},
                {"libcurl and three SQLite commits each", bareCommitted},
                {"service, each delivered before the next is added", wholePaths}};
  const std::size_t size = std::size(ways);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t step = 0; step < size; ++step) {
      // The order alternates: the previous way affects the next one.
      Way& way = ways[round % 2 == 0 ? step : size - 1 - step];
      way.spent.push_back(milliseconds(way.go, server.url(kBody)));
    }
  }
  std::printf("%d downloads of %zu bytes, ms, medians of %d rounds:\n", kDownloads, kBody, rounds);
  for (const Way& way : ways) {
    std::printf("  %-56s %8.1f\n", way.name, bench::spreadOf(way.spent).median);
  }
  // Other load on the machine affects both ways of a round alike.
  const auto ratio = [&](std::size_t way) {
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
      ratios.push_back(ways[way].spent[round] / ways[way - 1].spent[round]);
    }
    return bench::spreadOf(ratios).median;
  };
  reached = judge("  added singly, to libcurl synced before each", ratio(1), 1.3) && reached;
  reached = judge("  whole paths, to libcurl and three commits", ratio(3), 1.0) && reached;
  fs::remove_all(ground());
  return reached ? 0 : 1;
}
