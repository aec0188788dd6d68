#include "host/air/LinkLayer.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/air/ByteCursor.hpp"

namespace nimbrel {
namespace {

using namespace std::chrono_literals;

/// Source: Bluetooth Core Specification, volume 6, part B, section 2.3.
enum PduType : unsigned {
  advInd = 0,
  advNonconnInd = 2,
  scanRsp = 4,
  advScanInd = 6,
  // ADV_EXT_IND, AUX_ADV_IND, AUX_SCAN_RSP and AUX_CHAIN_IND.
  extended = 7,
};

/// More than a pointer reaches.
constexpr std::chrono::microseconds kLongestWait = 3s;
/// What is heard is not held back longer: within a second, a replay takes it for a record a little
/// out of order.
constexpr std::chrono::microseconds kLongestWaitWithData = 900ms;
/// What a sniffer's time stamps may differ from what the pointer says.
constexpr std::chrono::microseconds kLateness = 100ms;
constexpr std::chrono::microseconds kExact = 5ms;

std::chrono::microseconds between(std::chrono::microseconds one, std::chrono::microseconds other) {
  return std::chrono::abs(one - other);
}

}  // namespace

void LinkLayer::begin(const Packet& packet) {
  constexpr unsigned kRandomAdvertiser = 0x40;
  broken_.clear();
  returned_ = 0;
  current_.reset();
  for (auto each = unfinished_.begin(); each != unfinished_.end();) {
    // Also where the recorder's clock was set back.
    const bool isOver = packet.time > each->deadline || packet.time + 1s < each->time;
    each = isOver ? giveUp(each) : each + 1;
  }

  ByteCursor cursor(packet.data);
  const unsigned header = cursor.byte();
  const auto length = cursor.byte();
  ByteCursor payload(cursor.takeUpTo(length));
  const bool isCut = payload.rest().size() < length;
  const unsigned type = header & 0x0FU;
  const auto addressType =
      (header & kRandomAdvertiser) != 0 ? AddressType::randomAddress : AddressType::publicAddress;
  switch (type) {
    case advInd:
    case advNonconnInd:
    case advScanInd:
    case scanRsp: {
      const DeviceAddress address{payload.reversed<6>(), addressType};
      if (payload.ok()) {
        current_ = {.time = packet.time,
                    .address = address,
                    .rssi = packet.rssi,
                    .isScanResponse = type == scanRsp,
                    .data = payload.rest()};
      }
      break;
    }
    case extended:
      if (auto pdu = parse(packet, payload, addressType)) {
        if (isCut) {
          // What it points to would end up in the gap.
          pdu->pointer.reset();
        }
        take(packet, *pdu);
      }
      break;
    default:
      // Requests and answers, and directed advertising, which carries no data.
      break;
  }
}

void LinkLayer::end() {
  broken_.clear();
  returned_ = 0;
  current_.reset();
  while (!unfinished_.empty()) {
    giveUp(unfinished_.begin());
  }
}

bool LinkLayer::next(Advertisement& advertisement) {
  if (returned_ < broken_.size()) {
    const Unfinished& each = broken_[returned_++];
    advertisement = {.time = each.time,
                     .address = each.address,
                     .rssi = each.rssi,
                     .isScanResponse = each.isScanResponse,
                     .data = each.data};
    return true;
  }
  if (!current_) {
    return false;
  }
  advertisement = *current_;
  current_.reset();
  return true;
}

std::optional<LinkLayer::Extended> LinkLayer::parse(const Packet& packet, ByteCursor payload,
                                                    AddressType type) {
  constexpr unsigned kHasAdvertiser = 0x01;
  constexpr unsigned kHasTarget = 0x02;
  constexpr unsigned kHasToneInformation = 0x04;
  constexpr unsigned kHasSet = 0x08;
  constexpr unsigned kHasPointer = 0x10;
  Extended pdu;
  // The advertising mode is in the two upper bits.
  ByteCursor header(payload.take(payload.byte() & 0x3FU));
  pdu.data = payload.rest();
  if (!payload.ok()) {
    return std::nullopt;
  }
  const unsigned fields = header.rest().empty() ? 0 : header.byte();
  if ((fields & kHasAdvertiser) != 0) {
    pdu.advertiser = DeviceAddress{header.reversed<6>(), type};
  }
  pdu.isDirected = (fields & kHasTarget) != 0;
  header.take((pdu.isDirected ? 6 : 0) + ((fields & kHasToneInformation) != 0 ? 1 : 0));
  if ((fields & kHasSet) != 0) {
    pdu.set = header.integer<std::uint16_t>();
  }
  if ((fields & kHasPointer) != 0) {
    const unsigned first = header.byte();
    const unsigned rest = header.integer<std::uint16_t>();
    const auto unit = (first & 0x80U) != 0 ? 300us : 30us;
    const auto offset = unit * (rest & 0x1FFFU);
    // An offset of zero points to nothing.
    if (offset > 0us) {
      pdu.pointer = {static_cast<std::uint8_t>(first & 0x3FU), packet.time + offset};
    }
  }
  return header.ok() ? std::optional(pdu) : std::nullopt;
}

void LinkLayer::take(const Packet& packet, const Extended& pdu) {
  // More than this many are ones whose rest was lost, and would pile up.
  constexpr std::size_t kMostUnfinished = 64;
  if (pdu.isDirected) {
    return;
  }
  if (!pdu.advertiser) {
    const auto found = pointingTo(packet, pdu);
    if (found != unfinished_.end()) {
      takePart(packet, pdu, *found);
      if (!pdu.pointer) {
        joined_ = std::move(found->data);
        current_ = {.time = packet.time,
                    .address = found->address,
                    .rssi = packet.rssi,
                    .isScanResponse = found->isScanResponse,
                    .data = joined_};
        unfinished_.erase(found);
      }
    }
    return;
  }
  // Anew on every channel, and with every event.
  const auto same = std::ranges::find_if(unfinished_, [&](const Unfinished& each) {
    return each.address == *pdu.advertiser && each.set == pdu.set;
  });
  if (same != unfinished_.end()) {
    giveUp(same);
  }
  if (!pdu.pointer) {
    current_ = {.time = packet.time,
                .address = *pdu.advertiser,
                .rssi = packet.rssi,
                .isScanResponse = packet.isScanResponse,
                .data = pdu.data};
    return;
  }
  if (unfinished_.size() == kMostUnfinished) {
    giveUp(unfinished_.begin());
  }
  unfinished_.push_back({.address = *pdu.advertiser,
                         .set = pdu.set,
                         .next = {},
                         .deadline = {},
                         .time = {},
                         .rssi = 127,
                         .isScanResponse = false,
                         .data = {}});
  takePart(packet, pdu, unfinished_.back());
}

void LinkLayer::takePart(const Packet& packet, const Extended& pdu, Unfinished& unfinished) {
  // The most that a host is given of one advertisement.
  constexpr std::size_t kLongestData = 1650;
  auto& data = unfinished.data;
  const auto kept = pdu.data.first(std::min(pdu.data.size(), kLongestData - data.size()));
  data.insert(data.end(), kept.begin(), kept.end());
  unfinished.time = packet.time;
  unfinished.rssi = packet.rssi;
  unfinished.isScanResponse = unfinished.isScanResponse || packet.isScanResponse;
  if (pdu.pointer) {
    unfinished.next = *pdu.pointer;
    unfinished.deadline =
        data.empty() ? packet.time + kLongestWait
                     : std::min(pdu.pointer->time + kLateness, packet.time + kLongestWaitWithData);
  }
}

/// The one of the same set whose pointer is nearest in time. The channel must be the one pointed
/// to, where the recorder says it; without a set, the time, too.
std::vector<LinkLayer::Unfinished>::iterator LinkLayer::pointingTo(const Packet& packet,
                                                                   const Extended& pdu) {
  auto best = unfinished_.end();
  for (auto each = unfinished_.begin(); each != unfinished_.end(); ++each) {
    const auto distance = between(packet.time, each->next.time);
    const bool isPossible =
        each->set == pdu.set &&
        (packet.channel > Packet::kLastSecondaryChannel || packet.channel == each->next.channel) &&
        (pdu.set || distance <= kExact);
    if (isPossible &&
        (best == unfinished_.end() || distance < between(packet.time, best->next.time))) {
      best = each;
    }
  }
  return best;
}

/// Without data there is nothing to return.
std::vector<LinkLayer::Unfinished>::iterator LinkLayer::giveUp(
    std::vector<Unfinished>::iterator unfinished) {
  if (!unfinished->data.empty()) {
    broken_.push_back(std::move(*unfinished));
  }
  return unfinished_.erase(unfinished);
}

}  // namespace nimbrel
