#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "host/air/Capture.hpp"
#include "host/air/MappedFile.hpp"
#include "host/base/Bytes.hpp"
#include "host/base/InputError.hpp"
#include "host/base/NewFile.hpp"
#include "host/base/Output.hpp"
#include "host/cli/Commands.hpp"
#include "host/cli/ConvertOptions.hpp"
#include "host/findings/Reasons.hpp"
#include "host/scenario/Conversion.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/ScenarioWriter.hpp"

namespace nimbrel {

namespace {

void warn(const std::string& line) { std::cerr << "nimbrel: " << line << '\n'; }

/// Counts the advertisements and devices.
class Counts final : public AirListener {
 public:
  void begin(Time /*clock*/) override {}
  bool hear(Time /*now*/, const Advertisement& advertisement) override {
    ++advertisements_;
    devices_.insert(advertisement.address);
    return true;
  }
  void end(Time now, Time /*clock*/, Time /*over*/) override { length_ = now; }

  [[nodiscard]] bool isNothing() const { return advertisements_ == 0; }
  [[nodiscard]] std::string text() const {
    std::array<char, 40> seconds{};
    std::snprintf(seconds.data(), seconds.size(), " in %.1f s",
                  std::chrono::duration<double>(length_).count());
    return counted(advertisements_, "advertisement") + " from " +
           counted(devices_.size(), "device") + seconds.data();
  }

 private:
  std::uint64_t advertisements_ = 0;
  std::set<DeviceAddress> devices_;
  Time length_{};
};

/// A capture or a scenario, which can be played more than once.
struct Source {
  std::function<void(AirListener&)> play;
  bool isScenario = false;
};

/// Whether the first line that is not skipped begins a JSON object.
bool isScenario(std::string_view text) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (!isSkipped(line)) {
      return line.find_first_not_of(" \t") == line.find('{');
    }
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return false;
}

Source scenarioSource(std::string_view text, const std::string& name) {
  const auto scenario = std::make_shared<Scenario>(Scenario::parse(text, name));
  return {[scenario, name, isFirst = true](AirListener& listener) mutable {
            const std::size_t changed = playScenarioAir(*scenario, name, listener);
            if (changed > 0 && isFirst) {
              warn(name + ": " + counted(changed, "advertisement") +
                   " rounded or cut to what a recording can hold: signal strengths are whole "
                   "numbers from -128 to 127, names and manufacturer data 254 bytes at most");
            }
            isFirst = false;
          },
          true};
}

Source captureSource(const MappedFile& file, const std::string& name) {
  return {[&file, name, isFirst = true](AirListener& listener) mutable {
            const auto capture = Capture::read(file.bytes(), name, [&](const std::string& line) {
              if (isFirst) {
                warn(line);
              }
            });
            playRecordedAir(*capture, listener);
            if (isFirst && capture->damagedPackets() > 0) {
              warn(name + ": " + counted(capture->damagedPackets(), "packet") +
                   " with a wrong checksum left out");
            }
            isFirst = false;
            if (file.hasLostBytes() || !file.isWhole()) {
              throw std::runtime_error(
                  name + ": was shortened while it was read; convert a copy, or once it is whole");
            }
          },
          false};
}

void refuseSameFile(const ConvertOptions& options) {
  std::error_code error;
  if (std::filesystem::equivalent(options.input, options.output, error)) {
    throw UsageError("OUT is IN itself; name another file");
  }
}

void writeScenario(const ConvertOptions& options, const Source& source, const Counts& counts) {
  ScenarioWriter::Setup setup;
  setup.comment =
      (options.part.isAnonymous ? std::string("an anonymized recording") : options.input) + ": " +
      counts.text();
  setup.withholdsBeacons = options.withholdsBeacons;
  if (options.isGeneric || !options.filters.empty()) {
    setup.filters = options.filters;
  }
  const bool isFile = options.output != "-";
  const int descriptor = isFile ? makeFile(options.output, options.force) : STDOUT_FILENO;
  Output output(descriptor);
  ScenarioWriter writer(setup, output);
  AirPart part(options.part, writer);
  source.play(part);
  output.flush();
  if (isFile) {
    close(descriptor);
  }
}

void convert(const ConvertOptions& options) {
  refuseSameFile(options);
  const MappedFile file(options.input);
  const std::string_view text = textOf(file.bytes());
  const Source source =
      isScenario(text) ? scenarioSource(text, options.input) : captureSource(file, options.input);
  if (source.isScenario && options.writesScenario) {
    throw UsageError("IN is a scenario already; name OUT .btsnoop to make a capture of it");
  }
  Counts counts;
  AirPart part(options.part, counts);
  source.play(part);
  if (counts.isNothing()) {
    throw InputError(options.input,
                     "holds no advertisement to convert" +
                         std::string(options.part.devices.empty() ? "" : " of --device") +
                         (options.part.duration || options.part.from > MainQueue::Time::zero()
                              ? " between --from and --for"
                              : "") +
                         "; see what there is with nimbrel scan");
  }
  if (options.writesScenario) {
    writeScenario(options, source, counts);
    return;
  }
  BtSnoopWriter writer(options.output, options.force);
  RecordingWriter recording(writer);
  AirPart wanted(options.part, recording);
  source.play(wanted);
  writer.sync();
}

}  // namespace

int convertCommand(int count, const char* const* arguments) {
  const std::optional<ConvertOptions> options = ConvertOptions::parse(count, arguments);
  if (!options.has_value()) {
    return 0;
  }
  convert(*options);
  return 0;
}

}  // namespace nimbrel
