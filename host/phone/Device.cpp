#include "host/phone/Device.hpp"

#include <algorithm>

#include "host/base/Bytes.hpp"

namespace nimbrel {

bool Device::areEqual(const std::optional<Bytes>& left, const std::optional<Bytes>& right) {
  return left.has_value() == right.has_value() &&
         (!left.has_value() || std::ranges::equal(*left, *right));
}

std::optional<std::string_view> Device::name() const {
  const std::optional<Bytes> bytes = part(Part::name);
  if (!bytes.has_value()) {
    return std::nullopt;
  }
  return textOf(*bytes);
}

bool Device::set(Part changed, std::optional<Bytes> bytes) {
  if (areEqual(part(changed), bytes)) {
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
