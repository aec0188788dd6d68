#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/CoreBluetooth.hpp"
#include "platform/CoreLocation.hpp"

namespace nimbrel {

/// Something that the plug-in asked of the phone.
struct Request {
  struct Scan {
    std::optional<std::vector<UUID>> services;
    CBScanOptions options;
  };

  /// The operation's name.
  std::string_view operation;
  std::optional<CLBeaconRegion> region;
  std::optional<Scan> scan;
};

/// Follows what the plug-in says and asks, in the order in which it happens.
class PhoneObserver {
 public:
  virtual ~PhoneObserver() = default;

  /// A diagnostic line, without its newline.
  virtual void logged(std::string_view line) = 0;
  virtual void requested(const Request& request) = 0;
};

}  // namespace nimbrel
