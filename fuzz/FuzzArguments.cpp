// Calls of the application with arguments of every kind.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "Classes/NimbrelPlugin.hpp"
#include "fuzz/Input.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/engine/Registrar.hpp"
#include "host/phone/Phone.hpp"

namespace nimbrel {
namespace {

using fuzz::Input;

/// Of the keys that mean something, or any other.
EncodableValue key(Input& input) {
  constexpr std::array kKeys{"filters", "uuid",       "majorId",
                             "minorId", "identifier", "isInForeground"};
  const auto choice = input.byte();
  return choice < kKeys.size() ? EncodableValue(kKeys[choice]) : EncodableValue(input.text());
}

EncodableValue value(Input& input, int depth) {
  switch (input.byte() % 10) {
    case 0:
      return {};
    case 1:
      return input.byte() % 2 == 0;
    case 2:
      return static_cast<std::int64_t>(input.byte() << 9U) - 512;
    case 3:
      return std::numeric_limits<std::int64_t>::max() - input.byte();
    case 4: {
      std::uint64_t bits = 0;
      for (int i = 0; i < 8; ++i) {
        bits = bits << 8U | input.byte();
      }
      double number = 0.0;
      std::memcpy(&number, &bits, sizeof number);
      return number;
    }
    case 5:
      return input.text();
    case 6:
      return input.bytes();
    case 7:
      return "E2C56DB5-DFFB-48D2-B060-D0F5A71096E0";
    case 8: {
      EncodableList list;
      for (int count = depth > 0 ? input.byte() % 24 : 0; count > 0; --count) {
        list.push_back(value(input, depth - 1));
      }
      return list;
    }
    default: {
      EncodableMap map;
      for (int count = depth > 0 ? input.byte() % 6 : 0; count > 0; --count) {
        EncodableValue name = key(input);
        bool isNew = true;
        for (const auto& entry : map) {
          isNew = isNew && !(entry.key == EncodableKey(name));
        }
        EncodableValue held = value(input, depth - 1);
        if (isNew) {
          map.emplace_back(std::move(name), std::move(held));
        }
      }
      return map;
    }
  }
}

class Nobody final : public PhoneObserver {
 public:
  void logged(std::string_view /*line*/) override {}
  void requested(const Request& /*request*/) override {}
};

}  // namespace
}  // namespace nimbrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace nimbrel;
  constexpr std::array kMethods{"startDetection", "startDetection",     "updateConfig",
                                "stopDetection",  "requestPermissions", "checkPermissionStatus"};
  Input input(data, size);
  MainQueue queue;
  Nobody nobody;
  Phone phone(Phone::Setup{}, queue, nobody);
  Messenger messenger;
  int replies = 0;
  int calls = 0;
  Application application(messenger, [&](const auto& /*reply*/) { ++replies; });
  Registrar registrar(messenger);
  NimbrelPlugin::registerWith(registrar, phone);
  application.listen([](const EncodableValue& /*event*/) {});
  while (!input.isEmpty()) {
    application.call(kMethods[input.byte() % kMethods.size()], value(input, 4));
    ++calls;
    queue.drain();
  }
  fuzz::require(replies == calls);
  return 0;
}
