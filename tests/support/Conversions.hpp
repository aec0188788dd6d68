#pragma once

#include <cstdint>
#include <span>

namespace nimbrel::testing_support {

/// Holds a recording to what its conversions promise, in generic mode and with a filter for each
/// UUID in it: a scenario, a recording and a scenario's recording made of it lead to its very
/// events, also where only the first second and a half is taken. Made anonymous, they keep their
/// numbers, and hold nothing that tells whose the devices are.
void expectFaithfulConversions(std::span<const std::uint8_t> recording);

}  // namespace nimbrel::testing_support
