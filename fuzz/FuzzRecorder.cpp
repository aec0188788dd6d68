// What the recorder writes is read back as it was.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/Input.hpp"
#include "host/air/BtSnoopWriter.hpp"
#include "host/air/Capture.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbrel;
  static const std::string path = "/dev/shm/nimbrel-fuzz-" + std::to_string(::getpid());
  fuzz::Input input(data, size);
  std::vector<std::string> written;
  {
    BtSnoopWriter writer(path, true);
    while (!input.isEmpty()) {
      Advertisement advertisement;
      advertisement.time = std::chrono::seconds(input.byte());
      for (auto& byte : advertisement.address.bytes) {
        byte = input.byte();
      }
      const auto kinds = input.byte();
      advertisement.address.type =
          kinds % 2 == 0 ? AddressType::publicAddress : AddressType::randomAddress;
      advertisement.isScanResponse = kinds % 4 >= 2;
      advertisement.rssi = static_cast<std::int8_t>(input.byte());
      Bytes content = input.bytes();
      for (unsigned copies = kinds / 4U % 6U; copies > 0; --copies) {
        content = content + input.bytes();
      }
      advertisement.data = content;
      writer.write(advertisement);
      written.push_back(std::to_string(advertisement.time.count()) + inWords(advertisement));
    }
  }
  const auto capture = Capture::open(path, [](const std::string& /*warning*/) { std::abort(); });
  for (const auto& expected : written) {
    const auto* const read = capture->next();
    fuzz::require(read != nullptr &&
                  std::to_string(read->time.count()) + inWords(*read) == expected);
  }
  fuzz::require(capture->next() == nullptr);
  ::unlink(path.c_str());
  return 0;
}
