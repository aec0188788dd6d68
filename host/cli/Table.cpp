#include "host/cli/Table.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>

#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/Decimal.hpp"
#include "host/cli/DetectionLine.hpp"

namespace nimbrel {

namespace {

// Control sequences of ECMA-48.
constexpr std::string_view kHome = "\033[H";
constexpr std::string_view kClearLine = "\033[K";
constexpr std::string_view kClearBelow = "\033[J";

/// In microseconds of real time.
constexpr double kInterval = 500e3;

/// What a line takes beside the beacon's identity.
constexpr std::size_t kOtherColumns = 62;

std::string heading(std::size_t identityWidth) {
  return fitted("beacon", identityWidth) +
         "  major/minor    dBm   mean  distance  proximity  count  s ago";
}

}  // namespace

Table::Table(MainQueue& queue, Output& output, std::optional<double> speed)
    : queue_(queue), output_(output) {
  if (speed.has_value() && output.isTerminal()) {
    screen_.emplace(output);
    redrawEvery(MainQueue::Time(std::llround(kInterval * *speed)));
  }
}

void Table::take(const EncodableMap& event) {
  const std::string numbers = numbersOf(event);
  Row& row = rows_[*valueFor<std::string>(event, "identifier") + '\n' +
                   *valueFor<std::string>(event, "uuid") + '\n' + numbers];
  row.identity = identityOf(event);
  row.numbers = numbers;
  row.rssi = *valueFor<double>(event, "rssi");
  if (row.rssi != 0.0) {
    row.rssiSum += row.rssi;
    ++row.heard;
  }
  ++row.detections;
  row.distance = *valueFor<double>(event, "distance");
  row.proximity = *valueFor<std::string>(event, "proximity");
  row.last = queue_.now();
}

void Table::print() {
  screen_.reset();
  constexpr std::size_t identityWidth = 24;
  output_.writeLine(heading(identityWidth));
  for (const Row* row : nearestFirst()) {
    output_.writeLine(line(*row, identityWidth));
  }
}

void Table::redrawEvery(MainQueue::Time interval) {
  redraw();
  queue_.at(queue_.now() + interval, [this, interval] {
    if (hasScreen()) {
      redrawEvery(interval);
    }
  });
}

void Table::redraw() {
  // The size is asked for each time: people resize their windows.
  const TerminalSize size = output_.terminalSize();
  // Behind a character in the last column, clearing the rest of the line takes that one, too.
  const std::size_t width = size.columns - 1;
  const std::size_t identityWidth =
      std::clamp<std::size_t>(width, kOtherColumns + 8, kOtherColumns + 40) - kOtherColumns;
  std::string& out = output_.buffer();
  const auto put = [&](std::string_view text, bool isLast = false) {
    out.append(fitted(text, width)).append(kClearLine).append(isLast ? "" : "\n");
  };
  const std::vector<const Row*> rows = nearestFirst();
  // The heading and the line at the bottom take two of the lines.
  const std::size_t shown = std::min(rows.size(), size.lines < 3 ? 0 : size.lines - 2);
  out.append(kHome);
  put(heading(identityWidth));
  for (std::size_t index = 0; index < shown; ++index) {
    put(line(*rows[index], identityWidth));
  }
  std::string bottom = note_;
  if (shown < rows.size()) {
    bottom.insert(0, "and " + std::to_string(rows.size() - shown) + " farther away; ");
  }
  put(bottom, true);
  out.append(kClearBelow);
  output_.flush();
}

std::vector<const Table::Row*> Table::nearestFirst() const {
  std::vector<const Row*> rows;
  rows.reserve(rows_.size());
  for (const auto& [key, row] : rows_) {
    rows.push_back(&row);
  }
  const auto order = [](const Row* row) {
    return row->distance < 0.0 ? std::numeric_limits<double>::infinity() : row->distance;
  };
  std::ranges::stable_sort(rows, {}, order);
  return rows;
}

std::string Table::line(const Row& row, std::size_t identityWidth) const {
  std::array<char, 120> columns;
  const double mean = row.heard == 0 ? 0.0 : row.rssiSum / static_cast<double>(row.heard);
  const auto strength = [](double rssi) {
    return rssi == 0.0 ? std::string("-") : std::string(Decimal(std::lround(rssi)));
  };
  const std::chrono::duration<double> ago = queue_.now() - row.last;
  const int size = std::snprintf(
      columns.data(), columns.size(), "%5s  %5s  %8s  %-9s  %5llu  %5.0f",
      strength(row.rssi).c_str(), strength(mean).c_str(), distanceText(row.distance).c_str(),
      row.proximity.c_str(), static_cast<unsigned long long>(row.detections), ago.count());
  return fitted(row.identity, identityWidth) + "  " + fitted(row.numbers, 11) + "  " +
         std::string(columns.data(), static_cast<std::size_t>(size));
}

}  // namespace nimbrel
