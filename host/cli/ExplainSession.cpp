#include "host/cli/ExplainSession.hpp"

#include <algorithm>

#include "Classes/text/UpperCase.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/air/AddressText.hpp"
#include "host/base/InputError.hpp"
#include "host/findings/FindingsJson.hpp"
#include "host/findings/FindingsText.hpp"
#include "host/findings/Reasons.hpp"
#include "host/terminal/Escapes.hpp"

namespace nimbrel {

namespace {

/// Whether `wanted` is a device's address, its name, or the UUID of one of its beacons or of the
/// device itself; letter case does not matter.
bool isMeant(const FoundDevice& device, const std::string& wanted) {
  if (AddressText(device.address) == std::string_view(wanted) ||
      upperCased(device.name) == wanted ||
      UuidText(peripheralIdentifier(device.address)) == std::string_view(wanted)) {
    return true;
  }
  return std::ranges::any_of(device.frames, [&](const FoundFrame& frame) {
    return UuidText(frame.identity.uuid) == std::string_view(wanted);
  });
}

}  // namespace

ExplainSession::ExplainSession(const ExplainOptions& options, MainQueue& queue, Output& output,
                               Output& errors)
    : FindingsSession(options, options.quiet, options.device.has_value(), queue, errors),
      options_(options),
      clock_(options.utc),
      output_(output) {}

void ExplainSession::start() {
  if (!options_.json) {
    const std::chrono::duration<double> now(phone().timeIntervalSince1970());
    inform("nimbrel: " + clock_.introduction(std::chrono::floor<std::chrono::milliseconds>(now)));
  }
  FindingsSession::start();
}

void ExplainSession::tell() {
  if (options_.json) {
    writeJson();
  } else {
    writeText();
  }
  output_.flush();
}

void ExplainSession::forEachAskedFor(const std::function<void(const FoundDevice&)>& tell) const {
  const std::string wanted = upperCased(options_.device.value_or(""));
  bool isFound = false;
  for (const FoundDevice& device : findings().devices()) {
    if (!options_.device.has_value() || isMeant(device, wanted)) {
      tell(device);
      isFound = true;
    }
  }
  if (options_.device.has_value() && !isFound) {
    throw InputError("--device '" + *options_.device + "'",
                     "no such device was heard; leave it out, and give --all to see all " +
                         std::to_string(findings().devices().size()));
  }
}

void ExplainSession::writeJson() {
  JsonWriter json(output_);
  forEachAskedFor([&](const FoundDevice& device) {
    writeDevice(json, findings(), device);
    json.put('\n');
  });
  writeRun(json, findings());
  json.put('\n');
}

void ExplainSession::writeText() {
  const TerminalSize size = output_.terminalSize();
  FindingsTextStyle style;
  style.clock = clock_;
  style.isColoured = isColoured(output_);
  // What goes to a file or a pipe is read on some screen later.
  style.columns = output_.isTerminal() ? size.columns : 100;
  if (!options_.all) {
    style.lines = output_.isTerminal() ? size.lines : 40;
  }
  if (!options_.device.has_value()) {
    output_.buffer().append(findingsText(findings(), style));
    return;
  }
  forEachAskedFor([&](const FoundDevice& device) {
    output_.buffer().append(storyText(findings(), device, style));
    output_.lineEnded();
  });
}

}  // namespace nimbrel
