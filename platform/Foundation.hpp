#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace nimbrel {

/// A 128-bit UUID, its bytes in the order in which its text shows them.
/// Source: RFC 9562, section 4. Its text form is in Classes/text/UuidText.hpp.
struct UUID {
  std::array<std::uint8_t, 16> bytes{};

  friend bool operator==(const UUID&, const UUID&) = default;
};

/// A failure that a platform service reports.
struct NSError {
  /// A sentence for the user, in UTF-8.
  std::string localizedDescription;
};

/// The version of the running system. Compares by major, then minor, then patch version.
struct OperatingSystemVersion {
  std::int64_t majorVersion = 0;
  std::int64_t minorVersion = 0;
  std::int64_t patchVersion = 0;

  friend auto operator<=>(const OperatingSystemVersion&, const OperatingSystemVersion&) = default;
};

}  // namespace nimbrel
