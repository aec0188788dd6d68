#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "host/base/MainQueue.hpp"
#include "host/base/Output.hpp"
#include "host/scenario/LineReader.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/Stage.hpp"
#include "host/scenario/Transcript.hpp"

namespace nimbrel {

/// A source of advertisements for a desk besides its steps.
class DeskAir {
 public:
  virtual ~DeskAir() = default;

  /// Called once, at time 0. REQUIRES: both arguments outlive the air.
  virtual void attach(Stage& stage, Transcript& transcript, bool setsClock) = 0;
  /// Called before time passes for the first time. Throws InputError if the source cannot be used.
  virtual void begin() = 0;
};

/// A stage that plays steps as they arrive, each before the next is read.
class Desk {
 public:
  /// Virtual time, or real time at `speed` times its pace. `air` may be null. The output outlives
  /// the desk.
  Desk(std::optional<double> speed, std::unique_ptr<DeskAir> air, Output& output,
       PluginAttachment attach = attachPlugin);

  /// Plays the lines of a file descriptor up to its end, and flushes the output after each.
  /// Returns early if the reader of the output has gone. Throws std::system_error.
  void run(int input);

 private:
  bool take(std::string_view line);
  void takePhone(const Json& json);
  void takeStep(const Json& json);
  void open();
  void beginAir();
  void play();
  bool waitFor(int input) const;
  void runInRealTime(int input, LineReader& lines);
  void playWhenDue(int input, LineReader& lines);
  void takeNext(int input, LineReader& lines);

  MainQueue queue_;
  bool isRealTime_;
  Output& output_;
  PluginAttachment attach_;
  Transcript transcript_;
  PhoneLine phone_;
  bool hasPhone_ = false;
  std::optional<Stage> stage_;
  std::unique_ptr<DeskAir> air_;  // gone before the stage and the queue
  bool hasAirBegun_ = false;
  std::size_t line_ = 0;      // the number of the line taken last
  std::optional<Step> step_;  // taken and not played yet
  MainQueue::Time before_{};  // the time of the step played last
};

}  // namespace nimbrel
