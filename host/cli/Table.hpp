#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/Output.hpp"
#include "host/cli/Screen.hpp"
#include "host/phone/MainQueue.hpp"
#include "platform/Flutter.hpp"

namespace nimbrel {

/// The detections as a table with one row for each beacon, nearest first.
///
/// On a terminal and in real time it has the screen for itself while it lives, and is redrawn
/// there. In the end it is printed.
class Table {
 public:
  /// `speed` is the pace of the queue's time; absent where that is virtual. Queue and output
  /// outlive the table.
  Table(MainQueue& queue, Output& output, std::optional<double> speed);
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() = default;

  [[nodiscard]] bool hasScreen() const { return screen_.has_value(); }

  /// A line below the rows, until the next one.
  void note(std::string_view line) { note_ = line; }

  void take(const EncodableMap& event);

  /// Gives the screen back and prints the whole table.
  void print();

 private:
  struct Row {
    std::string identity;
    std::string numbers;
    double rssi = 0.0;
    double rssiSum = 0.0;  // of the detections that were heard
    std::uint64_t heard = 0;
    std::uint64_t detections = 0;
    double distance = -1.0;
    std::string proximity;
    MainQueue::Time last{};
  };

  void redrawEvery(MainQueue::Time interval);
  void redraw();
  [[nodiscard]] std::vector<const Row*> nearestFirst() const;
  [[nodiscard]] std::string line(const Row& row, std::size_t identityWidth) const;

  MainQueue& queue_;
  Output& output_;
  std::optional<Screen> screen_;
  std::string note_;
  std::map<std::string, Row> rows_;  // by all that identifies a beacon
};

}  // namespace nimbrel
