// The text of --filter.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/UuidText.hpp"
#include "fuzz/Input.hpp"
#include "host/cli/SharedOptions.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbrel;
  fuzz::Input input(data, size);
  const bool hasUuid = input.byte() % 2 == 0;
  const Bytes rest = input.rest();
  const std::string text = (hasUuid ? "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0" : "") +
                           std::string(rest.begin(), rest.end());
  try {
    const auto filter = std::get<EncodableMap>(parseFilter(text));
    fuzz::require(parseUuid(*textFor(filter, "uuid")).has_value());
    for (const char* const key : {"majorId", "minorId"}) {
      const auto number = integerFor(filter, key);
      fuzz::require(!number || (*number >= 0 && *number <= 65535));
    }
  } catch (const UsageError&) {
    // What cannot be used is refused by this error, and by no other.
  }
  return 0;
}
