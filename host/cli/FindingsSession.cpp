#include "host/cli/FindingsSession.hpp"

#include "host/findings/Reasons.hpp"

namespace nimbrel {

namespace {

Phone::Setup setupFor(const RunOptions& options) {
  Phone::Setup setup = options.phone();
  setup.hasConsole = false;
  return setup;
}

}  // namespace

FindingsSession::FindingsSession(const RunOptions& options, bool isQuiet, bool keepsStories,
                                 MainQueue& queue, Output& errors)
    : Session(options.filters, setupFor(options), queue),
      isQuiet_(isQuiet),
      errors_(errors),
      findings_({options.filters, options.withholdsBeacons, keepsStories}) {}

void FindingsSession::hear(const Advertisement& advertisement) {
  const std::size_t device = findings_.begin(advertisement, elapsed());
  Session::hear(advertisement);
  findings_.settle();
  settled(device, advertisement);
}

void FindingsSession::received(const EncodableValue& event) {
  const auto& map = std::get<EncodableMap>(event);
  detected(findings_.received(map), map);
}

void FindingsSession::note(const std::string& line) {
  errors_.writeLine(line);
  errors_.flush();
}

void FindingsSession::inform(const std::string& line) {
  if (!isQuiet_) {
    note(line);
  }
}

void FindingsSession::clockJumped(std::chrono::microseconds before,
                                  std::chrono::microseconds after) {
  findings_.clockJumped({before, after}, elapsed());
}

void FindingsSession::conclude(std::uint64_t damagedPackets) {
  findings_.end(elapsed());
  if (damagedPackets > 0) {
    note("nimbrel: " + counted(damagedPackets, "packet") + " with a wrong checksum left out");
  }
  tell();
}

}  // namespace nimbrel
