#include "host/phone/Device.hpp"

#include <algorithm>

namespace nimbrel {

namespace {

std::size_t indexOf(Device::Part part) { return static_cast<std::size_t>(part); }

}  // namespace

std::size_t Device::offsetOf(std::size_t index) const {
  std::size_t offset = 0;
  for (std::size_t before = 0; before < index; ++before) {
    offset += sizes_[before] == kAbsent ? 0 : sizes_[before];
  }
  return offset;
}

std::optional<Device::Bytes> Device::part(Part part) const {
  const std::size_t index = indexOf(part);
  if (sizes_[index] == kAbsent) {
    return std::nullopt;
  }
  return Bytes(block_.get() + offsetOf(index), sizes_[index]);
}

std::optional<std::string_view> Device::name() const {
  const std::optional<Bytes> bytes = part(Part::name);
  if (!bytes.has_value()) {
    return std::nullopt;
  }
  return std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size());
}

bool Device::set(Part changed, std::optional<Bytes> bytes) {
  const std::optional<Bytes> before = part(changed);
  if (before.has_value() == bytes.has_value() &&
      (!before.has_value() || std::ranges::equal(*before, *bytes))) {
    return false;
  }
  std::array<std::optional<Bytes>, 3> parts{part(Part::name), part(Part::advertised),
                                            part(Part::responded)};
  parts[indexOf(changed)] = bytes;
  std::size_t size = 0;
  for (const std::optional<Bytes>& each : parts) {
    size += each.has_value() ? each->size() : 0;
  }
  std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[size]);
  std::uint8_t* end = block.get();
  for (std::size_t index = 0; index < parts.size(); ++index) {
    sizes_[index] = kAbsent;
    if (const std::optional<Bytes>& each = parts[index]) {
      sizes_[index] = static_cast<std::uint32_t>(each->size());
      end = std::copy(each->begin(), each->end(), end);
    }
  }
  block_ = std::move(block);
  return true;
}

}  // namespace nimbrel
