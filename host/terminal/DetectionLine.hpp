#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// Formats a detection as one aligned line for a person: time, label or short identity,
/// major/minor, signal strength, distance and proximity.
class DetectionLine {
 public:
  /// Times are in UTC, or else in the machine's zone.
  explicit DetectionLine(bool isColoured, bool isUtc = false)
      : isColoured_(isColoured), isUtc_(isUtc) {}

  /// Appends the line of a detection event, without its newline.
  void append(std::string& out, const EncodableMap& event);

 private:
  void appendTime(std::string& out, std::int64_t ts);

  bool isColoured_;
  bool isUtc_;
  std::int64_t second_ = -1;  // the second that `clock_` shows
  std::string clock_;
};

/// How a person recognises the source of a detection event: by its name, else by the first digits
/// of its UUID, else by the device's address, which the device's identifier ends in.
std::string identityOf(const EncodableMap& event);

/// Returns major and minor of a detection event, "1/9", or "-" if it has none.
std::string numbersOf(const EncodableMap& event);

/// Returns "1.25 m"; "?" if the distance is negative, which means unknown.
std::string distanceText(double metres);

/// Returns `text` padded with spaces, or cut with an ellipsis, to `width` columns of a terminal.
/// The program's locale says how wide a character is.
std::string fitted(std::string_view text, std::size_t width);

}  // namespace nimbrel
