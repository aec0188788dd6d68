#include "host/air/ExtendedReports.hpp"

#include <algorithm>
#include <utility>

namespace nimbrel {

std::optional<std::span<const std::uint8_t>> ExtendedReports::joinUnfinished(
    const Source& source, DataStatus status, std::span<const std::uint8_t> fragment) {
  // Controllers finish one advertisement before the next or mix few; more than this many are ones
  // whose end was lost, and would pile up in a long capture.
  constexpr std::size_t kMostUnfinished = 32;
  // The most that a host is given of one advertisement.
  constexpr std::size_t kLongestData = 1650;

  auto found = std::ranges::find(unfinished_, source, &Unfinished::source);
  if (found == unfinished_.end()) {
    if (status != DataStatus::moreToCome) {
      return fragment;
    }
    if (unfinished_.size() == kMostUnfinished) {
      unfinished_.erase(unfinished_.begin());
    }
    unfinished_.push_back({source, {}});
    found = unfinished_.end() - 1;
  }
  auto& data = found->data;
  const auto kept = fragment.first(std::min(fragment.size(), kLongestData - data.size()));
  data.insert(data.end(), kept.begin(), kept.end());
  if (status == DataStatus::moreToCome) {
    return std::nullopt;
  }
  joined_ = std::move(data);
  unfinished_.erase(found);
  return joined_;
}

}  // namespace nimbrel
