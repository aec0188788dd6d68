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

/// `text` without anything that would move the cursor or break the line: control characters stand
/// as \xNN.
void appendPrintable(std::string& out, std::string_view text);

/// Fills up, or cuts with an ellipsis, to so many characters.
std::string fitted(std::string_view text, std::size_t width);

}  // namespace nimbrel
