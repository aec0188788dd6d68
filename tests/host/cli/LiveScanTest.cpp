#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <optional>

#include "host/cli/LiveScan.hpp"
#include "tests/host/air/Bytes.hpp"
#include "tests/support/Command.hpp"
#include "tests/support/FakeBluez.hpp"

namespace nimbrel::testing_support {
namespace {

/// The command on a machine with one adapter, and beacons that are there once a discovery runs.
class LiveCommand : public testing::Test {
 protected:
  LiveCommand() {
    bluez->addAdapter("hci0");
    bluez->whenDiscovering([this] {
      const Bytes frame = hex("0215 E2C56DB5DFFB48D2B060D0F5A71096E0 0001 0007 C5");
      bluez->addDevice("hci0/dev_1", {"C4:1D:83:5A:07:E2", -60, {{0x004C, frame}}});
      bluez->addDevice("hci0/dev_2", {"C4:1D:83:5A:07:E3", -70, {{0x0059, Bytes(200, 0x2A)}}});
    });
  }

  static Outcome live(std::vector<std::string> options) {
    options.insert(options.begin(), {"scan", "--live", "--for", "0.3"});
    return runCommand(options);
  }

  PrivateBus bus;
  std::optional<FakeBluez> bluez{std::in_place};
  const TemporaryFile file{"what was there"};
};

TEST_F(LiveCommand, RecordsWhatItHearsSoThatItCanBeScannedAgain) {
  const Outcome heard = live({"--json", "--quiet", "--record", file.path(), "--force"});
  EXPECT_EQ(heard.status, 0) << heard.errors;
  EXPECT_NE(heard.output.find(R"("majorId":1,"minorId":7)"), std::string::npos) << heard.output;
  const Outcome again = runCommand({"scan", file.path(), "--json", "--quiet"});
  EXPECT_EQ(again.output, heard.output);
  EXPECT_EQ(again.errors.find("2 advertisements from 2 devices"), 0U) << again.errors;
}

TEST_F(LiveCommand, RangesInFilterModeAndShowsATableInTheEnd) {
  const Outcome heard =
      live({"--for", "1.2", "--table", "--filter", "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0//7=Desk"});
  EXPECT_EQ(heard.status, 0) << heard.errors;
  EXPECT_NE(
      heard.output.find("\nDesk                      1/7            -60    -60    1.14 m  near "),
      std::string::npos)
      << heard.output;
}

TEST_F(LiveCommand, SaysOnceThatNothingWasHeardForAMinute) {
  bluez->whenDiscovering([] {});
  ScanOptions options;
  options.live = options.json = options.quiet = true;
  options.duration = std::chrono::minutes(3);
  const int sink = memfd_create("errors", MFD_CLOEXEC);
  Output errors(sink);
  Output output(sink);
  MainQueue queue(600.0);
  LiveScan(options, queue, output, errors).run();
  std::string text(1000, '\0');
  text.resize(static_cast<std::size_t>(pread(sink, text.data(), text.size(), 0)));
  close(sink);
  EXPECT_EQ(text.substr(0, text.find("0 adv")),
            "nimbrel: hci0: listening; Ctrl-C ends the scan\n"
            "nimbrel: hci0: nothing was heard for a minute; is a beacon on and near, and the "
            "antenna free?\n");
}

TEST_F(LiveCommand, SaysWhatIsWrongAndWhatToDo) {
  struct {
    std::vector<std::string> options;
    std::function<void()> before;
    std::string expected;
  } const cases[] = {
      {{"--record", file.path()},
       [] {},
       file.path() + ": is there already; name another file, or give --force to replace it"},
      {{"--record", "/nowhere/at/all"},
       [] {},
       "/nowhere/at/all: cannot be written: No such file or directory; name a file that can"},
      {{"--adapter", "hci7"}, [] {}, "hci7: no such adapter; there are: hci0"},
      {{},
       [this] { bluez->refuse({"org.bluez.Error.Failed"}); },
       "hci0: cannot scan: refused; restart BlueZ (sudo systemctl restart bluetooth)"},
      {{},
       [this] { bluez->removeAdapter("hci0"), bluez->addAdapter("hci0", false); },
       "hci0: is switched off; switch it on (bluetoothctl power on)"},
      {{},
       [this] { bluez->removeAdapter("hci0"); },
       "Bluetooth: no adapter is there; plug one in, or see whether the kernel has its driver and "
       "firmware (dmesg | grep -i bluetooth)"},
      {{},
       [this] { bluez.reset(); },
       "bluetoothd: does not answer: The name org.bluez was not provided by any .service files; "
       "install BlueZ (sudo apt install bluez) and start it (sudo systemctl start bluetooth)"},
      {{},
       [this] { bus.stop(); },
       "the system bus: cannot be reached: Failed to open bus (Connection refused); start it (sudo "
       "systemctl start dbus)"},
  };
  for (const auto& [options, before, expected] : cases) {
    before();
    const Outcome outcome = live(options);
    EXPECT_EQ(outcome.status, 2) << expected;
    EXPECT_EQ(outcome.errors, "nimbrel: " + expected + "\n");
  }
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
