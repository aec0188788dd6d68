#include "host/cli/Bundled.hpp"

// Bundled.S puts the files into the program, so that it runs from wherever it is copied to.
extern "C" {
extern const std::uint8_t nimbrelRecordingBegin[];
extern const std::uint8_t nimbrelRecordingEnd[];
extern const char nimbrelScenarioBegin[];
extern const char nimbrelScenarioEnd[];
}

namespace nimbrel {

std::span<const std::uint8_t> bundledRecording() {
  return {nimbrelRecordingBegin, nimbrelRecordingEnd};
}

std::string_view bundledScenario() {
  return {nimbrelScenarioBegin,
          static_cast<std::size_t>(nimbrelScenarioEnd - nimbrelScenarioBegin)};
}

}  // namespace nimbrel
