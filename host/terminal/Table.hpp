#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/base/Output.hpp"
#include "host/terminal/Screen.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// Shows detections as a table with one row for each beacon, nearest first.
///
/// On a terminal and in real time it takes the screen and redraws itself there. A beacon that was
/// not heard for ten seconds is dimmed and moves below all others; after a minute it leaves the
/// screen and is counted at the bottom. A row is forgotten after ten minutes.
class Table {
 public:
  /// `speed` is the pace of the queue's time; absent if that is virtual. Queue and output outlive
  /// the table.
  Table(MainQueue& queue, Output& output, std::optional<double> speed);
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() = default;

  [[nodiscard]] bool hasScreen() const { return screen_.has_value(); }

  /// Shows `line` below the rows, until the next one replaces it.
  void note(std::string_view line) { note_ = line; }

  /// Takes in one detection event.
  void take(const EncodableMap& event);

  /// Gives the screen back and prints all rows that are not forgotten.
  void print();

 private:
  struct Row {
    std::string identity;
    std::string numbers;
    double rssi = 0.0;
    double rssiSum = 0.0;  // Of the detections that were heard.
    std::uint64_t heard = 0;
    std::uint64_t detections = 0;
    double distance = -1.0;
    std::string proximity;
    MainQueue::Time lastHeard{};
  };
  /// Beacons that are not shown.
  struct Gone {
    std::size_t beacons = 0;
    std::uint64_t detections = 0;

    void add(const Row& row);
    [[nodiscard]] std::string text() const;
  };

  void redrawEvery(MainQueue::Time interval);
  void redraw();
  void forgetOldRows();
  [[nodiscard]] MainQueue::Time silenceOf(const Row& row) const;
  /// The rows to show, in their order; `gone` is given those that left the screen.
  [[nodiscard]] std::vector<const Row*> rowsOnScreen(Gone& gone) const;
  [[nodiscard]] std::string line(const Row& row, std::size_t identityWidth) const;

  MainQueue& queue_;
  Output& output_;
  std::optional<Screen> screen_;
  std::string note_;
  std::map<std::string, Row> rows_;  // By everything that identifies a beacon.
  Gone forgotten_;
  MainQueue::Time nextForgetting_{};
};

}  // namespace nimbrel
