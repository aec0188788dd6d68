#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// Which iBeacons the application wants to hear about: those of one proximity UUID, if need be of
/// one major and one minor. An unchangeable value.
class BeaconFilter {
 public:
  /// Stands for any major or any minor.
  static constexpr std::int64_t any = -1;

  /// The filter that a map of the application describes, or absent where it holds no text under
  /// "uuid". "majorId", "minorId" and "identifier" of another kind count as missing.
  static std::optional<BeaconFilter> from(const EncodableMap& map);

  /// In upper case; otherwise as the application sent it, be it a UUID or not.
  [[nodiscard]] const std::string& uuid() const { return uuid_; }
  [[nodiscard]] std::int64_t majorId() const { return majorId_; }
  [[nodiscard]] std::int64_t minorId() const { return minorId_; }
  /// The application's label; an empty one is present.
  [[nodiscard]] const std::optional<std::string>& identifier() const { return identifier_; }

  [[nodiscard]] bool hasLabel() const { return identifier_.has_value() && !identifier_->empty(); }

  /// Whether the filter accepts a beacon; `uuidText` is upper-case UUID text.
  [[nodiscard]] bool accepts(std::string_view uuidText, std::int64_t major,
                             std::int64_t minor) const;

  /// A short text for diagnostic lines, appended to `line`: the label, or what there is of the
  /// rest.
  [[nodiscard]] std::string description(std::string line = {}) const;

  /// A long text for diagnostic lines, appended to `line`: all that the filter holds.
  [[nodiscard]] std::string fullDescription(std::string line = {}) const;

 private:
  BeaconFilter() = default;

  std::string uuid_;
  std::int64_t majorId_ = any;
  std::int64_t minorId_ = any;
  std::optional<std::string> identifier_;
};

}  // namespace nimbrel
