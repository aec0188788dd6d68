#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/MainQueue.hpp"
#include "host/base/Output.hpp"
#include "host/cli/ReportKeeper.hpp"
#include "host/cli/ReportOptions.hpp"
#include "host/findings/Findings.hpp"
#include "host/scenario/Scenario.hpp"
#include "host/scenario/StageObserver.hpp"

namespace nimbrel {

/// Reports on a scenario, whose application, phone and air are its own.
class ScenarioReport final : private StageObserver {
 public:
  /// The options outlive the report and name one scenario. Throws InputError if it cannot be used.
  explicit ScenarioReport(const ReportOptions& options);

  /// Plays the scenario, and writes the report to `output`.
  void write(Output& output);

 private:
  ScenarioReport(const ReportOptions& options, const Scenario& scenario);

  void logged(std::string_view /*line*/) override {}
  void replied(const Application::Reply& /*reply*/) override {}
  void requested(const Request& request) override;
  void received(const EncodableValue& event) override;
  void hearing(const actions::Advertise& advertise) override;
  void hasHeard() override;
  void authorizationChanged(CLAuthorizationStatus status) override;
  void bluetoothChanged(CBManagerState state) override;
  void crossed(const CLRegion& region, bool isInside) override;
  void monitoringFailed(const CLRegion* region) override;
  void discovered(const CBPeripheral& peripheral, const CBAdvertisementData& data) override;
  void heard(const Reception& reception) override;

  Scenario scenario_;
  Findings findings_;
  ReportKeeper keeper_;
  MainQueue queue_;
  Phone* phone_ = nullptr;  // while the scenario is played
  std::size_t device_ = 0;  // the one that is being heard
  std::int8_t rssi_ = 0;
};

}  // namespace nimbrel
