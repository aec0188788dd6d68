#include "host/findings/Series.hpp"

#include <algorithm>

#include "host/phone/Rules.hpp"

namespace nimbrel {

namespace {

void add(Series::Readings& all, const Series::Readings& more) {
  all.count += more.count;
  all.sum += more.sum;
  all.least = std::min(all.least, more.least);
  all.most = std::max(all.most, more.most);
}

void add(Series::Detections& all, const Series::Detections& more) {
  if (more.placed > 0) {
    all.nearest = all.placed == 0 ? more.nearest : std::min(all.nearest, more.nearest);
    all.farthest = std::max(all.farthest, more.farthest);
  }
  all.count += more.count;
  all.silent += more.silent;
  all.rssiSum += more.rssiSum;
  all.placed += more.placed;
  all.distanceSum += more.distanceSum;
}

/// Adds to the last cell if it is the same one. Returns how many cells there are more.
template <typename Cell>
std::size_t append(std::vector<Cell>& cells, const Cell& next) {
  if (!cells.empty() && cells.back().cell == next.cell) {
    add(cells.back(), next);
    return 0;
  }
  cells.push_back(next);
  return 1;
}

/// Makes one cell of each two. Returns how many are left.
template <typename Cell>
std::size_t pairUp(std::vector<Cell>& cells) {
  std::vector<Cell> pairs;
  for (Cell& each : cells) {
    each.cell /= 2;
    append(pairs, each);
  }
  cells = std::move(pairs);
  return cells.size();
}

}  // namespace

void Series::heard(std::size_t device, MainQueue::Time at, std::int8_t rssi) {
  if (rssi != rules::kNoReading) {
    const std::uint32_t cell = cellAt(at);
    cells_ += append(trackOf(device).readings, {cell, 1, rssi, rssi, rssi});
  }
}

void Series::detected(std::size_t device, MainQueue::Time at, double rssi, double distance) {
  Detections one{cellAt(at)};
  one.count = 1;
  one.silent = rssi == 0.0 ? 1 : 0;
  one.rssiSum = rssi;
  if (distance >= 0.0) {
    one.placed = 1;
    one.nearest = one.distanceSum = one.farthest = distance;
  }
  cells_ += append(trackOf(device).detections, one);
}

void Series::sumUp(std::span<const std::size_t> devices, std::size_t cellsAtMost) {
  for (;;) {
    std::size_t cells = 0;
    std::uint32_t last = 0;
    for (const std::size_t device : devices) {
      const Track& track = of(device);
      cells += track.readings.size() + track.detections.size();
      last = std::max(last, track.readings.empty() ? 0 : track.readings.back().cell);
      last = std::max(last, track.detections.empty() ? 0 : track.detections.back().cell);
    }
    if (cells <= cellsAtMost || last == 0) {
      return;
    }
    doubleCells();
  }
}

const Series::Track& Series::of(std::size_t device) const {
  static const Track kNothing;
  return device < tracks_.size() ? tracks_[device] : kNothing;
}

std::uint32_t Series::cellAt(MainQueue::Time at) {
  const auto shortest = static_cast<std::uint64_t>(at / kShortest);
  while (shortest >> doublings_ >= kCellsAtMost) {
    doubleCells();
  }
  if (cells_ >= cellsUntilDoubling_) {
    // Many devices. Those that were heard only once or twice get no shorter by it.
    doubleCells();
    cellsUntilDoubling_ = std::max(cellsUntilDoubling_, 2 * cells_);
  }
  return static_cast<std::uint32_t>(shortest >> doublings_);
}

Series::Track& Series::trackOf(std::size_t device) {
  if (device >= tracks_.size()) {
    tracks_.resize(device + 1);
  }
  return tracks_[device];
}

void Series::doubleCells() {
  ++doublings_;
  cells_ = 0;
  for (Track& track : tracks_) {
    cells_ += pairUp(track.readings) + pairUp(track.detections);
  }
}

}  // namespace nimbrel
