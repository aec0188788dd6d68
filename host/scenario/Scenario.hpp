#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/phone/Phone.hpp"
#include "host/scenario/JsonFields.hpp"
#include "host/scenario/Step.hpp"

namespace nimbrel {

/// The phone at the start of a scenario.
struct PhoneLine {
  Phone::Setup phone;
  /// False: the plug-in is used without ever being registered.
  bool isRegistered = true;
  /// Whether the line sets the phone's clock.
  bool hasClock = false;
};

/// A script for the application, the phone and the air around the plug-in.
struct Scenario {
  PhoneLine phone;
  std::vector<Step> steps;

  /// Parses JSON Lines. `name` is the name in messages. Throws InputError at the first error, with
  /// a message that begins with "NAME:LINE: ".
  static Scenario parse(std::string_view text, const std::string& name);
};

/// Whether a line of a scenario is blank or a comment.
[[nodiscard]] bool isSkipped(std::string_view line);

/// Whether a line's object is the one that sets up the phone.
[[nodiscard]] bool isPhoneLine(const Json& json);

/// Reads the object that sets up the phone. Throws LineFault.
/// REQUIRES: isPhoneLine(json)
PhoneLine readPhoneLine(const Json& json);

}  // namespace nimbrel
