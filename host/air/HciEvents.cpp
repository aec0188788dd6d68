#include "host/air/HciEvents.hpp"

namespace nimbrel {
namespace {

/// Resolved identities are what a phone shows for the address that was on the air. Anonymous
/// advertising is left out, as are types yet unknown: without an address, nothing tells which
/// device it was.
std::optional<AddressType> addressType(std::uint8_t type) {
  if (type > 3) {
    return std::nullopt;
  }
  // Of device addresses, 0 and 1; of resolved identities, 2 and 3.
  return (type & 1U) == 0 ? AddressType::publicAddress : AddressType::randomAddress;
}

}  // namespace

void HciEvents::begin(std::chrono::microseconds time, std::span<const std::uint8_t> event) {
  constexpr std::uint8_t kLeMetaEvent = 0x3E;
  constexpr std::uint8_t kAdvertisingReport = 0x02;
  constexpr std::uint8_t kExtendedAdvertisingReport = 0x0D;
  receptionTime_ = time;
  reportsLeft_ = 0;
  ByteCursor cursor(event);
  if (cursor.byte() != kLeMetaEvent) {
    return;
  }
  const auto length = cursor.byte();
  reports_ = ByteCursor(cursor.takeUpTo(length));
  const auto subevent = reports_.byte();
  if (subevent != kAdvertisingReport && subevent != kExtendedAdvertisingReport) {
    return;
  }
  isExtended_ = subevent == kExtendedAdvertisingReport;
  reportsLeft_ = reports_.byte();
}

bool HciEvents::nextReport(Advertisement& advertisement) {
  while (reportsLeft_ > 0) {
    --reportsLeft_;
    if (isExtended_ ? nextExtended(advertisement) : nextLegacy(advertisement)) {
      return true;
    }
    if (!reports_.ok()) {
      reportsLeft_ = 0;
    }
  }
  return false;
}

// The standard describes a report as arrays, one for each field; on the wire the fields of a report
// stand together, and the next report follows.
bool HciEvents::nextLegacy(Advertisement& advertisement) {
  constexpr std::uint8_t kDirected = 1;
  constexpr std::uint8_t kScanResponse = 4;
  ByteCursor head(reports_.take(9));
  if (!reports_.ok()) {
    return false;
  }
  const auto eventType = head.byte();
  const auto type = addressType(head.byte());
  const auto address = head.reversed<6>();
  const auto length = head.byte();
  const auto data = reports_.takeUpTo(length);
  const auto rssi = reports_.rest().empty() ? std::uint8_t{127} : reports_.byte();
  if (!type || eventType > kScanResponse || eventType == kDirected) {
    return false;
  }
  advertisement = {.time = receptionTime_,
                   .address = {address, *type},
                   .rssi = static_cast<std::int8_t>(rssi),
                   .isScanResponse = eventType == kScanResponse,
                   .data = data};
  return true;
}

bool HciEvents::nextExtended(Advertisement& advertisement) {
  constexpr unsigned kDirected = 0x04;
  constexpr unsigned kScanResponse = 0x08;
  ByteCursor head(reports_.take(24));
  if (!reports_.ok()) {
    return false;
  }
  const unsigned eventType = head.integer<std::uint16_t>();
  const auto type = addressType(head.byte());
  const auto address = head.reversed<6>();
  head.take(2);  // The PHYs.
  const auto set = head.byte();
  head.byte();  // The transmit power.
  const auto rssi = static_cast<std::int8_t>(head.byte());
  head.take(9);  // The interval of periodic advertising, and the address that it is directed at.
  const auto length = head.byte();
  const auto data = reports_.takeUpTo(length);
  if (!type || (eventType & kDirected) != 0) {
    return false;
  }
  const bool isScanResponse = (eventType & kScanResponse) != 0;
  const auto status = data.size() < length ? ExtendedReports::DataStatus::truncated
                                           : ExtendedReports::dataStatus(eventType);
  const auto whole = extendedReports_.join({{address, *type}, set, isScanResponse}, status, data);
  if (!whole) {
    return false;
  }
  advertisement = {.time = receptionTime_,
                   .address = {address, *type},
                   .rssi = rssi,
                   .isScanResponse = isScanResponse,
                   .data = *whole};
  return true;
}

}  // namespace nimbrel
