#include "host/cli/ScanSession.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "Classes/model/BeaconFilter.hpp"
#include "Classes/model/EncodableAccess.hpp"
#include "host/base/JsonText.hpp"
#include "host/base/Printable.hpp"
#include "host/findings/Reasons.hpp"
#include "host/terminal/Escapes.hpp"

namespace nimbrel {

namespace {

Phone::Setup setupFor(const ScanOptions& options) {
  Phone::Setup setup = options.phone();
  setup.hasConsole = !options.quiet && !options.table;
  return setup;
}

}  // namespace

ScanSession::ScanSession(const ScanOptions& options, MainQueue& queue, Output& output,
                         Output& errors)
    : Session(options.filters, setupFor(options), queue),
      options_(options),
      queue_(queue),
      output_(output),
      errors_(errors),
      clock_(options.utc),
      detectionLine_({.isColoured = isColoured(output),
                      .isUtc = options.utc,
                      .columns = output.isTerminal() ? std::optional(output.terminalSize().columns)
                                                     : std::nullopt}),
      filters_(foundFilters(options.filters)) {}

void ScanSession::start() {
  if (options_.table) {
    table_.emplace(queue_, output_, options_.live ? 1.0 : options_.speed);
  }
  const std::chrono::duration<double> clock(phone().timeIntervalSince1970());
  const auto now = std::chrono::floor<std::chrono::milliseconds>(clock);
  if (!options_.table && !options_.json) {
    detectionLine_.begin(now.count());
    note("nimbrel: " + clock_.introduction(now));
  }
  Session::start();
}

void ScanSession::stop() {
  Session::stop();
  if (table_.has_value()) {
    table_->print();
    output_.flush();
  }
  for (const std::string& line : withheld_) {
    errors_.writeLine(line);
  }
}

void ScanSession::note(const std::string& line) {
  if (table_.has_value() && table_->hasScreen()) {
    table_->note(line);
    if (errors_.isTerminal()) {
      withheld_.push_back(line);
      return;
    }
  }
  errors_.writeLine(line);
  errors_.flush();
}

void ScanSession::clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) {
  if (!hasJumped_) {
    hasJumped_ = true;
    note("nimbrel: the recording's clock jumps from " + clock_.dateAndTime(before) + " to " +
         clock_.dateAndTime(after) + "; times go on from there");
  }
}

void ScanSession::conclude(std::uint64_t damagedPackets) {
  output_.flush();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started_;
  const std::chrono::duration<double> scanned = elapsed();
  std::array<char, 80> times{};
  std::snprintf(times.data(), times.size(), " in %.1f s, ", scanned.count());
  std::string line = counted(advertisementCount(), "advertisement") + " from " +
                     counted(deviceCount(), "device") + times.data() +
                     counted(detections_, "detection");
  if (damagedPackets > 0) {
    line += ", " + counted(damagedPackets, "packet") + " with a wrong checksum left out";
  }
  std::snprintf(times.data(), times.size(), "; took %.2f s", taken.count());
  errors_.writeLine(line + times.data());
  noteUndetected();
  errors_.flush();
}

void ScanSession::noteUndetected() {
  std::string missing;
  for (const FoundFilter& each : filters_) {
    if (each.events == 0) {
      missing += (missing.empty() ? "" : ", ") + filterText(each.map);
    }
  }
  if (detections_ > 0 && missing.empty()) {
    return;
  }
  const std::string what = missing.empty() ? "nothing was detected" : "not detected: " + missing;
  appendPrintable(errors_.buffer(),
                  what + "; to see why: nimbrel explain" + options_.sameArguments());
  errors_.buffer().push_back('\n');
}

void ScanSession::logged(std::string_view line) {
  Output& output = options_.json ? errors_ : output_;
  // Names and labels are somebody else's text: none of it may steer the terminal.
  appendPrintable(output.buffer(), line);
  output.buffer().push_back('\n');
  output.lineEnded();
}

void ScanSession::countForFilter(const EncodableMap& event) {
  const std::size_t filter =
      firstAccepting(filters_, *textFor(event, "uuid"), *integerFor(event, "majorId"),
                     *integerFor(event, "minorId"));
  if (filter < filters_.size()) {
    ++filters_[filter].events;
  }
}

void ScanSession::received(const EncodableValue& event) {
  ++detections_;
  const auto& map = std::get<EncodableMap>(event);
  if (!filters_.empty()) {
    countForFilter(map);
  }
  if (table_.has_value()) {
    table_->take(map);
    return;
  }
  if (options_.json) {
    appendJson(output_.buffer(), event);
  } else {
    detectionLine_.append(output_.buffer(), map);
  }
  output_.buffer().push_back('\n');
  output_.lineEnded();
}

}  // namespace nimbrel
