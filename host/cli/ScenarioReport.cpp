#include "host/cli/ScenarioReport.hpp"

#include <algorithm>
#include <iterator>
#include <variant>

#include "Classes/model/EncodableAccess.hpp"
#include "host/air/MappedFile.hpp"
#include "host/base/Bytes.hpp"
#include "host/base/InputError.hpp"
#include "host/scenario/Simulation.hpp"
#include "host/scenario/Stage.hpp"

namespace nimbrel {

namespace {

Scenario readScenario(const std::string& path) {
  const MappedFile file(path);
  return Scenario::parse(textOf(file.bytes()), path);
}

/// The filters of all calls of `startDetection`. Throws InputError if some are without any.
EncodableList filtersOf(const Scenario& scenario, const std::string& name) {
  EncodableList filters;
  bool isGeneric = false;
  for (const Step& step : scenario.steps) {
    const auto* call = std::get_if<actions::Call>(&step.action);
    if (call == nullptr || call->method != "startDetection") {
      continue;
    }
    const auto* arguments =
        call->arguments.has_value() ? std::get_if<EncodableMap>(&*call->arguments) : nullptr;
    const auto* list =
        arguments == nullptr ? nullptr : valueFor<EncodableList>(*arguments, "filters");
    const std::size_t before = filters.size();
    if (list != nullptr) {
      std::ranges::copy_if(*list, std::back_inserter(filters), [](const EncodableValue& each) {
        return std::holds_alternative<EncodableMap>(each);
      });
    }
    isGeneric = isGeneric || filters.size() == before;
  }
  if (isGeneric && !filters.empty()) {
    throw InputError(name,
                     "starts detection with filters and without, and a report is about one of the "
                     "two; make a scenario of each");
  }
  return filters;
}

}  // namespace

ScenarioReport::ScenarioReport(const ReportOptions& options)
    : ScenarioReport(options, readScenario(options.captures.front())) {}

ScenarioReport::ScenarioReport(const ReportOptions& options, const Scenario& scenario)
    : scenario_(scenario),
      findings_({filtersOf(scenario, options.captures.front()),
                 scenario.phone.phone.withholdsBeacons, false}),
      keeper_(options) {
  scenario_.phone.phone.hasConsole = false;
}

void ScenarioReport::write(Output& output) {
  {
    Stage stage(scenario_.phone, queue_, *this, attachPlugin);
    phone_ = &stage.phone();
    keeper_.start(*phone_);
    playSteps(scenario_, stage);
    phone_ = nullptr;
  }
  findings_.end(queue_.now());
  keeper_.write(findings_, queue_.now(), "scenario", 0, output);
}

void ScenarioReport::requested(const Request& request) {
  findings_.requested(request);
  keeper_.lanes().requested(request, queue_.now());
}

void ScenarioReport::received(const EncodableValue& event) {
  const auto& map = std::get<EncodableMap>(event);
  keeper_.detected(findings_.received(map), queue_.now(), map);
}

void ScenarioReport::hearing(const actions::Advertise& advertise) {
  Advertisement advertisement;
  advertisement.address = advertise.address;
  advertisement.time = ReportKeeper::clockOf(*phone_);
  advertisement.rssi = advertise.wholeRssi();
  device_ = findings_.begin(advertisement, queue_.now());
  rssi_ = advertisement.rssi;
}

void ScenarioReport::hasHeard() {
  // Events are queued; what comes of this advertisement has come then.
  queue_.drain();
  findings_.settle();
  keeper_.heard(device_, queue_.now(), rssi_);
}

void ScenarioReport::authorizationChanged(CLAuthorizationStatus status) {
  keeper_.lanes().authorizationChanged(status, queue_.now());
}

void ScenarioReport::bluetoothChanged(CBManagerState state) {
  keeper_.lanes().bluetoothChanged(state, queue_.now());
}

void ScenarioReport::crossed(const CLRegion& region, bool isInside) {
  keeper_.lanes().crossed(region, isInside, queue_.now());
}

void ScenarioReport::monitoringFailed(const CLRegion* region) {
  keeper_.lanes().monitoringFailed(region, queue_.now());
}

void ScenarioReport::discovered(const CBPeripheral& peripheral, const CBAdvertisementData& data) {
  findings_.discovered(peripheral, data);
}

void ScenarioReport::heard(const Reception& reception) { findings_.heard(reception); }

}  // namespace nimbrel
