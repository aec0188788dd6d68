#include "host/scenario/Desk.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/scenario/JsonFields.hpp"
#include "host/scenario/StepReader.hpp"

namespace nimbrel {

Desk::Desk(std::optional<double> speed, std::unique_ptr<DeskAir> air, Output& output,
           PluginAttachment attach)
    : queue_(speed),
      isRealTime_(speed.has_value()),
      output_(output),
      attach_(std::move(attach)),
      transcript_(queue_, output),
      air_(std::move(air)) {}

void Desk::run(int input) {
  LineReader lines(input);
  while (true) {
    const auto line = lines.next();
    if (!line.has_value()) {
      if (lines.isAtEnd()) {
        break;
      }
      if (!waitFor(input)) {
        return;
      }
      lines.read();
      continue;
    }
    if (take(*line)) {
      if (isRealTime_) {
        runInRealTime(input, lines);
        return;
      }
      if (step_->at > queue_.now()) {
        beginAir();
      }
      queue_.runUntil(step_->at);
      play();
    }
    output_.flush();
  }
  open();
  output_.flush();
}

/// Returns whether there is a step to play now.
bool Desk::take(std::string_view line) {
  ++line_;
  if (isSkipped(line)) {
    return false;
  }
  try {
    const Json json = parseJsonLine(line);
    if (isPhoneLine(json)) {
      takePhone(json);
    } else {
      takeStep(json);
    }
  } catch (const LineFault& fault) {
    transcript_.refused(line_, fault.what());
  }
  return step_.has_value();
}

void Desk::takePhone(const Json& json) {
  if (hasPhone_ || stage_.has_value()) {
    throw LineFault("\"phone\" is not in the first object");
  }
  phone_ = readPhoneLine(json);
  hasPhone_ = true;
}

void Desk::takeStep(const Json& json) {
  step_ = readStep(json, before_, std::max(before_, queue_.now()));
  before_ = step_->at;
  open();
}

void Desk::open() {
  if (stage_.has_value()) {
    return;
  }
  stage_.emplace(phone_, queue_, transcript_, attach_);
  if (air_ != nullptr) {
    air_->attach(*stage_, transcript_, !phone_.hasClock);
  }
}

void Desk::beginAir() {
  if (air_ != nullptr && !std::exchange(hasAirBegun_, true)) {
    air_->begin();
  }
}

/// REQUIRES: the step is due.
void Desk::play() {
  const Step step = *std::exchange(step_, std::nullopt);
  stage_->perform(step.action);
  if (isRealTime_) {
    queue_.drain();
  } else {
    // Also what the step made due at once.
    queue_.runUntil(queue_.now());
  }
  transcript_.done(line_);
}

/// Returns false if the output's reader is gone before there is anything to read.
bool Desk::waitFor(int input) const {
  pollfd descriptors[] = {{input, POLLIN, 0}, {output_.descriptor(), 0, 0}};
  while (poll(descriptors, 2, -1) < 0 && errno == EINTR) {
  }
  return descriptors[0].revents != 0 || descriptors[1].revents == 0;
}

void Desk::runInRealTime(int input, LineReader& lines) {
  queue_.beforeSleeping([this] { output_.flush(); });
  const auto stop = [this] { queue_.stop(); };
  const auto wantsNothing = [] { return MainQueue::Interest{0, std::nullopt}; };
  queue_.watch(output_.descriptor(), stop, wantsNothing);
  playWhenDue(input, lines);
  beginAir();
  queue_.runUntil(MainQueue::Time::max());
  output_.flush();
}

void Desk::playWhenDue(int input, LineReader& lines) {
  queue_.at(step_->at, [this, input, &lines] {
    play();
    takeNext(input, lines);
  });
}

/// Has the next step played when it is due, or waits for one to come.
void Desk::takeNext(int input, LineReader& lines) {
  output_.flush();
  while (const auto line = lines.next()) {
    if (take(*line)) {
      playWhenDue(input, lines);
      return;
    }
    output_.flush();
  }
  if (lines.isAtEnd()) {
    queue_.stop();
    return;
  }
  queue_.watch(input, [this, input, &lines] {
    queue_.unwatch(input);
    lines.read();
    // Behind what is due by now.
    queue_.at(queue_.now(), [this, input, &lines] { takeNext(input, lines); });
  });
}

}  // namespace nimbrel
