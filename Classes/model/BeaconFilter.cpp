#include "Classes/model/BeaconFilter.hpp"

#include "Classes/model/EncodableAccess.hpp"
#include "Classes/text/Decimal.hpp"
#include "Classes/text/UpperCase.hpp"
#include "Classes/text/Utf8.hpp"

namespace nimbrel {

std::optional<BeaconFilter> BeaconFilter::from(const EncodableMap& map) {
  const auto uuid = textFor(map, "uuid");
  if (!uuid.has_value()) {
    return std::nullopt;
  }
  BeaconFilter filter;
  filter.uuid_ = upperCased(*uuid);
  filter.majorId_ = integerFor(map, "majorId").value_or(kAny);
  filter.minorId_ = integerFor(map, "minorId").value_or(kAny);
  if (const auto identifier = textFor(map, "identifier")) {
    filter.identifier_ = *identifier;
  }
  return filter;
}

bool BeaconFilter::accepts(std::string_view uuidText, std::int64_t major,
                           std::int64_t minor) const {
  return uuid_ == uuidText && (majorId_ == kAny || majorId_ == major) &&
         (minorId_ == kAny || minorId_ == minor);
}

std::string BeaconFilter::description(std::string line) const {
  if (hasLabel()) {
    return std::move(line.append(*identifier_));
  }
  line.append("UUID: ").append(firstCharacters(uuid_, 8)).append("...");
  if (majorId_ != kAny) {
    line.append(" Major:").append(Decimal(majorId_));
  }
  if (minorId_ != kAny) {
    line.append(" Minor:").append(Decimal(minorId_));
  }
  return line;
}

std::string BeaconFilter::fullDescription(std::string line) const {
  if (hasLabel()) {
    line.append("Identifier: ").append(*identifier_).append(", ");
  }
  line.append("UUID: ").append(uuid_);
  if (majorId_ != kAny) {
    line.append(", Major: ").append(Decimal(majorId_));
  }
  if (minorId_ != kAny) {
    line.append(", Minor: ").append(Decimal(minorId_));
  }
  return line;
}

}  // namespace nimbrel
