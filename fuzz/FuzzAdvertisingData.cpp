// Advertising data as devices send it, up to what the plug-in reads in it.

#include <cstddef>
#include <cstdint>

#include "Classes/bluetooth/BeaconFrame.hpp"
#include "fuzz/Input.hpp"
#include "host/air/AdvertisingData.hpp"
#include "host/base/Printable.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbrel;
  const auto parsed = AdvertisingData::parse({data, size});
  if (parsed.name) {
    fuzz::require(!parsed.name->empty());
    std::string shown;
    appendPrintable(shown,
                    {reinterpret_cast<const char*>(parsed.name->data()), parsed.name->size()});
    for (const char character : shown) {
      fuzz::require(static_cast<unsigned char>(character) >= 0x20 && character != 0x7F);
    }
  }
  fuzz::require(parsed.name || !parsed.isNameComplete);
  if (parsed.manufacturerData) {
    frames::iBeacon(*parsed.manufacturerData);
    frames::altBeacon(*parsed.manufacturerData);
  }
  return 0;
}
