#include "host/air/Capture.hpp"

#include <stdexcept>
#include <utility>

#include "host/air/Archive.hpp"
#include "host/air/OtherFiles.hpp"
#include "host/base/InputError.hpp"

namespace nimbrel {
namespace {

/// Of a file that its beginning shows to be a recording. PacketLogger's, which have no mark of
/// their own, are found by two records.
std::optional<RecordingRank> rankRecording(std::span<const std::uint8_t> beginning) {
  constexpr std::size_t kShortest = 16;
  if (beginning.size() < kShortest ||
      !(BtSnoop::recognises(beginning) || Pcap::recognises(beginning) ||
        PcapNg::recognises(beginning) || PacketLogger::recognises(beginning))) {
    return std::nullopt;
  }
  RecordingRank rank;
  try {
    const auto capture = Capture::read(beginning, "", [](const auto& /*warning*/) {});
    capture->next();
    rank.kind = RecordingRank::Kind::whole;
    rank.begin = capture->firstRecordTime().value_or(kEarliestTime);
  } catch (const InputError&) {
    rank.kind = RecordingRank::Kind::unreadable;
  }
  return rank;
}

std::optional<RecordingRank> rankText(std::span<const std::uint8_t> text) {
  if (!BugReport::recognises(text)) {
    return std::nullopt;
  }
  return RecordingRank{.kind = RecordingRank::Kind::partOfText};
}

[[noreturn]] void refuseShortened(const std::string& name) {
  throw std::runtime_error(name +
                           ": was shortened while it was read; scan a copy, or once it is whole");
}

}  // namespace

std::unique_ptr<Capture> Capture::open(const std::string& path, WarningHandler warn) {
  MappedFile file(path);
  const auto bytes = file.bytes();
  return make(std::move(file), bytes, path, std::move(warn));
}

std::unique_ptr<Capture> Capture::read(std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn) {
  return make(std::nullopt, bytes, name, std::move(warn));
}

std::unique_ptr<Capture> Capture::make(std::optional<MappedFile> mapped,
                                       std::span<const std::uint8_t> bytes, const std::string& name,
                                       WarningHandler warn) {
  try {
    if (!isArchive(bytes)) {
      return std::unique_ptr<Capture>(new Capture(std::move(mapped), bytes, name, std::move(warn)));
    }
    auto unpacked = unpackRecording(bytes, name, rankRecording, rankText, warn);
    const auto content = unpacked.content.bytes();
    return std::unique_ptr<Capture>(
        new Capture(std::move(unpacked.content), content, unpacked.name, std::move(warn)));
  } catch (const InputError&) {
    if (mapped && !mapped->isWhole()) {
      refuseShortened(name);
    }
    throw;
  }
}

Capture::Capture(std::optional<MappedFile> mapped, std::span<const std::uint8_t> bytes,
                 const std::string& name, WarningHandler warningHandler)
    : name_(name),
      file_(std::move(mapped)),
      size_(bytes.size()),
      source_(sourceOf(bytes, name)),
      warn_(std::move(warningHandler)) {}

Capture::Source Capture::sourceOf(std::span<const std::uint8_t> bytes, const std::string& name) {
  if (BtSnoop::recognises(bytes)) {
    return BtSnoop(bytes, name);
  }
  if (Pcap::recognises(bytes)) {
    return Pcap(bytes, name);
  }
  if (PcapNg::recognises(bytes)) {
    return PcapNg(bytes, name);
  }
  // Last, because it has no mark of its own.
  if (PacketLogger::recognises(bytes)) {
    return PacketLogger(bytes, name);
  }
  if (BugReport::recognises(bytes)) {
    return BugReport(bytes, name);
  }
  throw InputError(name, refusalOfOtherFile(bytes));
}

const Advertisement* Capture::next() {
  while (!hciEvents_.next(advertisement_) && !linkLayer_.next(advertisement_)) {
    if (ended_) {
      return nullptr;
    }
    if (readPacket()) {
      beginPacket();
    } else {
      linkLayer_.end();
    }
  }
  return &advertisement_;
}

void Capture::beginPacket() {
  switch (packet_.kind) {
    case Packet::Kind::hciEvent:
      hciEvents_.begin(packet_.time, packet_.data);
      break;
    case Packet::Kind::advertisingPdu:
      linkLayer_.begin(packet_);
      break;
    case Packet::Kind::damagedPdu:
      ++damagedPackets_;
      break;
    default:
      break;
  }
}

bool Capture::readPacket() {
  // Seldom enough to cost nothing.
  constexpr std::size_t kReleaseInterval = std::size_t{8} << 20U;
  try {
    ended_ = !std::visit(
        [&](auto& reader) {
          const bool found = reader.next(packet_);
          position_ = reader.position();
          return found;
        },
        source_);
  } catch (const InputError& damage) {
    if (file_ && !file_->isWhole()) {
      refuseShortened(name_);
    }
    warn_(damage.what());
    ended_ = true;
    isDamaged_ = true;
  }
  if (file_ && (file_->hasLostBytes() || (ended_ && !file_->isWhole()))) {
    refuseShortened(name_);
  }
  if (ended_) {
    return false;
  }
  if (file_ && position_ - released_ >= kReleaseInterval) {
    // The packet just read lies before the position, but stays readable.
    file_->release(position_);
    released_ = position_;
  }
  if (!first_) {
    first_ = packet_.time;
  }
  last_ = packet_.time;
  return true;
}

std::string Capture::silence() const {
  const std::string none = "holds no Bluetooth LE advertisement";
  if (damagedPackets_ > 0) {
    return none + " with a right checksum, and " + std::to_string(damagedPackets_) +
           " with a wrong one; put the sniffer nearer to what advertises";
  }
  if (isDamaged_) {
    return none + " before the damage; record the capture again";
  }
  if (std::holds_alternative<BugReport>(source_)) {
    return none +
           ": Android leaves most of them out of a bug report's text; switch on the Bluetooth HCI "
           "snoop log, switch Bluetooth off and on, and take btsnoop_hci.log out of the next one";
  }
  if (!first_) {
    return "holds no packet; record the capture again";
  }
  switch (packet_.origin) {
    case Packet::Origin::sniffer:
      return none +
             "; have the sniffer listen to the advertising channels, near to what advertises";
    case Packet::Origin::usb:
      return "is a recording of USB, and " + none +
             "; record the USB of a Bluetooth controller while a scan runs";
    default:
      return none + "; record while a scan runs";
  }
}

double Capture::progress() const {
  return ended_ ? 1.0 : static_cast<double>(position_) / static_cast<double>(size_);
}

}  // namespace nimbrel
