#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/base/MainQueue.hpp"

namespace nimbrel {

/// Signal strengths and detections of devices over time, summed up in the cells of one grid. The
/// cells begin short and double whenever there would be too many, so that a run of any length takes
/// a bounded number of them for each device.
class Series {
 public:
  /// What was heard of one device within one cell, in dBm.
  struct Readings {
    std::uint32_t cell;
    std::uint32_t count = 0;
    std::int64_t sum = 0;
    std::int8_t least = 127;
    std::int8_t most = -128;

    [[nodiscard]] double mean() const {
      return static_cast<double>(sum) / static_cast<double>(count);
    }
  };

  /// The events that told of one device within one cell.
  struct Detections {
    std::uint32_t cell;
    std::uint32_t count = 0;
    std::uint32_t silent = 0;  // those with signal strength 0
    double rssiSum = 0.0;      // of the others, in dBm
    std::uint32_t placed = 0;  // those with a distance
    double nearest = 0.0;      // of these, in metres
    double distanceSum = 0.0;
    double farthest = 0.0;
  };

  /// Both in the order of their cells, and without cells in which there was nothing.
  struct Track {
    std::vector<Readings> readings;
    std::vector<Detections> detections;
  };

  /// So many cells of 1/64 s, and then of double that.
  static constexpr std::uint32_t kCellsAtMost = 4096;

  /// `device` is its place among the findings' devices, `at` the run's time, which never goes back.
  /// A strength of 127 is no reading and has no effect.
  void heard(std::size_t device, MainQueue::Time at, std::int8_t rssi);
  /// In dBm and metres; 0 and a negative number if there is none.
  void detected(std::size_t device, MainQueue::Time at, double rssi, double distance);

  /// Doubles the cells until the tracks of `devices` together have no more than `cellsAtMost`, or
  /// all is one cell.
  void sumUp(std::span<const std::size_t> devices, std::size_t cellsAtMost);

  /// The length of a cell.
  [[nodiscard]] MainQueue::Time step() const { return kShortest * (std::int64_t{1} << doublings_); }
  [[nodiscard]] const Track& of(std::size_t device) const;

 private:
  static constexpr MainQueue::Time kShortest{15'625};

  std::uint32_t cellAt(MainQueue::Time at);
  Track& trackOf(std::size_t device);
  void doubleCells();

  unsigned doublings_ = 0;
  std::vector<Track> tracks_;
  std::size_t cells_ = 0;  // in all tracks together
  std::size_t cellsUntilDoubling_ = std::size_t{1} << 22U;
};

}  // namespace nimbrel
