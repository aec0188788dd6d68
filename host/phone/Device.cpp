#include "host/phone/Device.hpp"

#include <algorithm>

namespace nimbrel {

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
  std::array<std::uint8_t, std::tuple_size_v<decltype(few_)>> few{};
  std::unique_ptr<std::uint8_t[]> block(size > few.size() ? new std::uint8_t[size] : nullptr);
  std::uint8_t* end = block != nullptr ? block.get() : few.data();
  for (std::size_t index = 0; index < parts.size(); ++index) {
    sizes_[index] = kAbsent;
    if (const std::optional<Bytes>& each = parts[index]) {
      sizes_[index] = static_cast<std::uint32_t>(each->size());
      end = std::copy(each->begin(), each->end(), end);
    }
  }
  few_ = few;
  block_ = std::move(block);
  return true;
}

}  // namespace nimbrel
