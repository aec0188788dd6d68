#include "host/scenario/TranscriptDifference.hpp"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <vector>

namespace nimbrel {

namespace {

using Json = nlohmann::json;
using Lines = std::vector<std::string>;

bool areEqual(const Json& expected, const Json& actual, bool isInEvent) {
  if (expected.is_object() && actual.is_object()) {
    return expected.size() == actual.size() &&
           std::all_of(expected.items().begin(), expected.items().end(), [&](const auto& item) {
             return actual.contains(item.key()) &&
                    areEqual(item.value(), actual[item.key()], isInEvent || item.key() == "event");
           });
  }
  if (isInEvent && expected.is_number_float() && actual.is_number_float()) {
    const auto number = expected.get<double>();
    return std::abs(number - actual.get<double>()) <= 1e-5 * std::abs(number);
  }
  return expected == actual &&
         (!isInEvent || expected.is_number_float() == actual.is_number_float());
}

/// A line that is not JSON is equal to none.
bool areEqual(const std::string& expected, const std::string& actual) {
  return areEqual(Json::parse(expected, nullptr, false), Json::parse(actual, nullptr, false),
                  false);
}

Lines linesOf(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// A place in both transcripts.
struct Place {
  std::size_t expected = 0;
  std::size_t actual = 0;
};

class Comparison {
 public:
  Comparison(const std::string& expected, const std::string& actual)
      : expected_(linesOf(expected)), actual_(linesOf(actual)) {}

  /// The first difference at or behind `place`; the end of both if there is none.
  [[nodiscard]] Place differenceFrom(Place place) const {
    while (isEqualAt(place)) {
      ++place.expected;
      ++place.actual;
    }
    return place;
  }

  /// Where the two are equal again behind a difference: the fewest lines further on.
  [[nodiscard]] Place behind(const Place& difference) const {
    if (difference.expected >= expected_.size() || difference.actual >= actual_.size()) {
      return {expected_.size(), actual_.size()};
    }
    constexpr std::size_t kFarthest = 40;
    for (std::size_t skipped = 1; skipped <= kFarthest; ++skipped) {
      for (std::size_t count = 0; count <= skipped; ++count) {
        const Place place{difference.expected + count, difference.actual + skipped - count};
        if (isEqualAt(place)) {
          return place;
        }
      }
    }
    return {difference.expected + 1, difference.actual + 1};
  }

  [[nodiscard]] bool isAtEnd(const Place& place) const {
    return place.expected >= expected_.size() && place.actual >= actual_.size();
  }

  void describe(const Place& difference, std::string_view file, std::string& text) const {
    constexpr std::size_t kContext = 3;
    const std::size_t line = difference.expected;
    text.append(file).append(":").append(std::to_string(line + 1));
    text.append(": the transcript differs\n");
    for (std::size_t before = line - std::min(line, kContext); before < line; ++before) {
      text.append("            ").append(expected_[before]).append("\n");
    }
    text.append("  expected: ").append(lineAt(expected_, line)).append("\n");
    text.append("    actual: ").append(lineAt(actual_, difference.actual)).append("\n");
  }

 private:
  [[nodiscard]] bool isEqualAt(const Place& place) const {
    return place.expected < expected_.size() && place.actual < actual_.size() &&
           areEqual(expected_[place.expected], actual_[place.actual]);
  }

  static std::string_view lineAt(const Lines& lines, std::size_t index) {
    return index < lines.size() ? std::string_view(lines[index]) : "the end";
  }

  Lines expected_;
  Lines actual_;
};

}  // namespace

std::string transcriptDifferences(const std::string& expected, const std::string& actual,
                                  std::string_view file) {
  constexpr int kMost = 3;
  const Comparison comparison(expected, actual);
  std::string text;
  Place place = comparison.differenceFrom({});
  for (int shown = 0; shown < kMost && !comparison.isAtEnd(place); ++shown) {
    comparison.describe(place, file, text);
    place = comparison.differenceFrom(comparison.behind(place));
  }
  return text;
}

}  // namespace nimbrel
