#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/base/Output.hpp"
#include "host/scenario/AirListener.hpp"
#include "platform/EncodableValue.hpp"

namespace nimbrel {

/// Writes advertisements as a scenario.
class ScenarioWriter final : public AirListener {
 public:
  struct Setup {
    /// The text of the first line, which is a comment.
    std::string comment;
    bool withholdsBeacons = false;
    /// The filters of an application that starts detection at second 0. Absent: no application.
    std::optional<EncodableList> filters;
  };

  /// Both arguments outlive the writer.
  ScenarioWriter(const Setup& setup, Output& output) : setup_(setup), output_(output) {}

  void begin(Time clock) override;
  bool hear(Time now, const Advertisement& advertisement) override;
  void end(Time now, Time clock, Time over) override;

 private:
  void appendFilters();
  void setClock(Time now, Time clock);
  std::string& beginStep(Time at, std::string_view action);

  const Setup& setup_;
  Output& output_;
  Time clockAtZero_{};  // the wall clock's reading less the time since the start
  Time last_{};         // the time of the last step
};

}  // namespace nimbrel
