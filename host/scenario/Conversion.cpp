#include "host/scenario/Conversion.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <variant>
#include <vector>

#include "host/air/AdvertisingData.hpp"
#include "host/air/Packet.hpp"
#include "host/air/Timeline.hpp"
#include "host/base/InputError.hpp"
#include "host/base/MainQueue.hpp"
#include "host/scenario/Transmitter.hpp"

namespace nimbrel {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Plays the steps that advertise or set the clock, and skips all others.
class ScenarioAir {
 public:
  ScenarioAir(const Scenario& scenario, const std::string& name, AirListener& listener)
      : scenario_(scenario),
        name_(name),
        listener_(listener),
        transmitter_(queue_, [this](const actions::Advertise& sent) { hear(sent); }) {}

  void play() {
    constexpr double kFarthest = 9e12;
    const double clock = std::clamp(scenario_.phone.phone.clock, -kFarthest, kFarthest);
    clockAtZero_ = MainQueue::Time(std::llround(clock * 1e6));
    listener_.begin(this->clock());
    for (const Step& step : scenario_.steps) {
      queue_.runUntil(step.at);
      if (const auto* set = std::get_if<actions::SetClock>(&step.action)) {
        clockAtZero_ = set->clock - queue_.now();
      } else if (const auto* sent = std::get_if<actions::Advertise>(&step.action)) {
        transmitter_.start(*sent);
      }
    }
    listener_.end(queue_.now(), this->clock(), queue_.now() + std::chrono::seconds(1));
  }

  [[nodiscard]] std::size_t changed() const { return changed_; }

 private:
  [[nodiscard]] MainQueue::Time clock() const {
    const MainQueue::Time clock = clockAtZero_ + queue_.now();
    if (clock < kEarliestTime || clock > kLatestTime) {
      throw InputError(name_,
                       "its clock leaves the years 0 to 9999, and a recording can hold no "
                       "other time; set it to one of them");
    }
    return clock;
  }

  void hear(const actions::Advertise& sent) {
    Advertisement advertisement;
    advertisement.time = clock();
    advertisement.address = sent.address;
    advertisement.rssi = sent.wholeRssi();
    bool isChanged = advertisement.rssi != sent.rssi;
    Bytes made;
    if (const auto* data = std::get_if<actions::Advertise::Data>(&sent.payload)) {
      advertisement.isScanResponse = data->isScanResponse;
      advertisement.data = data->bytes;
    } else {
      isChanged |= !append(std::get<actions::Advertise::Parts>(sent.payload), made);
      advertisement.data = made;
    }
    changed_ += isChanged ? 1 : 0;
    listener_.hear(queue_.now(), advertisement);
  }

  /// Returns whether the parts fit.
  static bool append(const actions::Advertise::Parts& parts, Bytes& data) {
    constexpr std::size_t kLongest = 254;
    bool fits = true;
    if (parts.manufacturerData.has_value()) {
      AdvertisingData::append(data, AdvertisingData::manufacturerSpecific, *parts.manufacturerData);
      fits = parts.manufacturerData->size() <= kLongest;
    }
    if (parts.name.has_value()) {
      const Bytes name(parts.name->begin(), parts.name->end());
      AdvertisingData::append(data, AdvertisingData::completeName, name);
      fits = fits && name.size() <= kLongest;
    }
    return fits;
  }

  const Scenario& scenario_;
  const std::string& name_;
  AirListener& listener_;
  MainQueue queue_;
  MainQueue::Time clockAtZero_{};  // the wall clock's reading less the time since the start
  std::size_t changed_ = 0;
  Transmitter transmitter_;
};

}  // namespace

void playRecordedAir(Capture& capture, AirListener& listener) {
  const Advertisement* next = capture.next();
  Timeline timeline(capture.firstRecordTime().value_or(Timeline::Time::zero()));
  listener.begin(timeline.clock());
  for (bool goesOn = true; next != nullptr && goesOn; next = capture.next()) {
    timeline.advanceTo(next->time);
    goesOn = listener.hear(timeline.now(), *next);
  }
  timeline.advanceTo(capture.lastRecordTime().value_or(timeline.clock()));
  listener.end(timeline.now(), timeline.clock(), timeline.now() + std::chrono::seconds(1));
}

std::size_t playScenarioAir(const Scenario& scenario, const std::string& name,
                            AirListener& listener) {
  ScenarioAir air(scenario, name, listener);
  air.play();
  return air.changed();
}

}  // namespace nimbrel
