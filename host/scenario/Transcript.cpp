#include "host/scenario/Transcript.hpp"

#include <cstdint>
#include <utility>
#include <variant>

#include "Classes/text/UuidText.hpp"
#include "host/base/JsonText.hpp"

namespace nimbrel {

void Transcript::logged(std::string_view line) {
  begin("log");
  appendJson(output_.buffer(), line);
  end();
}

void Transcript::requested(const Request& request) {
  begin("request");
  std::string& out = output_.buffer();
  appendJson(out, request.operation);
  if (request.region.has_value()) {
    out.append(R"(,"region":)");
    appendJson(out, std::string_view(request.region->identifier));
    if (request.operation == "startMonitoring") {
      appendMonitoring(*request.region);
    }
  }
  if (request.scan.has_value()) {
    appendScan(*request.scan);
  }
  end();
}

void Transcript::replied(const Application::Reply& reply) {
  begin("reply");
  std::string& out = output_.buffer();
  appendJson(out, std::string_view(reply.method));
  out.append(R"(,"call":)");
  appendJson(out, reply.call);
  if (const auto* value = std::get_if<EncodableValue>(&reply.value)) {
    out.append(R"(,"value":)");
    appendJson(out, *value);
  } else {
    out.append(R"(,"notImplemented":true)");
  }
  end();
}

void Transcript::received(const EncodableValue& event) {
  begin("event");
  appendJson(output_.buffer(), event);
  end();
}

void Transcript::done(std::size_t line) {
  begin("done");
  appendJson(output_.buffer(), static_cast<std::int64_t>(line));
  end();
}

void Transcript::refused(std::size_t line, std::string_view problem) {
  begin("error");
  appendJson(output_.buffer(), problem);
  output_.buffer().append(R"(,"line":)");
  appendJson(output_.buffer(), static_cast<std::int64_t>(line));
  end();
}

void Transcript::airEnded() {
  begin("air");
  appendJson(output_.buffer(), std::string_view("ended"));
  end();
}

void Transcript::begin(std::string_view kind) {
  std::string& out = output_.buffer();
  out.append(R"({"at":)");
  appendJson(out, static_cast<double>(queue_.now().count()) / 1e6);
  out.push_back(',');
  appendJson(out, kind);
  out.push_back(':');
}

void Transcript::appendMonitoring(const CLBeaconRegion& region) {
  std::string& out = output_.buffer();
  out.append(R"(,"uuid":)");
  appendJson(out, std::string_view(UuidText(region.uuid)));
  const auto flag = [&out](std::string_view name, bool isSet) {
    out.append(",\"").append(name).append(isSet ? "\":true" : "\":false");
  };
  flag("notifyOnEntry", region.notifyOnEntry);
  flag("notifyOnExit", region.notifyOnExit);
  flag("notifyEntryStateOnDisplay", region.notifyEntryStateOnDisplay);
}

void Transcript::appendScan(const Request::Scan& scan) {
  std::string& out = output_.buffer();
  out.append(R"(,"services":)");
  if (scan.services.has_value()) {
    EncodableList services;
    for (const UUID& service : *scan.services) {
      services.emplace_back(std::string_view(UuidText(service)));
    }
    appendJson(out, EncodableValue(std::move(services)));
  } else {
    out.append("null");
  }
  out.append(R"(,"options":{"CBCentralManagerScanOptionAllowDuplicatesKey":)")
      .append(scan.options.allowDuplicates ? "true}" : "false}");
}

}  // namespace nimbrel
