#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "host/cli/Table.hpp"
#include "tests/support/Terminal.hpp"

namespace nimbrel {
namespace {

/// The last thing in each frame: clears what is below.
constexpr std::string_view kFrameEnd = "\033[J";

/// A table on a terminal of four lines of 73 characters.
class TableOnTerminal : public testing::Test {
 protected:
  static EncodableMap detection(std::string_view label, double rssi, double distance) {
    return {{"identifier", label},  {"uuid", std::string(36, '0')},
            {"majorId", 1},         {"minorId", 7},
            {"name", label},        {"rssi", rssi},
            {"distance", distance}, {"proximity", "near"}};
  }

  Terminal terminal{73, 4};
  Output output{terminal.program()};
  MainQueue queue;
};

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
