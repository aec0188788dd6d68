#include "host/terminal/DetectionLine.hpp"

#include <array>
#include <cstdio>
#include <cwchar>
#include <utility>

#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/Decimal.hpp"
#include "Classes/text/Utf8.hpp"
#include "Classes/text/UuidText.hpp"
#include "host/base/Printable.hpp"

namespace nimbrel {

namespace {

constexpr std::size_t kUuidColumns = 36;
constexpr std::size_t kShortColumns = 24;
/// The columns of a line with a whole UUID.
constexpr std::size_t kLongLine = 95;

constexpr std::string_view kReset = "\033[0m";

std::string_view colourOf(std::string_view proximity) {
  if (proximity == "immediate") {
    return "\033[1;32m";
  }
  if (proximity == "near") {
    return "\033[33m";
  }
  return "\033[2m";
}

/// What a terminal takes for a character: two columns for the wide ones of East Asia, none for an
/// accent that goes on top of another.
std::size_t columnsOf(const Utf8Character& character) {
  const int columns = character.valid ? wcwidth(static_cast<wchar_t>(character.codePoint)) : 1;
  return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

std::size_t columnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const Utf8Character character = decodeUtf8(text);
    columns += columnsOf(character);
    text.remove_prefix(character.size);
  }
  return columns;
}

void appendRightAligned(std::string& out, std::string_view text, std::size_t width) {
  const std::size_t columns = columnsOf(text);
  out.append(width > columns ? width - columns : 0, ' ').append(text);
}

}  // namespace

std::string identityOf(const EncodableMap& event, bool isWhole) {
  std::string identity;
  const std::string_view name = *textFor(event, "name");
  if (!name.empty()) {
    appendPrintable(identity, name);
    return identity;
  }
  const std::string_view uuid = *textFor(event, "uuid");
  if (*integerFor(event, "majorId") >= 0) {
    return isWhole ? identity.append(uuid) : identity.append(uuid, 0, 8).append("…");
  }
  const std::string_view digits = uuid.substr(24);
  for (std::size_t place = 0; place < digits.size(); place += 2) {
    identity.append(place > 0 ? ":" : "").append(digits.substr(place, 2));
  }
  return identity;
}

std::string numbersOf(const EncodableMap& event) {
  const std::int64_t major = *integerFor(event, "majorId");
  std::string numbers("-");
  if (major >= 0) {
    numbers.assign(Decimal(major)).append("/").append(Decimal(*integerFor(event, "minorId")));
  }
  return numbers;
}

std::string distanceText(double metres) {
  if (metres < 0.0) {
    return "?";
  }
  if (!(metres < 1000.0)) {
    return ">1 km";
  }
  std::array<char, 16> digits;
  const int size = std::snprintf(digits.data(), digits.size(), "%.2f m", metres);
  return {digits.data(), static_cast<std::size_t>(size)};
}

std::string fitted(std::string_view text, std::size_t width) {
  const std::size_t columns = columnsOf(text);
  if (columns <= width) {
    return std::string(text).append(width - columns, ' ');
  }
  if (width == 0) {
    return {};
  }
  std::size_t size = 0;
  std::size_t left = width - 1;
  for (Utf8Character character = decodeUtf8(text); columnsOf(character) <= left;
       character = decodeUtf8(text.substr(size))) {
    left -= columnsOf(character);
    size += character.size;
  }
  return std::string(text.substr(0, size)).append("…").append(left, ' ');
}

DetectionLine::DetectionLine(const Style& style)
    : style_(style),
      wallClock_(style.isUtc),
      hasRoom_(style.columns.value_or(kLongLine) >= kLongLine) {}

void DetectionLine::begin(std::int64_t ts) {
  date_ = wallClock_.date(std::chrono::milliseconds(ts));
}

void DetectionLine::appendTime(std::string& out, std::int64_t ts) {
  const std::int64_t second = ts / 1000;
  if (second_ != second) {
    second_ = second;
    const std::chrono::seconds reading(second);
    clock_ = wallClock_.time(reading).substr(0, 8);
    std::string date = wallClock_.date(reading);
    if (date != date_) {
      out.append(date_.empty() ? "" : date).append(date_.empty() ? "" : " ");
      date_ = std::move(date);
    }
  }
  std::array<char, 8> fraction;
  const int size = std::snprintf(fraction.data(), fraction.size(), ".%03d",
                                 static_cast<int>(ts % 1000 < 0 ? 0 : ts % 1000));
  out.append(clock_).append(fraction.data(), static_cast<std::size_t>(size));
}

void DetectionLine::appendIdentity(std::string& out, const EncodableMap& event) const {
  const std::size_t width = hasRoom_ ? kUuidColumns : kShortColumns;
  const std::string identity = identityOf(event, hasRoom_);
  if (!style_.columns.has_value() && columnsOf(identity) > width) {
    out.append(identity);
  } else {
    out.append(fitted(identity, width));
  }
}

void DetectionLine::append(std::string& out, const EncodableMap& event) {
  appendTime(out, *integerFor(event, "ts"));
  out.append("  ");
  appendIdentity(out, event);
  out.append("  ");
  out.append(fitted(numbersOf(event), 11)).append("  ");
  const double rssi = *valueFor<double>(event, "rssi");
  const std::string strength =
      rssi == 0.0 ? "silent" : std::string(Decimal(static_cast<int>(rssi))) + " dBm";
  appendRightAligned(out, strength, 8);
  out.append("  ");
  appendRightAligned(out, distanceText(*valueFor<double>(event, "distance")), 9);
  out.append("  ");
  const std::string_view proximity = *textFor(event, "proximity");
  if (style_.isColoured) {
    out.append(colourOf(proximity)).append(proximity).append(kReset);
  } else {
    out.append(proximity);
  }
}

}  // namespace nimbrel
