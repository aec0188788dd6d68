#include "Classes/bluetooth/Admission.hpp"

#include <algorithm>
#include <string_view>

namespace nimbrel {

namespace {

/// Whether `name` contains one of the words in any letter case. They are ASCII, so folding the
/// ASCII letters is enough.
bool containsNameWord(std::string_view name) {
  const auto equals = [](char letter, char wanted) {
    return (letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter) ==
           wanted;
  };
  return std::any_of(kNameWords.begin(), kNameWords.end(), [&](std::string_view word) {
    return std::search(name.begin(), name.end(), word.begin(), word.end(), equals) != name.end();
  });
}

}  // namespace

bool isAdmitted(const CBPeripheral& peripheral, const CBAdvertisementData& advertisementData) {
  if (peripheral.name.has_value() && !peripheral.name->empty()) {
    return !std::holds_alternative<std::monostate>(advertisementData.manufacturerData) ||
           containsNameWord(*peripheral.name);
  }
  const auto* bytes =
      std::get_if<std::span<const std::uint8_t>>(&advertisementData.manufacturerData);
  return bytes != nullptr && !bytes->empty();
}

}  // namespace nimbrel
