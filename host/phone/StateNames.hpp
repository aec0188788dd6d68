#pragma once

#include <array>
#include <string_view>

namespace nimbrel {

/// The names of CBManagerState's values, from 0, in scenarios and reports.
inline constexpr std::array<std::string_view, 6> kBluetoothStates = {
    "unknown", "resetting", "unsupported", "unauthorized", "poweredOff", "poweredOn"};

/// The names of CLAuthorizationStatus's values, from 0, in scenarios and reports.
inline constexpr std::array<std::string_view, 5> kAuthorizations = {
    "notDetermined", "restricted", "denied", "always", "whenInUse"};

}  // namespace nimbrel
