#include "host/base/WallClock.hpp"

#include <array>
#include <cstdio>

namespace nimbrel {

std::optional<std::tm> WallClock::calendar(Reading reading) const {
  const auto seconds =
      static_cast<std::time_t>(std::chrono::floor<std::chrono::seconds>(reading).count());
  std::tm parts{};
  if ((isUtc_ ? gmtime_r(&seconds, &parts) : localtime_r(&seconds, &parts)) == nullptr) {
    return std::nullopt;
  }
  return parts;
}

std::string WallClock::formatted(const char* format, Reading reading) const {
  const std::optional<std::tm> parts = calendar(reading);
  if (!parts.has_value()) {
    return {};
  }
  std::array<char, 80> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &*parts)};
}

std::string WallClock::time(Reading reading) const {
  const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(reading) -
                            std::chrono::floor<std::chrono::seconds>(reading);
  std::array<char, 8> fraction{};
  const int size = std::snprintf(fraction.data(), fraction.size(), ".%03d",
                                 static_cast<int>(milliseconds.count() % 1000));
  return formatted("%T", reading).append(fraction.data(), static_cast<std::size_t>(size));
}

std::string WallClock::date(Reading reading) const { return formatted("%F", reading); }

std::string WallClock::dateAndTime(Reading reading) const {
  return date(reading) + " " + time(reading);
}

std::string WallClock::introduction(Reading begin) const {
  return "times are in " + zone(begin) + ", from " + date(begin) + " on";
}

std::string WallClock::zone(Reading reading) const {
  return isUtc_ ? "UTC" : formatted("%Z", reading);
}

std::chrono::seconds WallClock::offset(Reading reading) const {
  const std::optional<std::tm> parts = calendar(reading);
  return std::chrono::seconds(parts.has_value() ? parts->tm_gmtoff : 0);
}

}  // namespace nimbrel
