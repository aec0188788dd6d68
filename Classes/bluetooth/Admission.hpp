#pragma once

#include <array>
#include <string_view>

#include "platform/CoreBluetooth.hpp"

namespace nimbrel {

/// The words that admit a device by its name, in lower case.
inline constexpr std::array<std::string_view, 4> kNameWords = {"beacon", "estimote", "kontakt",
                                                               "gimbal"};

/// Whether generic mode reports a device. A device with a name needs one of the words above in it,
/// in any letter case, or manufacturer data of any kind. A device without a name, or with an empty
/// one, needs at least one byte of manufacturer data.
bool isAdmitted(const CBPeripheral& peripheral, const CBAdvertisementData& advertisementData);

}  // namespace nimbrel
