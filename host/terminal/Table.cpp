#include "host/terminal/Table.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/Decimal.hpp"
#include "host/terminal/DetectionLine.hpp"
#include "host/terminal/Escapes.hpp"

namespace nimbrel {

namespace {

// Control sequences of ECMA-48.
constexpr std::string_view kHome = "\033[H";
constexpr std::string_view kClearLine = "\033[K";
constexpr std::string_view kClearBelow = "\033[J";

constexpr std::string_view kDim = "\033[2m";
constexpr std::string_view kPlain = "\033[0m";

/// In microseconds of real time.
constexpr double kInterval = 500e3;

constexpr MainQueue::Time kSinksAfter = std::chrono::seconds(10);
constexpr MainQueue::Time kLeavesAfter = std::chrono::minutes(1);
constexpr MainQueue::Time kForgottenAfter = std::chrono::minutes(10);

/// The columns of a line that follow the beacon's identity.
constexpr std::size_t kOtherColumns = 62;

std::string heading(std::size_t identityWidth) {
  return fitted("beacon", identityWidth) +
         "  major/minor    dBm   mean  distance  proximity  count  s ago";
}

/// What rows are sorted by: an unknown distance comes last.
double order(double distance) {
  return distance < 0.0 ? std::numeric_limits<double>::infinity() : distance;
}

}  // namespace

Table::Table(MainQueue& queue, Output& output, std::optional<double> speed)
    : queue_(queue), output_(output) {
  if (speed.has_value() && takesEscapes(output)) {
    screen_.emplace(output);
    redrawEvery(MainQueue::Time(std::llround(kInterval * *speed)));
  }
}

void Table::take(const EncodableMap& event) {
  forgetOldRows();
  const std::string numbers = numbersOf(event);
  std::string key(*textFor(event, "identifier"));
  key.append("\n").append(*textFor(event, "uuid")).append("\n").append(numbers);
  Row& row = rows_[key];
  row.identity = identityOf(event);
  row.numbers = numbers;
  row.rssi = *valueFor<double>(event, "rssi");
  // Ranging reports a silent beacon with a strength of 0.
  if (row.rssi != 0.0) {
    row.rssiSum += row.rssi;
    ++row.heard;
  }
  if (row.rssi != 0.0 || row.detections == 0) {
    row.lastHeard = queue_.now();
  }
  ++row.detections;
  row.distance = *valueFor<double>(event, "distance");
  row.proximity = *textFor(event, "proximity");
}

void Table::forgetOldRows() {
  if (queue_.now() < nextForgetting_) {
    return;
  }
  nextForgetting_ = queue_.now() + kLeavesAfter;
  for (auto row = rows_.begin(); row != rows_.end();) {
    if (silenceOf(row->second) >= kForgottenAfter) {
      forgotten_.add(row->second);
      row = rows_.erase(row);
    } else {
      ++row;
    }
  }
}

void Table::print() {
  screen_.reset();
  constexpr std::size_t kIdentityWidth = 24;
  output_.writeLine(heading(kIdentityWidth));
  std::vector<const Row*> rows;
  for (const auto& [key, row] : rows_) {
    rows.push_back(&row);
  }
  std::ranges::stable_sort(rows, {}, [](const Row* row) { return order(row->distance); });
  for (const Row* row : rows) {
    output_.writeLine(line(*row, kIdentityWidth));
  }
  if (forgotten_.beacons > 0) {
    output_.writeLine(forgotten_.text());
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
  forgetOldRows();
  // People resize their windows, so the size is read for each frame.
  const TerminalSize size = output_.terminalSize();
  // Clearing the rest of a line behind its last column would clear that column, too.
  const std::size_t width = size.columns - 1;
  const std::size_t identityWidth =
      std::clamp<std::size_t>(width, kOtherColumns + 8, kOtherColumns + 40) - kOtherColumns;
  Gone gone = forgotten_;
  const std::vector<const Row*> rows = rowsOnScreen(gone);
  // The nearest beacon is always shown; heading and bottom line need two more lines.
  const bool hasHeading = size.lines > 1;
  const bool hasBottom = size.lines > 2;
  const std::size_t shown =
      std::min(rows.size(), size.lines - (hasHeading ? 1 : 0) - (hasBottom ? 1 : 0));

  std::string& out = output_.buffer();
  out.append(kHome);
  std::string_view separator;
  const auto put = [&](std::string_view text, bool isDim = false) {
    out.append(separator).append(isDim ? kDim : "").append(fitted(text, width));
    out.append(isDim ? kPlain : "").append(kClearLine);
    separator = "\n";
  };
  if (hasHeading) {
    put(heading(identityWidth));
  }
  for (std::size_t index = 0; index < shown; ++index) {
    put(line(*rows[index], identityWidth), silenceOf(*rows[index]) >= kSinksAfter);
  }
  if (hasBottom) {
    std::string bottom;
    const auto say = [&bottom](const std::string& text) {
      bottom.append(bottom.empty() || text.empty() ? "" : "; ").append(text);
    };
    if (shown < rows.size()) {
      say("and " + std::to_string(rows.size() - shown) + " farther away");
    }
    if (gone.beacons > 0) {
      say(gone.text());
    }
    say(note_);
    put(bottom);
  }
  out.append(kClearBelow);
  output_.flush();
}

MainQueue::Time Table::silenceOf(const Row& row) const { return queue_.now() - row.lastHeard; }

std::vector<const Table::Row*> Table::rowsOnScreen(Gone& gone) const {
  std::vector<const Row*> rows;
  for (const auto& [key, row] : rows_) {
    if (silenceOf(row) < kLeavesAfter) {
      rows.push_back(&row);
    } else {
      gone.add(row);
    }
  }
  std::ranges::stable_sort(rows, {}, [this](const Row* row) {
    return std::pair(silenceOf(*row) >= kSinksAfter, order(row->distance));
  });
  return rows;
}

void Table::Gone::add(const Row& row) {
  ++beacons;
  detections += row.detections;
}

std::string Table::Gone::text() const {
  return "and " + std::to_string(beacons) + " gone (" + std::to_string(detections) +
         (detections == 1 ? " detection)" : " detections)");
}

std::string Table::line(const Row& row, std::size_t identityWidth) const {
  std::array<char, 120> columns;
  const double mean = row.heard == 0 ? 0.0 : row.rssiSum / static_cast<double>(row.heard);
  const auto strength = [](double rssi) {
    return rssi == 0.0 ? std::string("-") : std::string(Decimal(std::lround(rssi)));
  };
  const std::chrono::duration<double> ago = silenceOf(row);
  const int size = std::snprintf(
      columns.data(), columns.size(), "%5s  %5s  %8s  %-9s  %5llu  %5.0f",
      strength(row.rssi).c_str(), strength(mean).c_str(), distanceText(row.distance).c_str(),
      row.proximity.c_str(), static_cast<unsigned long long>(row.detections), ago.count());
  return fitted(row.identity, identityWidth) + "  " + fitted(row.numbers, 11) + "  " +
         std::string(columns.data(), static_cast<std::size_t>(size));
}

}  // namespace nimbrel
