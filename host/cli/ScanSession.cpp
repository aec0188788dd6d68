#include "host/cli/ScanSession.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "Classes/NimbrelPlugin.hpp"
#include "host/cli/JsonText.hpp"
#include "host/engine/Registrar.hpp"

namespace nimbrel {

namespace {

Phone::Setup setupFor(const ScanOptions& options, CBManagerState bluetooth) {
  Phone::Setup setup;
  setup.hasConsole = !options.quiet && !options.table;
  setup.bluetooth = bluetooth;
  return setup;
}

bool isColoured(const Output& output) {
  const char* refused = std::getenv("NO_COLOR");
  return output.isTerminal() && (refused == nullptr || *refused == '\0');
}

}  // namespace

ScanSession::ScanSession(const ScanOptions& options, MainQueue& queue, CBManagerState bluetooth,
                         Output& output, Output& errors)
    : options_(options),
      queue_(queue),
      output_(output),
      errors_(errors),
      detectionLine_(isColoured(output)),
      phone_(setupFor(options, bluetooth), queue, *this),
      application_(messenger_, [](const auto& /*reply*/) {}) {}

void ScanSession::start() {
  if (options_.table) {
    table_.emplace(queue_, output_, options_.live ? 1.0 : options_.speed);
  }
  Registrar registrar(messenger_);
  NimbrelPlugin::registerWith(registrar, phone_);
  queue_.drain();
  application_.listen([this](const EncodableValue& event) { received(event); });
  EncodableMap arguments;
  arguments.push_back({"filters", options_.filters});
  application_.call("startDetection", std::move(arguments));
}

void ScanSession::hear(const Advertisement& advertisement) {
  ++advertisements_;
  phone_.hear(devices_.sight(advertisement));
  queue_.drain();
}

void ScanSession::stop() {
  application_.call("stopDetection");
  queue_.drain();
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

void ScanSession::summarize() {
  output_.flush();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started_;
  const std::chrono::duration<double> scanned = queue_.now();
  std::array<char, 240> line;
  const auto plural = [](std::uint64_t count) { return count == 1 ? "" : "s"; };
  const int size = std::snprintf(
      line.data(), line.size(),
      "%llu advertisement%s from %zu device%s in %.1f s, %llu detection%s; took %.2f s",
      static_cast<unsigned long long>(advertisements_), plural(advertisements_), devices_.count(),
      plural(devices_.count()), scanned.count(), static_cast<unsigned long long>(detections_),
      plural(detections_), taken.count());
  errors_.writeLine({line.data(), static_cast<std::size_t>(size)});
  errors_.flush();
}

void ScanSession::logged(std::string_view line) {
  Output& output = options_.json ? errors_ : output_;
  // Names and labels are somebody else's text: none of it may steer the terminal.
  appendPrintable(output.buffer(), line);
  output.buffer().push_back('\n');
  output.lineEnded();
}

void ScanSession::requested(const Request& /*request*/) {
  // What the plug-in asks of the phone shows in what follows from it.
}

void ScanSession::received(const EncodableValue& event) {
  ++detections_;
  if (table_.has_value()) {
    table_->take(std::get<EncodableMap>(event));
    return;
  }
  if (options_.json) {
    appendJson(output_.buffer(), event);
  } else {
    detectionLine_.append(output_.buffer(), std::get<EncodableMap>(event));
  }
  output_.buffer().push_back('\n');
  output_.lineEnded();
}

}  // namespace nimbrel
