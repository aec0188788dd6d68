#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>

#include "host/cli/ExplainOptions.hpp"
#include "host/cli/ExplainSession.hpp"
#include "host/cli/LiveScan.hpp"
#include "host/cli/ReportOptions.hpp"
#include "host/cli/ReportSession.hpp"
#include "host/cli/ScanSession.hpp"
#include "tests/host/air/Bytes.hpp"
#include "tests/support/Command.hpp"
#include "tests/support/FakeBluez.hpp"

namespace nimbrel::testing_support {
namespace {

using namespace std::chrono_literals;

/// Device 1, which is a beacon.
const FakeBluez::Device kBeacon{
    "C4:1D:83:5A:07:E2",
    -60,
    {{0x004C, hex("0215 E2C56DB5DFFB48D2B060D0F5A71096E0 0001 0007 C5")}}};

/// The command on a machine with one adapter, and beacons that are there once a discovery runs.
class LiveCommand : public testing::Test {
 protected:
  LiveCommand() {
    bluez->addAdapter("hci0");
    bluez->whenDiscovering([this] {
      bluez->addDevice("hci0/dev_1", kBeacon);
      bluez->addDevice("hci0/dev_2", {"C4:1D:83:5A:07:E3", -70, {{0x0059, Bytes(200, 0x2A)}}});
    });
  }

  PrivateBus bus;
  std::optional<FakeBluez> bluez{std::in_place};
  const TemporaryFile file{"what was there"};
};

/// A live scan whose clocks jump from task to task.
class LiveScanInTime : public LiveCommand {
 protected:
  LiveScanInTime() { options.live = options.json = options.quiet = true; }

  /// Runs the scan; returns its messages up to the summary, and keeps its exit status and output.
  std::string run(MainQueue::Time duration) {
    options.duration = duration;
    return runAs<ScanSession>(options);
  }

  template <typename SessionOfCommand, typename Options>
  std::string runAs(const Options& chosen) {
    Output errors(Output::kInMemory);
    Output output(Output::kInMemory);
    SessionOfCommand session(chosen, queue, output, errors);
    status = LiveScan(chosen, queue, session, [this] {
               return MainQueue::Time(1000h) + step + queue.now() + queue.lag();
             }).run();
    detections = output.buffer();
    const std::string text = errors.buffer();
    return text.substr(0, text.rfind('\n', text.find(" advertisement")) + 1);
  }

  /// Device 1 alone is heard, at these times.
  void hearAt(std::initializer_list<int> seconds) {
    bluez->whenDiscovering([] {});
    for (const int second : seconds) {
      queue.at(std::chrono::seconds(second), [this] { bluez->addDevice("hci0/dev_1", kBeacon); });
    }
  }

  const std::string listening = "nimbrel: hci0: listening; Ctrl-C ends the scan\n";
  ScanOptions options;
  MainQueue queue{std::make_unique<BusClock>()};
  MainQueue::Time step{};  // By which the machine's clock was set.
  std::string detections;
  int status = -1;
};

TEST_F(LiveScanInTime, RecordsWhatItHearsSoThatItCanBeScannedAgain) {
  options.recording = file.path();
  options.force = true;
  run(300ms);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(has(detections, R"("majorId":1,"minorId":7)"));
  const Outcome again = runCommand({"scan", file.path(), "--json", "--quiet"});
  EXPECT_EQ(again.output, detections);
  EXPECT_EQ(again.errors.find("2 advertisements from 2 devices"), 0U) << again.errors;
}

TEST_F(LiveScanInTime, RangesInFilterModeAndShowsATableInTheEnd) {
  options.json = false;
  options.table = true;
  options.filters = {parseFilter("E2C56DB5-DFFB-48D2-B060-D0F5A71096E0//7=Desk")};
  run(1200ms);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(
      has(detections, "\nDesk                      1/7            -60    -60    1.14 m  near "));
}

TEST_F(LiveScanInTime, ExplainsWhatItHearsAsItExplainsItsRecording) {
  const char* wrong = "E2C56DB5-DFFB-48D2-B060-D0F5A71096E1";
  ExplainOptions chosen;
  chosen.live = chosen.json = chosen.quiet = chosen.force = true;
  chosen.recording = file.path();
  chosen.duration = 300ms;
  chosen.filters.push_back(parseFilter(wrong));
  EXPECT_EQ(runAs<ExplainSession>(chosen), "");
  EXPECT_EQ(status, 0);
  const auto devices = [](const std::string& lines) {
    return lines.substr(0, lines.find("{\"run"));
  };
  EXPECT_EQ(std::ranges::count(devices(detections), '\n'), 2) << detections;
  EXPECT_EQ(devices(detections),
            devices(runCommand({"explain", file.path(), "--json", "--filter", wrong}).output));
  EXPECT_TRUE(has(detections, "digit 32 of 32"));
}

TEST_F(LiveScanInTime, ReportsWhatItHears) {
  ReportOptions reported;
  reported.live = reported.json = reported.quiet = true;
  reported.duration = 3s;
  runAs<ReportSession>(reported);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(has(detections, R"("headline":"2 devices, 1 beacon)"));
  EXPECT_TRUE(has(detections, R"("kind":"live")"));
}

TEST_F(LiveScanInTime, SaysOnceThatNothingWasHeardForAMinute) {
  hearAt({});
  EXPECT_EQ(run(70s),
            listening +
                "nimbrel: hci0: nothing was heard for a minute; is a beacon on and near, and the "
                "antenna free?\n");
  EXPECT_EQ(status, 0);
}

TEST_F(LiveScanInTime, FollowsTheClockAndStartsOverWhenThatIsSet) {
  hearAt({5, 25});
  queue.at(15s, [this] { step = -1h; });
  queue.at(30s, [this] { step += 1900ms; });
  queue.at(33s, [this] { step += 2s; });
  EXPECT_EQ(run(40s), listening +
                          "nimbrel: the clock was set back by 3600 s; detection starts over\n"
                          "nimbrel: the clock was set forward by 2 s; detection starts over\n");
  const auto second = detections.find('\n') + 1;
  EXPECT_EQ(detections.find(R"({"ts":36000)"), 0U) << detections;
  EXPECT_EQ(detections.find(R"({"ts":35964)", second), second) << detections;
}

TEST_F(LiveScanInTime, GoesOnWithoutARecordingThatCannot) {
  std::signal(SIGPIPE, SIG_IGN);
  const std::string pipe = file.path() + ".pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  hearAt({5, 20});
  queue.at(10s, [=] { close(reader); });
  options.recording = pipe;
  options.force = true;
  EXPECT_TRUE(has(run(30s), "nimbrel: " + pipe +
                                ": the recording cannot go on: Broken pipe; the "
                                "scan goes on without it\n"));
  EXPECT_EQ(status, 1);
  EXPECT_EQ(std::ranges::count(detections, '\n'), 2);
  std::filesystem::remove(pipe);
}

/// A report that takes 48 bytes of a recording, which begins with 16 bytes of its own.
Advertisement report(int second) {
  static const Bytes data(9, 0x2A);
  return {std::chrono::seconds(second), {}, -60, false, data};
}

TEST(Recording, GoesOnInANewFileAtASizeOrAnAge) {
  for (const char* limit : {"0.16k", "10s"}) {
    const TemporaryFile file("");
    const std::string next = file.path() + ".2";
    Recording recording(file.path(), true, Rotation::parse(limit));
    for (const int second : {0, 4, 9, 10, 11}) {
      recording.write(report(second));
    }
    EXPECT_EQ(std::filesystem::file_size(file.path()), 16U + 3 * 48) << limit;
    EXPECT_EQ(std::filesystem::file_size(next), 16U + 2 * 48) << limit;
    std::filesystem::remove(next);
  }
}

TEST(Recording, EndsWithAWholeRecordOnAFullDisk) {
  const TemporaryFile file("");
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100, 100};
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      Recording recording(file.path(), true, {});
      recording.write(report(1));
      recording.write(report(2));
    } catch (const std::system_error&) {
      _exit(0);
    }
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "no write failed";
  EXPECT_EQ(std::filesystem::file_size(file.path()), 16U + 48);
}

TEST(Rotation, ReadsSizesAndAges) {
  EXPECT_EQ(Rotation::parse("1.5k").bytes, 1500U);
  EXPECT_EQ(Rotation::parse("100M").bytes, 100'000'000U);
  EXPECT_EQ(Rotation::parse("2G").bytes, 2'000'000'000U);
  EXPECT_EQ(Rotation::parse("90s").age, 90s);
  EXPECT_EQ(Rotation::parse("30min").age, 30min);
  EXPECT_EQ(Rotation::parse("24h").age, 24h);
  EXPECT_EQ(Rotation::parse("7d").age, 168h);
  EXPECT_FALSE(Rotation::parse("7d").bytes.has_value());
  for (const char* wrong : {"", "100", "M", "5m", "0h", "-1h", "1e9d", "1h "}) {
    EXPECT_THROW(Rotation::parse(wrong), UsageError) << wrong;
  }
}

TEST_F(LiveCommand, SaysWhatIsWrongAndWhatToDo) {
  struct {
    std::vector<std::string> options;
    std::string expected;
    std::function<void()> before = [] {};
  } cases[] = {
      {{"--record", file.path()},
       file.path() + ": is there already; name another file, or give --force to replace it"},
      {{"--record", "/nowhere/at/all"},
       "/nowhere/at/all: cannot be written: No such file or directory; name a file that can"},
      {{"--adapter", "hci7"}, "hci7: no such adapter; there are: hci0"},
      {{},
       "hci0: cannot scan: refused; restart BlueZ (sudo systemctl restart bluetooth)",
       [this] { bluez->refuse({"org.bluez.Error.Failed"}); }},
      {{},
       "hci0: is switched off; switch it on (bluetoothctl power on)",
       [this] { bluez->removeAdapter("hci0"), bluez->addAdapter("hci0", false); }},
      {{},
       "Bluetooth: no adapter is there; plug one in, or see whether the kernel has its driver and "
       "firmware (dmesg | grep -i bluetooth)",
       [this] { bluez->removeAdapter("hci0"); }},
      {{},
       "bluetoothd: does not answer: The name org.bluez was not provided by any .service files; "
       "install BlueZ (sudo apt install bluez) and start it (sudo systemctl start bluetooth)",
       [this] { bluez.reset(); }},
      {{},
       "the system bus: cannot be reached: Failed to open bus (Connection refused); start it (sudo "
       "systemctl start dbus)",
       [this] { bus.stop(); }},
  };
  for (auto& [options, expected, before] : cases) {
    before();
    options.insert(options.begin(), {"scan", "--live"});
    const Outcome outcome = runCommand(options);
    EXPECT_EQ(outcome.status, 2) << expected;
    EXPECT_EQ(outcome.errors, "nimbrel: " + expected + "\n");
  }
}

TEST_F(LiveCommand, IsTheAirOfADesk) {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  ASSERT_EQ(pipe2(input.data(), O_CLOEXEC) + pipe2(output.data(), O_CLOEXEC), 0);
  const pid_t desk = fork();
  if (desk == 0) {
    dup2(input[0], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    alarm(60);
    execl(NIMBREL_COMMAND, NIMBREL_COMMAND, "desk", "--live", nullptr);
    _exit(127);
  }
  close(output[1]);
  const std::string_view steps = "{\"listen\": true}\n{\"call\": \"startDetection\"}\n";
  ASSERT_EQ(write(input[1], steps.data(), steps.size()), static_cast<ssize_t>(steps.size()));
  std::string transcript;
  std::array<char, 4096> piece{};
  for (ssize_t size = 1;
       size > 0 && transcript.find("\"majorId\":1,\"minorId\":7") == std::string::npos;
       transcript.append(piece.data(), static_cast<std::size_t>(size))) {
    size = std::max<ssize_t>(read(output[0], piece.data(), piece.size()), 0);
  }
  EXPECT_TRUE(has(transcript, "\"done\":2"));
  EXPECT_TRUE(has(transcript, "\"majorId\":1,\"minorId\":7"));
  close(input[1]);
  int status = -1;
  waitpid(desk, &status, 0);
  EXPECT_EQ(status, 0) << "the end of the input ends the desk";
  close(input[0]);
  close(output[0]);
}

TEST(LiveCommandWithoutPermission, SaysHowToGetIt) {
  const PrivateBus bus(R"(<deny send_destination="org.bluez"/>)");
  const FakeBluez bluez;
  const Outcome outcome = runCommand({"scan", "--live"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.errors,
            "nimbrel: bluetoothd: the system bus gives no access to it; join the group that has it "
            "(sudo usermod -aG bluetooth $USER) and log in again\n");
}

}  // namespace
}  // namespace nimbrel::testing_support
