#include "platform/foundation/defaults/user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "platform/foundation/data/property_list.h"
#include "tests/vectors.h"
#include "tests/world.h"

namespace platform {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kSuite = "group.example.glancery";

std::string contentsOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void put(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

NSUserDefaults suite() {
  return NSUserDefaults::initWithSuiteName(kSuite).value();
}

/// Gives each test its own container, which is the current one while the test runs.
class UserDefaults : public ::testing::Test {
 protected:
  UserDefaults() { setSharedContainer(container_.path()); }
  ~UserDefaults() override { setSharedContainer({}); }

  fs::path folder() const { return container_.path() / "Library/Preferences"; }
  fs::path file() const { return folder() / (std::string(kSuite) + ".plist"); }

  std::vector<std::string> filesSetAside() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder())) {
      const auto name = entry.path().filename().string();
      if (const auto at = name.find(".damaged"); at != name.npos) {
        names.push_back(name.substr(at));
      }
    }
    std::ranges::sort(names);
    return names;
  }

  const world::Folder container_;
};

Value storedValue(const std::string& type, const std::string& text) {
  if (type == "Int") {
    return std::int64_t{std::stol(text)};
  }
  if (type == "Double") {
    return std::stod(text);
  }
  if (type == "Bool") {
    return text == "true";
  }
  if (type == "Date") {
    return Date::since1970(1700000000);
  }
  if (type == "Data") {
    return Data{"x"};
  }
  return type == "String" ? Value(text) : Value(Array{1});
}

TEST_F(UserDefaults, TypedReadsAreThePlatforms) {
  auto defaults = suite();
  for (const json& row : vectorRows("defaults.json")) {
    SCOPED_TRACE(row.dump());
    defaults.removeObjectForKey("key");
    if (row.contains("type")) {
      defaults.setObject(storedValue(row["type"], row["stored"]), "key");
    }
    EXPECT_EQ(defaults.integerForKey("key"), row["integer"].get<std::int64_t>());
    const auto object = defaults.objectForKey("key");
    EXPECT_EQ(object && object->as<Date>(), row["isDate"].get<bool>());
    EXPECT_EQ(defaults.dataForKey("key").has_value(), row["hasData"].get<bool>());
  }
}

TEST_F(UserDefaults, IntegersStayInTheirRange) {
  const struct {
    Value stored;
    std::int64_t integer;
  } cases[] = {
      {1e30, INT64_MAX},
      {-HUGE_VAL, INT64_MIN},
      {0x1p63, INT64_MAX},
      {std::nan(""), 0},
      {INT64_MIN, INT64_MIN},
      {"99999999999999999999", INT64_MAX},
      {"-99999999999999999999", INT64_MIN},
  };
  for (const auto& row : cases) {
    suite().setObject(row.stored, "key");
    EXPECT_EQ(suite().integerForKey("key"), row.integer);
  }
}

TEST_F(UserDefaults, EachWriteChangesOneKey) {
  auto defaults = suite();
  EXPECT_TRUE(defaults.dictionaryRepresentation().empty());
  EXPECT_TRUE(fs::is_empty(container_.path())) << "opening and reading must not write";
  defaults.removeObjectForKey("absent");
  EXPECT_FALSE(fs::exists(file()));

  const std::string oddKey = "llave 👍/\n" + std::string("\0", 1);
  defaults.setObject("uid", "sharedUid");
  defaults.setInteger(3, "streakImageIndex");
  defaults.setObject(1, "");
  defaults.setObject(Date::since1970(1700000000.25), oddKey);
  suite().setInteger(4, "streakImageIndex");
  suite().removeObjectForKey("sharedUid");
  EXPECT_EQ(
      defaults.dictionaryRepresentation(),
      (Dictionary{{"streakImageIndex", 4}, {"", 1}, {oddKey, Date::since1970(1700000000.25)}}));
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_FALSE(fs::exists(folder() / (std::string(kSuite) + ".plist.new")));
}

// A container from a phone may hold keys of other programs.
TEST_F(UserDefaults, KeepsForeignKeys) {
  const Dictionary foreign{{"AppleLanguages", Array{"es-MX", "en"}},
                           {"when", Date::since1970(-12345.5)},
                           {"nested", Dictionary{{"bytes", Data{std::string("\0\xFF", 2)}}}},
                           {"text", std::string("a\0b", 3)},
                           {"real", 0.1}};
  put(file(), *NSPropertyListSerialization::dataWithPropertyList(foreign));
  suite().setInteger(1, "ours");
  suite().removeObjectForKey("ours");
  EXPECT_EQ(suite().dictionaryRepresentation(), foreign);

  put(file(), "<plist version=\"1.0\"><dict><key>theirs</key><integer>7</integer></dict></plist>");
  suite().setInteger(1, "ours");
  EXPECT_EQ(suite().dictionaryRepresentation(), (Dictionary{{"ours", 1}, {"theirs", 7}}));
  EXPECT_THAT(contentsOf(file()), ::testing::StartsWith("bplist00"));
}

TEST_F(UserDefaults, SuitesThatCannotBeOpened) {
  const auto open = [](std::string_view name) {
    return NSUserDefaults::initWithSuiteName(name).has_value();
  };
  for (const std::string& name : {std::string(),
                                  std::string("a/b"),
                                  std::string("../other"),
                                  std::string("a\0b", 3),
                                  std::string(300, 'x')}) {
    EXPECT_FALSE(open(name)) << name;
  }
  for (const std::string& name : {std::string(".."),
                                  std::string("suite ñ 👍\n"),
                                  std::string("\xFF"),
                                  std::string("-rf *"),
                                  std::string(230, 'x')}) {
    ASSERT_TRUE(open(name)) << name;
    NSUserDefaults::initWithSuiteName(name)->setInteger(std::ssize(name), "size");
    EXPECT_EQ(NSUserDefaults::initWithSuiteName(name)->integerForKey("size"), std::ssize(name));
  }

  fs::create_directories(folder() / "folder.plist");
  EXPECT_FALSE(open("folder"));
  ASSERT_EQ(::mkfifo((folder() / "fifo.plist").c_str(), 0600), 0);
  EXPECT_FALSE(open("fifo"));
  fs::create_symlink("loop.plist", folder() / "loop.plist");
  EXPECT_FALSE(open("loop"));

  put(container_.path() / "plain", "");
  for (const fs::path& container : {fs::path(),
                                    container_.path() / "absent",
                                    container_.path() / "plain",
                                    fs::path("/dev/null")}) {
    setSharedContainer(container);
    EXPECT_FALSE(open(kSuite)) << container;
  }
}

// A failed write changes nothing and prints the key.
TEST_F(UserDefaults, RefusedWritesAreReported) {
  auto defaults = suite();
  defaults.setInteger(7, "kept");
  const std::string before = contentsOf(file());
  ::testing::internal::CaptureStderr();
  defaults.setObject(Value(), "kept");
  defaults.setObject(Array{"\xFF"}, "bad");
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              AllOf(HasSubstr("\"kept\" is not written"),
                    HasSubstr("null under \"kept\""),
                    HasSubstr("not UTF-8 under \"bad[0]\"")));
  EXPECT_EQ(contentsOf(file()), before);

  fs::remove(file());
  fs::create_directory(file());
  ::testing::internal::CaptureStderr();
  defaults.setInteger(8, "kept");
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("Is a directory"));
  EXPECT_TRUE(fs::is_directory(file()));
  EXPECT_EQ(defaults.integerForKey("kept"), 0);

  fs::remove_all(container_.path());
  ::testing::internal::CaptureStderr();
  defaults.setInteger(8, "kept");
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("can't create"));
}

TEST_F(UserDefaults, DamagedFilesAreSetAsideAndNeverOverwritten) {
  const std::string damages[] = {"", "rubbish", "bplist00", "<plist><dict>"};
  ::testing::internal::CaptureStderr();
  for (const std::string& damage : damages) {
    put(file(), damage);
    EXPECT_TRUE(suite().dictionaryRepresentation().empty());
    EXPECT_EQ(contentsOf(file()), damage) << "reading must not change the file";
    suite().setInteger(1, "new");
    EXPECT_EQ(suite().dictionaryRepresentation(), (Dictionary{{"new", 1}}));
  }
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("set aside as"));
  ASSERT_THAT(filesSetAside(), ElementsAre(".damaged", ".damaged-2", ".damaged-3", ".damaged-4"));
  for (std::size_t i = 0; i < std::size(damages); ++i) {
    EXPECT_EQ(contentsOf(file().string() + filesSetAside()[i]), damages[i]);
  }
}

// A list that is not a dictionary is not a suite. Removing a key is a write as well.
TEST_F(UserDefaults, OtherPropertyListsAreSetAside) {
  put(file(), *NSPropertyListSerialization::dataWithPropertyList(Array{1}));
  ::testing::internal::CaptureStderr();
  suite().removeObjectForKey("absent");
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("is not a dictionary"));
  EXPECT_THAT(filesSetAside(), ElementsAre(".damaged"));
}

TEST_F(UserDefaults, EveryTruncationIsSetAside) {
  suite().setObject("uid", "sharedUid");
  suite().setObject(Data{"{\"count\":5}"}, "streakData");
  suite().setObject(Date::since1970(1700000000.25), "successIndexLastUpdateDate");
  const std::string whole = contentsOf(file());
  ::testing::internal::CaptureStderr();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    put(file(), whole.substr(0, size));
    EXPECT_FALSE(suite().objectForKey("sharedUid")) << size;
    suite().setInteger(1, "new");
    ASSERT_EQ(filesSetAside().size(), size + 1);
    EXPECT_EQ(suite().dictionaryRepresentation(), (Dictionary{{"new", 1}}));
  }
  ::testing::internal::GetCapturedStderr();
}

/// Runs `work` in a new process, which succeeds if `work` returns true.
pid_t inProcess(const std::function<bool()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::_exit(work() ? 0 : 1);
  }
  return child;
}

int statusOf(pid_t child) {
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return status;
}

// Two writers count in one suite, each under its own key and with one more key per number. A reader
// must see both counts only grow.
TEST_F(UserDefaults, ConcurrentWritersLoseNothing) {
  constexpr int kWrites = 1000;
  int start[2];
  ASSERT_EQ(::pipe(start), 0);
  const auto count = [&](const std::string& name) {
    ::close(start[1]);
    char none;
    if (::read(start[0], &none, 1) != 0) {  // Ends once the other writer is there too.
      return false;
    }
    for (int i = 1; i <= kWrites; ++i) {
      suite().setInteger(i, name);
      suite().setInteger(i, name + std::to_string(i % 20));
      if (suite().integerForKey(name) != i) {
        return false;
      }
    }
    return true;
  };
  const auto watch = [] {
    std::int64_t a = 0;
    std::int64_t b = 0;
    while (a < kWrites || b < kWrites) {
      const auto seen = suite().dictionaryRepresentation();
      const auto nextA = seen.integer("a").value_or(0);
      const auto nextB = seen.integer("b").value_or(0);
      if (nextA < a || nextB < b) {
        return false;
      }
      a = nextA;
      b = nextB;
    }
    return true;
  };
  const pid_t writers[] = {inProcess([&] { return count("a"); }),
                           inProcess([&] { return count("b"); })};
  ::close(start[0]);
  ::close(start[1]);
  const pid_t reader = inProcess(watch);
  for (const pid_t writer : writers) {
    EXPECT_EQ(statusOf(writer), 0);
  }
  const auto seen = suite().dictionaryRepresentation();
  EXPECT_EQ(seen.size(), 42u);
  EXPECT_EQ(seen.integer("a"), kWrites);
  EXPECT_EQ(seen.integer("b"), kWrites);
  if (HasFailure()) {
    ::kill(reader, SIGKILL);  // It waits for counts that will not come.
  }
  EXPECT_EQ(statusOf(reader), 0);
}

/// A process that counts under `key`, starting with the suite's number, and sends each number
/// through a pipe once it is written.
struct Counter {
  explicit Counter(const std::string& name) : key(name) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    acknowledged = ends[0];
    process = inProcess([&] {
      for (std::int64_t i = suite().integerForKey(key) + 1;; ++i) {
        suite().setInteger(i, key);
        if (::write(ends[1], &i, sizeof i) != sizeof i) {
          return false;
        }
      }
    });
    ::close(ends[1]);
    EXPECT_EQ(::read(acknowledged, &reported, sizeof reported), sizeof reported)
        << "the process has written a number";
  }

  /// Kills the process; returns the last number that it has sent.
  std::int64_t kill() {
    ::kill(process, SIGKILL);
    EXPECT_TRUE(WIFSIGNALED(statusOf(process)));
    while (::read(acknowledged, &reported, sizeof reported) == sizeof reported) {
    }
    ::close(acknowledged);
    return reported;
  }

  std::string key;
  std::int64_t reported = 0;
  int acknowledged = -1;
  pid_t process = -1;
};

TEST_F(UserDefaults, KillsLoseNoAcknowledgedWrite) {
  suite().setObject("uid", "sharedUid");
  const pid_t reader = inProcess([] {
    while (suite().objectForKey("sharedUid") == Value("uid")) {
      if (suite().objectForKey("stop")) {
        return true;
      }
    }
    return false;
  });
  std::mt19937 random(5);
  for (int round = 0; round < 120; ++round) {
    Counter first("a");
    Counter second("b");
    ::usleep(static_cast<useconds_t>(random() % 5000));
    const std::int64_t a = first.kill();
    ::usleep(static_cast<useconds_t>(random() % 2000));
    const std::int64_t b = second.kill();
    const auto seen = suite().dictionaryRepresentation();
    // The write during the kill may have succeeded.
    ASSERT_THAT(seen.integer("a").value_or(0), ::testing::AnyOf(a, a + 1));
    ASSERT_THAT(seen.integer("b").value_or(0), ::testing::AnyOf(b, b + 1));
    ASSERT_EQ(seen.string("sharedUid"), "uid");
  }
  suite().setInteger(1, "stop");
  EXPECT_EQ(statusOf(reader), 0) << "a reader found an incomplete file";
  EXPECT_THAT(filesSetAside(), IsEmpty());
}

}  // namespace

}  // namespace platform
