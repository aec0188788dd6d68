#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Flutter.hpp"

namespace nimbrel {

/// One detection as an aligned line for a person: time, label or short identity, major/minor,
/// signal strength, distance and proximity.
class DetectionLine {
 public:
  explicit DetectionLine(bool isColoured) : isColoured_(isColoured) {}

  /// Appends the line of a detection event, without its newline.
  void append(std::string& out, const EncodableMap& event);

 private:
  void appendTime(std::string& out, std::int64_t ts);

  bool isColoured_;
  std::int64_t second_ = -1;  // the second that `clock_` shows
  std::string clock_;
};

/// What a person knows the source of a detection event by: its name, the head of its UUID, or the
/// device's address, which a device's identifier ends in.
std::string identityOf(const EncodableMap& event);

/// Major and minor of a detection event, "1/9", or "-" where it has none.
std::string numbersOf(const EncodableMap& event);

/// "1.25 m"; "?" where the distance is unknown.
std::string distanceText(double metres);

/// `text` without anything that would move the cursor or break the line: control characters stand
/// as \xNN.
void appendPrintable(std::string& out, std::string_view text);

/// Fills up, or cuts with an ellipsis, to so many columns of a terminal (1 at least). The program's
/// locale says how wide a character is.
std::string fitted(std::string_view text, std::size_t width);

}  // namespace nimbrel
