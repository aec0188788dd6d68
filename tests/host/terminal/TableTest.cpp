#include <chrono>
#include <optional>
#include <sstream>
#include <vector>

#include "host/terminal/Table.hpp"
#include "tests/support/Terminal.hpp"

namespace nimbrel {
namespace {

using namespace std::chrono_literals;

/// The last thing in each frame: clears what is below.
constexpr std::string_view kFrameEnd = "\033[J";
constexpr std::string_view kHome = "\033[H";

class TableOnTerminal : public TerminalTest {
 protected:
  static EncodableMap detection(std::string_view label, double rssi, double distance,
                                std::int64_t minor = 7) {
    return {{"identifier", label},  {"uuid", std::string(36, '0')},
            {"majorId", 1},         {"minorId", minor},
            {"name", label},        {"rssi", rssi},
            {"distance", distance}, {"proximity", "near"}};
  }

  /// Lets time pass until `time`, and returns the lines of the last frame, without the spaces at
  /// their ends. A dimmed one begins with "~". The table runs at a speed of 1.
  std::vector<std::string> linesAt(std::chrono::milliseconds time) {
    std::string frame;
    for (; nextFrame <= time; nextFrame += std::chrono::milliseconds(500)) {
      queue.runUntil(nextFrame);
      frame = terminal.shownUpTo(kFrameEnd);  // A terminal holds few frames that nobody reads.
    }
    frame.erase(0, frame.rfind(kHome) + kHome.size());
    std::vector<std::string> lines;
    std::istringstream text(frame);
    for (std::string line; std::getline(text, line, '\n');) {
      line.erase(line.find("\033[K"));
      const bool isDim = line.starts_with("\033[2m");
      if (isDim) {
        line = std::string("~").append(line, 4, line.find("\033[0m") - 4);
      }
      line.erase(line.find_last_not_of(' ') + 1);
      lines.push_back(line);
    }
    return lines;
  }

  const std::string heading =
      "beacon      major/minor    dBm   mean  distance  proximity  count  s ago";

  Output output{terminal.program()};
  MainQueue queue;
  std::chrono::milliseconds nextFrame{};
};

using Lines = std::vector<std::string>;

TEST_F(TableOnTerminal, FitsItWithTheNearestFirst) {
  Table table(queue, output, 2.0);
  EXPECT_EQ(terminal.shownUpTo(kFrameEnd).find("\033[?1049h\033[?25l"), 0U);
  table.take(detection("Far", -90.0, 9.0));
  table.take(detection("Lost", -70.0, 1.0));
  table.take(detection("Lost", 0.0, -1.0));
  table.take(detection("Near", -50.0, 0.5));
  table.note("hci0: is off");
  queue.runUntil(std::chrono::seconds(1));
  EXPECT_EQ(terminal.shownUpTo(kFrameEnd),
            "\033[H"
            "beacon      major/minor    dBm   mean  distance  proximity  count  s ago"
            "\033[K\r\n"
            "Near        1/7            -50    -50    0.50 m  near           1      1"
            "\033[K\r\n"
            "Far         1/7            -90    -90    9.00 m  near           1      1"
            "\033[K\r\n"
            "and 1 farther away; hci0: is off                                        "
            "\033[K\033[J");
}

TEST_F(TableOnTerminal, TellsRowsApartByMinorAndCountsThem) {
  Table table(queue, output, 1.0);
  table.take(detection("Desk", -50.0, 0.5, 7));
  table.take(detection("Desk", -60.0, 0.9, 8));
  linesAt(3s);
  table.take(detection("Desk", -55.0, 0.6, 7));
  table.take(detection("Desk", 0.0, -1.0, 8));
  EXPECT_EQ(
      linesAt(4s),
      (Lines{heading, "Desk        1/7            -55    -53    0.60 m  near           2      1",
             "Desk        1/8              -    -60         ?  near           2      4", ""}));
}

TEST_F(TableOnTerminal, MovesASilentBeaconDownAndThenOffTheScreen) {
  Table table(queue, output, 1.0);
  table.take(detection("Near", -50.0, 0.5));
  linesAt(9s);
  table.take(detection("Far", -90.0, 9.0));
  EXPECT_EQ(linesAt(9500ms)[2],
            "Far         1/7            -90    -90    9.00 m  near           1      0");
  EXPECT_EQ(
      linesAt(10s),
      (Lines{heading, "Far         1/7            -90    -90    9.00 m  near           1      1",
             "~Near        1/7            -50    -50    0.50 m  near           1     10", ""}));
  linesAt(59s);
  table.take(detection("Far", -90.0, 9.0));
  table.take(detection("Near", 0.0, -1.0));
  EXPECT_EQ(linesAt(59'500ms)[3], "");
  EXPECT_EQ(
      linesAt(60s),
      (Lines{heading, "Far         1/7            -90    -90    9.00 m  near           2      1",
             "and 1 gone (2 detections)"}));
  table.take(detection("Near", -50.0, 0.5));
  EXPECT_EQ(linesAt(61s)[1],
            "Near        1/7            -50    -50    0.50 m  near           3      1");
}

TEST_F(TableOnTerminal, ForgetsABeaconAfterTenMinutes) {
  Table table(queue, output, std::nullopt);
  table.take(detection("Early", -50.0, 0.5));
  queue.runUntil(599s);
  table.take(detection("Kept", -50.0, 0.5));
  queue.runUntil(660s);
  table.take(detection("Early", -50.0, 0.5));
  table.print();
  output.buffer() += "end";
  output.flush();
  EXPECT_EQ(
      terminal.shownUpTo("end"),
      "beacon                    major/minor    dBm   mean  distance  proximity  count  s ago\r\n"
      "Early                     1/7            -50    -50    0.50 m  near           1      0\r\n"
      "Kept                      1/7            -50    -50    0.50 m  near           1     61\r\n"
      "and 1 gone (1 detection)\r\nend");
}

TEST_F(TableOnTerminal, FitsTheSmallestTerminals) {
  Table table(queue, output, 1.0);
  table.take(detection("Near", -50.0, 0.5));
  table.take(detection("Far", -90.0, 9.0));
  const std::string near =
      "Near        1/7            -50    -50    0.50 m  near           1      ";
  terminal.resize(73, 3);
  EXPECT_EQ(linesAt(1s), (Lines{heading, near + "1", "and 1 farther away"}));
  terminal.resize(73, 2);
  EXPECT_EQ(linesAt(2s), (Lines{heading, near + "2"}));
  terminal.resize(73, 1);
  EXPECT_EQ(linesAt(3s), (Lines{near + "3"}));
  terminal.resize(2, 2);
  EXPECT_EQ(linesAt(4s), (Lines{"…", "…"}));
  terminal.resize(1, 2);
  EXPECT_EQ(linesAt(5s), (Lines{"", ""}));
}

TEST_F(TableOnTerminal, GivesTheScreenBackAndStaysPrinted) {
  std::optional<Table> table(std::in_place, queue, output, 1.0);
  table->take(detection("Desk", -50.0, 0.5));
  table->print();
  output.flush();
  const std::string text = terminal.shownUpTo("\nDesk ");
  const auto back = text.find("\033[?7h\033[?25h\033[?1049l");
  EXPECT_NE(back, std::string::npos);
  EXPECT_GT(text.find("\nDesk "), back);
  table.emplace(queue, output, 1.0);
  EXPECT_TRUE(terminal.shows(kFrameEnd));
  table.reset();
  EXPECT_TRUE(terminal.shows("\033[?1049l"));
}

}  // namespace
}  // namespace nimbrel
