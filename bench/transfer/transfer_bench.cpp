#include <curl/curl.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "bench/transfer/loopback_server.h"
#include "host/transfer/transfer_service.h"
#include "platform/foundation/require.h"

// A thousand downloads of 200 bytes into files of their own, by several means in turn, and the
// memory that the service takes for bodies of any size.

namespace {

namespace fs = std::filesystem;

constexpr int kDownloads = 1000;
constexpr std::size_t kBody = 200;
constexpr int kRounds = 11;
constexpr const char* kRequestBody =
    R"({"locale":"es","timezone":"UTC+1","appVersion":"4.47.3","uid":"u-1","user_os":"ios","os":"ios","internal":{"events":[]}})";

struct Work {
  std::string url;
  fs::path folder;
};

host::TransferRequest requestFor(const std::string& url) {
  return {.session = "bench",
          .url = url,
          .method = "POST",
          .headers = {{"Content-Type", "application/json"}, {"X-API-KEY", "k"}},
          .body = kRequestBody};
}

void driveToTheEnd(host::TransferService& service) {
  while (service.pending() > 0) {
    service.step(std::chrono::milliseconds(1000));
    std::vector<std::string> ended;
    for (const host::TransferTask* task : service.finished()) {
      if (!task->outcome->answer || task->outcome->answer->size == 0) {
        platform::fatalError("a download failed");
      }
      ended.push_back(task->id);
    }
    for (const std::string& id : ended) {
      if (!service.markDelivered(id)) {
        platform::fatalError("a download can't be removed");
      }
    }
  }
}

host::TransferSettings settings() {
  host::TransferSettings settings;
  settings.engine = [] {
    return host::loadTransferEngine(GLANCERY_BUILD "/libglancery_transfer.so");
  };
  return settings;
}

void serviceTogether(const Work& work) {
  host::TransferService service(work.folder, settings());
  if (!service.add(std::vector(kDownloads, requestFor(work.url)))) {
    platform::fatalError("no download can be added");
  }
  driveToTheEnd(service);
}

void serviceOneByOne(const Work& work) {
  host::TransferService service(work.folder, settings());
  for (int count = 0; count < kDownloads; ++count) {
    if (!service.add(requestFor(work.url))) {
      platform::fatalError("no download can be added");
    }
    service.step();
  }
  driveToTheEnd(service);
}

std::size_t writeToFile(char* bytes, std::size_t, std::size_t count, void* file) {
  return std::fwrite(bytes, 1, count, static_cast<std::FILE*>(file));
}

curl_slist* headers() {
  static curl_slist* const list = curl_slist_append(
      curl_slist_append(nullptr, "Content-Type: application/json"), "X-API-KEY: k");
  return list;
}

std::FILE* setUp(CURL* handle, const Work& work, int number) {
  std::FILE* file = std::fopen((work.folder / std::to_string(number)).c_str(), "w");
  curl_easy_setopt(handle, CURLOPT_URL, work.url.c_str());
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, kRequestBody);
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, writeToFile);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, file);
  return file;
}

/// One handle, one request after the other.
void bareInTurn(const Work& work) {
  CURL* handle = curl_easy_init();
  for (int number = 0; number < kDownloads; ++number) {
    std::FILE* file = setUp(handle, work, number);
    if (curl_easy_perform(handle) != CURLE_OK) {
      platform::fatalError("a download failed");
    }
    std::fclose(file);
  }
  curl_easy_cleanup(handle);
}

/// The same, each request written to a file and synced before it goes: what the disk alone costs.
void bareSynced(const Work& work) {
  const int journal =
      ::open((work.folder / "journal").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  CURL* handle = curl_easy_init();
  for (int number = 0; number < kDownloads; ++number) {
    if (::write(journal, kRequestBody, std::strlen(kRequestBody)) < 0 ||
        ::fdatasync(journal) != 0) {
      platform::fatalError("the disk can't be written");
    }
    std::FILE* file = setUp(handle, work, number);
    if (curl_easy_perform(handle) != CURLE_OK) {
      platform::fatalError("a download failed");
    }
    std::fclose(file);
  }
  curl_easy_cleanup(handle);
  ::close(journal);
}

/// As many at once as the service has.
void bareTogether(const Work& work) {
  CURLM* multi = curl_multi_init();
  std::map<CURL*, std::FILE*> files;
  int next = 0;
  const auto start = [&](CURL* handle) {
    files[handle] = setUp(handle, work, next++);
    curl_multi_add_handle(multi, handle);
  };
  for (std::size_t count = 0; count < host::TransferSettings().parallel; ++count) {
    start(curl_easy_init());
  }
  for (int done = 0, running = 0; done < kDownloads;) {
    curl_multi_perform(multi, &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
      if (message->data.result != CURLE_OK) {
        platform::fatalError("a download failed");
      }
      CURL* const handle = message->easy_handle;
      curl_multi_remove_handle(multi, handle);
      std::fclose(files[handle]);
      ++done;
      if (next < kDownloads) {
        start(handle);
      }
    }
    if (done < kDownloads) {
      curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
    }
  }
  for (const auto& [handle, file] : files) {
    curl_easy_cleanup(handle);
  }
  curl_multi_cleanup(multi);
}

void shellLoop(const Work& work) {
  const std::string line =
      "i=0; while [ $i -lt " + std::to_string(kDownloads) +
      " ]; do curl -s -H 'Content-Type: application/json' -H 'X-API-KEY: k' -d '" + kRequestBody +
      "' -o '" + work.folder.string() + "'/$i '" + work.url + "' || exit 1; i=$((i+1)); done";
  if (std::system(line.c_str()) != 0) {
    platform::fatalError("curl failed");
  }
}

/// Where everything is downloaded to. It is removed at the end only: ext4 is slow to make files for
/// some seconds after many were removed, and none of the ways should pay for the one before it.
const fs::path& ground() {
  static const fs::path folder = [] {
    std::string name = (fs::current_path() / "transfer-bench-XXXXXX").string();
    if (!::mkdtemp(name.data())) {
      platform::fatalError("no folder for the downloads");
    }
    return fs::path(name);
  }();
  return folder;
}

/// Milliseconds by the wall's clock and of the processor's time in this process.
struct Spent {
  double wall = 0;
  double processor = 0;
};

Spent timed(const std::function<void(const Work&)>& way, const std::string& url) {
  static int number = 0;
  const fs::path folder = ground() / std::to_string(++number);
  fs::create_directory(folder);
  ::sync();  // What one way leaves to be written is not the next one's to wait for.
  const auto start = std::chrono::steady_clock::now();
  const std::clock_t clock = std::clock();
  way({url, folder});
  const double processor = 1e3 * static_cast<double>(std::clock() - clock) / CLOCKS_PER_SEC;
  const auto end = std::chrono::steady_clock::now();
  return {std::chrono::duration<double, std::milli>(end - start).count(), processor};
}

/// The peak of a process that downloads one body, in KiB.
long peakFor(const std::string& url) {
  std::array<int, 2> ends = {};
  if (::pipe(ends.data()) != 0) {
    platform::fatalError("no pipe");
  }
  (void)ground();
  const pid_t pid = ::fork();
  if (pid == 0) {
    timed(
        [](const Work& work) {
          host::TransferService service(work.folder, settings());
          if (service.add(requestFor(work.url))) {
            driveToTheEnd(service);
          }
        },
        url);
    std::ifstream status("/proc/self/status");
    long peak = 0;
    for (std::string word; status >> word;) {
      if (word == "VmHWM:") {
        status >> peak;
      }
    }
    (void)!::write(ends[1], &peak, sizeof peak);
    ::_exit(0);
  }
  long peak = 0;
  (void)!::read(ends[0], &peak, sizeof peak);
  ::waitpid(pid, nullptr, 0);
  return peak;
}

struct Way {
  const char* name;
  void (*go)(const Work& work);
  int rounds = kRounds;
  std::vector<Spent> spent = {};
};

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

std::vector<double> column(const Way& way, double Spent::*which) {
  std::vector<double> values;
  for (const Spent& spent : way.spent) {
    values.push_back(spent.*which);
  }
  return values;
}

/// What else the machine does weighs on both ways of a round alike.
double medianRatio(const Way& way, const Way& other, double Spent::*which) {
  std::vector<double> ratios = column(way, which);
  for (std::size_t round = 0; round < ratios.size(); ++round) {
    ratios[round] /= other.spent[round].*which;
  }
  return median(ratios);
}

}  // namespace

/// `bench_transfer WAY` goes one way once, to be looked at with other tools.
int main(int count, char** arguments) {
  const bench::LoopbackServer server;
  curl_global_init(CURL_GLOBAL_DEFAULT);
  Way ways[] = {{"service, added together", serviceTogether},
                {"libcurl bare, 8 at once", bareTogether},
                {"libcurl bare, one after the other", bareInTurn},
                {"libcurl bare, each synced before", bareSynced, 5},
                {"service, added one by one", serviceOneByOne, 5},
                {"curl in a shell's loop", shellLoop, 1}};
  if (count > 1) {
    const auto chosen = std::ranges::find(ways, std::string_view(arguments[1]), &Way::name);
    if (chosen == std::end(ways)) {
      std::fprintf(stderr, "no way is called \"%s\"\n", arguments[1]);
      return 2;
    }
    std::printf("%s: %.1f ms\n", chosen->name, timed(chosen->go, server.url(kBody)).wall);
    fs::remove_all(ground());
    return 0;
  }

  std::printf("memory of the service while it downloads one body:\n");
  for (const std::size_t size :
       {std::size_t{1} << 10, std::size_t{1} << 20, std::size_t{256} << 20}) {
    std::printf("  %9zu KiB  peak %ld KiB\n", size >> 10, peakFor(server.url(size)));
  }
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t index = 0; index < std::size(ways); ++index) {
      // Now in one order, now in the other: it matters who comes before.
      Way& way = ways[round % 2 == 0 ? index : std::size(ways) - 1 - index];
      if (round < way.rounds) {
        way.spent.push_back(timed(way.go, server.url(kBody)));
      }
    }
  }
  std::printf("%d downloads of %zu bytes, median (least), and of the processor's time:\n",
              kDownloads,
              kBody);
  for (const Way& way : ways) {
    const auto walls = column(way, &Spent::wall);
    std::printf("  %-34s %9.1f ms (%.1f) %9.1f ms\n",
                way.name,
                median(walls),
                std::ranges::min(walls),
                median(column(way, &Spent::processor)));
  }
  // Both have as many requests under way, keep connections and write files.
  std::printf("%s to %s: %.2f in the median of rounds (goal: at most 1.50), %.2f of processor\n",
              ways[0].name,
              ways[1].name,
              medianRatio(ways[0], ways[1], &Spent::wall),
              medianRatio(ways[0], ways[1], &Spent::processor));
  fs::remove_all(ground());
}
