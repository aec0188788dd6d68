#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/WallClock.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// Formats a detection as one aligned line for a person: time, label or identity, major/minor,
/// signal strength, distance and proximity.
class DetectionLine {
 public:
  struct Style {
    bool isColoured = false;
    /// Times are in UTC, or else in the machine's zone.
    bool isUtc = false;
    /// Of the terminal. Absent if there is none: nothing is shortened.
    std::optional<std::size_t> columns;
  };

  explicit DetectionLine(const Style& style);

  /// Takes the time at which a run begins, in milliseconds since 1970. The first line of each later
  /// day carries the date.
  void begin(std::int64_t ts);

  /// Appends the line of a detection event, without its newline.
  void append(std::string& out, const EncodableMap& event);

 private:
  void appendTime(std::string& out, std::int64_t ts);

  void appendIdentity(std::string& out, const EncodableMap& event) const;

  Style style_;
  WallClock wallClock_;
  bool hasRoom_;                        // for a whole UUID
  std::optional<std::int64_t> second_;  // the second that `clock_` shows
  std::string clock_;
  std::string date_;
};

/// How a person recognises the source of a detection event: by its name, else by its UUID, of which
/// the first digits will do if it is not to be whole, else by the device's address, which the
/// device's identifier ends in.
std::string identityOf(const EncodableMap& event, bool isWhole = false);

/// Returns major and minor of a detection event, "1/9", or "-" if it has none.
std::string numbersOf(const EncodableMap& event);

/// Returns "1.25 m"; "?" if the distance is negative, which means unknown.
std::string distanceText(double metres);

/// Returns `text` padded with spaces, or cut with an ellipsis, to `width` columns of a terminal.
/// The program's locale says how wide a character is.
std::string fitted(std::string_view text, std::size_t width);

}  // namespace nimbrel
