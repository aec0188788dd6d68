// Scenarios, read and played.

#include <fcntl.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/base/InputError.hpp"
#include "host/base/Output.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/Simulation.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbrel;
  static const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  try {
    const auto scenario = Scenario::parse({reinterpret_cast<const char*>(data), size}, "fuzz");
    // Not those that go on for days: they take their time and reach nothing new.
    for (const Step& step : scenario.steps) {
      const auto* const advertise = std::get_if<actions::Advertise>(&step.action);
      const bool isLong = step.at > std::chrono::minutes(10) ||
                          (advertise != nullptr && advertise->every &&
                           (advertise->lasting > std::chrono::minutes(10) ||
                            *advertise->every < std::chrono::milliseconds(10)));
      if (isLong) {
        return 0;
      }
    }
    Output output(nowhere);
    playScenario(scenario, output);
    output.flush();
  } catch (const InputError&) {
    // What cannot be used is refused by this error, and by no other.
  }
  return 0;
}
