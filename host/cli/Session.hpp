#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/air/Advertisement.hpp"
#include "host/base/MainQueue.hpp"
#include "host/engine/Application.hpp"
#include "host/engine/Messenger.hpp"
#include "host/phone/Phone.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// An application and its phone, to which a recording or an adapter is played. The application
/// listens, starts detection with its filters, receives the events, and stops detection at the end.
/// A derived class decides what to print.
class Session : public PhoneObserver {
 public:
  /// `filters` are filter maps, as `startDetection` takes them. REQUIRES: they and the queue
  /// outlive the session.
  Session(const EncodableList& filters, const Phone::Setup& setup, MainQueue& queue);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Phone& phone() { return phone_; }

  virtual void start();
  /// Passes one advertisement to the phone and runs everything that follows from it at once.
  virtual void hear(const Advertisement& advertisement);
  virtual void stop();
  /// Stops detection and starts it again in a new plug-in, which remembers nothing.
  void startOver();

  /// Shows a line to the user, apart from the output.
  virtual void note(const std::string& line) = 0;
  /// The same for a line that is neither an error nor a warning.
  virtual void inform(const std::string& line) { note(line); }
  /// The recording's clock was set.
  virtual void clockJumped(std::chrono::microseconds before, std::chrono::microseconds after) = 0;
  /// Prints the end of the run. `damagedPackets` is how many packets of the recording were left
  /// out.
  virtual void conclude(std::uint64_t damagedPackets) = 0;

  /// The time since detection first began.
  [[nodiscard]] MainQueue::Time elapsed() const { return queue_.now() - begin_; }
  [[nodiscard]] std::uint64_t advertisementCount() const { return advertisements_; }
  [[nodiscard]] std::size_t deviceCount() const { return phone_.devices().everHeard(); }

 protected:
  /// An event, which holds a map.
  virtual void received(const EncodableValue& event) = 0;

 private:
  void startDetection();

  const EncodableList& filters_;
  MainQueue& queue_;
  Phone phone_;
  Messenger messenger_;
  Application application_;
  MainQueue::Time begin_{};
  std::uint64_t advertisements_ = 0;
};

}  // namespace nimbrel
