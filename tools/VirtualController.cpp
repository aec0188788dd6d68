#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "host/air/BtSnoop.hpp"
#include "host/air/MappedFile.hpp"

namespace nimbrel {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t wanted = 0;

/// A Bluetooth LE controller for the Linux kernel's virtual HCI driver. While it is told to scan,
/// it hears the reports of a capture at the pace at which they were recorded; otherwise they wait.
/// SIGUSR1 has them come from the beginning, once; SIGUSR2 over and over. One that can filter
/// repeats does so when it is told to, and tells them by the address alone, as some controllers do.
/// Source: Bluetooth Core Specification, volume 4, part E.
class VirtualController {
 public:
  VirtualController(const std::string& capture, bool canFilter)
      : file_(capture), device_(open("/dev/vhci", O_RDWR | O_CLOEXEC)), canFilter_(canFilter) {
    BtSnoop reader(file_.bytes(), capture);
    for (Packet packet; reader.next(packet);) {
      constexpr std::uint8_t kLeMetaEvent = 0x3E;
      if (packet.kind == Packet::Kind::hciEvent && packet.data[0] == kLeMetaEvent) {
        events_.push_back(packet);
      }
    }
    if (!send({0xFF, 0x00})) {  // Asks the driver for a primary controller.
      throw std::runtime_error("/dev/vhci gives no controller");
    }
  }

  [[noreturn]] void run() {
    while (true) {
      if (wanted != 0) {
        isLooping_ = wanted == SIGUSR2;
        wanted = 0;
        place_ = 0;
        heardFor_ = {};
      }
      pollfd polled{device_, POLLIN, 0};
      const auto before = Clock::now();
      const int ready = poll(&polled, 1, isScanning && place_ < events_.size() ? 1 : 100);
      if (isScanning) {
        heardFor_ += Clock::now() - before;
      }
      if (ready > 0) {
        answer();
      }
      play();
    }
  }

 private:
  /// False if the kernel takes none: the adapter is off.
  [[nodiscard]] bool send(const Bytes& packet) const {
    return write(device_, packet.data(), packet.size()) == static_cast<ssize_t>(packet.size());
  }

  void play() {
    while (isScanning && place_ < events_.size() &&
           events_[place_].time - events_.front().time <= heardFor_) {
      Bytes packet{0x04};
      packet.insert(packet.end(), events_[place_].data.begin(), events_[place_].data.end());
      if (!isFiltering_ || filtered_.insert(addressIn(packet)).second) {
        // Blocked, an adapter goes off without a word to its controller.
        isScanning = send(packet);
      }
      if (++place_ == events_.size() && isLooping_) {
        place_ = 0;
        heardFor_ = {};
      }
    }
  }

  void answer() {
    std::array<std::uint8_t, 512> packet{};
    const auto size = read(device_, packet.data(), packet.size());
    constexpr std::uint8_t kCommand = 0x01;
    if (size < 4 || packet[0] != kCommand) {
      return;
    }
    const auto opcode = static_cast<std::uint16_t>(packet[1] | packet[2] << 8U);
    constexpr std::uint16_t kSetScanEnable = 0x200C;
    constexpr std::uint16_t kSetExtendedScanEnable = 0x2042;
    if (opcode == kSetScanEnable || opcode == kSetExtendedScanEnable) {
      isScanning = packet[4] != 0;
      isFiltering_ = canFilter_ && packet[5] != 0;
      filtered_.clear();
    }
    if (opcode == 0x0C03) {
      isScanning = false;  // Reset.
    }

    Bytes parameters{0x01, packet[1], packet[2], 0x00};
    if (const auto found = returned_.find(opcode); found != returned_.end()) {
      parameters.insert(parameters.end(), found->second.begin(), found->second.end());
    }
    Bytes complete{0x04, 0x0E, static_cast<std::uint8_t>(parameters.size())};
    complete.insert(complete.end(), parameters.begin(), parameters.end());
    if (!send(complete)) {
      isScanning = false;
    }
  }

  using Address = std::array<std::uint8_t, 6>;

  /// Of the first report of an event; zeros if that is too short to have one.
  static Address addressIn(const Bytes& packet) {
    constexpr std::uint8_t kExtendedReport = 0x0D;
    const std::size_t place = packet.size() > 3 && packet[3] == kExtendedReport ? 8 : 7;
    Address address{};
    if (packet.size() >= place + address.size()) {
      std::copy_n(packet.data() + place, address.size(), address.begin());
    }
    return address;
  }

  /// Which commands there are, beyond those that have to be: the two of the extended scan.
  static Bytes commands() {
    Bytes bits(64);
    bits[37] = 0x60;
    return bits;
  }

  /// What commands return beside the status of success.
  const std::map<std::uint16_t, Bytes> returned_{
      {0x1001, {0x0B, 0, 0, 0x0B, 0xF1, 0x05, 0, 0}},  // Version 5.2.
      {0x1002, commands()},
      {0x1003, {0, 0, 0, 0, 0x60, 0, 0, 0}},                 // LE, and no BR/EDR.
      {0x1009, {0x01, 0x53, 0x00, 0x5E, 0x00, 0x00}},        // The address.
      {0x2002, {0xFB, 0x00, 0x03}},                          // Three buffers of 251 bytes.
      {0x2003, {0, 0, 0, 0, 0, 0, 0, 0}},                    // LE features.
      {0x200F, {0x08}},                                      // Eight devices in the accept list.
      {0x201C, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x03, 0, 0}},  // States.
  };

  MappedFile file_;
  int device_;
  std::vector<Packet> events_;
  std::size_t place_ = SIZE_MAX;
  bool isScanning = false;
  bool isLooping_ = false;
  bool canFilter_;
  bool isFiltering_ = false;
  std::set<Address> filtered_;  // The addresses that were heard.
  Clock::duration heardFor_{};
};

}  // namespace
}  // namespace nimbrel

int main(int count, char** arguments) {
  const bool canFilter = count == 3 && std::string_view(arguments[1]) == "--filter";
  if (count != (canFilter ? 3 : 2)) {
    std::cerr << "usage: virtual_controller [--filter] CAPTURE\n";
    return 2;
  }
  for (const int signal : {SIGUSR1, SIGUSR2}) {
    std::signal(signal, [](int received) { nimbrel::wanted = received; });
  }
  try {
    nimbrel::VirtualController(arguments[count - 1], canFilter).run();
  } catch (const std::exception& error) {
    std::cerr << "virtual_controller: " << error.what() << '\n';
    return 1;
  }
}
