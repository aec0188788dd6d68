#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// Selects the iBeacons that the application wants to detect: one proximity UUID, optionally
/// narrowed to one major and one minor. An immutable value.
class BeaconFilter {
 public:
  /// The major or minor that accepts every value.
  static constexpr std::int64_t kAny = -1;

  /// Builds a filter from the keys "uuid" (text), "majorId", "minorId" (integers) and "identifier"
  /// (text) of a map that the application sent. Absent if "uuid" is missing or not a text; the
  /// other keys count as missing if their value is of another kind.
  static std::optional<BeaconFilter> from(const EncodableMap& map);

  /// The text that the application sent, in upper case. It need not be a UUID.
  [[nodiscard]] const std::string& uuid() const { return uuid_; }
  [[nodiscard]] std::int64_t majorId() const { return majorId_; }
  [[nodiscard]] std::int64_t minorId() const { return minorId_; }
  /// The application's label. It may be present and empty.
  [[nodiscard]] const std::optional<std::string>& identifier() const { return identifier_; }

  /// Whether there is a label that is not empty.
  [[nodiscard]] bool hasLabel() const { return identifier_.has_value() && !identifier_->empty(); }

  /// Whether the filter accepts a beacon. REQUIRES: `uuidText` is in upper case.
  [[nodiscard]] bool accepts(std::string_view uuidText, std::int64_t major,
                             std::int64_t minor) const;

  /// Appends a short text for diagnostic lines to `line`: the label if there is one, otherwise the
  /// first 8 characters of the UUID, the major and the minor.
  [[nodiscard]] std::string description(std::string line = {}) const;

  /// Appends a long text for diagnostic lines to `line`: label, UUID, major and minor.
  [[nodiscard]] std::string fullDescription(std::string line = {}) const;

 private:
  BeaconFilter() = default;

  std::string uuid_;
  std::int64_t majorId_ = kAny;
  std::int64_t minorId_ = kAny;
  std::optional<std::string> identifier_;
};

}  // namespace nimbrel
