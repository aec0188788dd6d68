#pragma once

#include <cstddef>
#include <string_view>

#include "host/base/MainQueue.hpp"
#include "platform/Foundation.hpp"

/// The phone's own rules, each with its source: published by Apple, observed on phones by others,
/// or our choice where neither says.
namespace nimbrel::rules {

// Permission

/// Published: the user is asked once while the permission is not determined and once more while it
/// is "when in use"; a later request shows nothing ("Requesting authorization to use location
/// services"). Observed: delegates are not called for an answer that leaves the permission
/// as it is. Our choice: how long the user takes.
inline constexpr MainQueue::Time kPromptAnswerDelay = std::chrono::seconds(1);

// Monitoring of regions

/// Published: the most regions that an application may monitor (CLLocationManager,
/// startMonitoring(for:)), and a region replaces the one of the same identifier.
inline constexpr std::size_t kMonitoredRegionsAtMost = 20;
/// Observed: the text of the failure beyond that (CLError, regionMonitoringFailure).
inline constexpr std::string_view kRegionRefused =
    "The operation couldn’t be completed. (kCLErrorDomain error 5.)";
/// Observed: an exit is reported some 30 seconds after the last frame.
inline constexpr MainQueue::Time kRegionExitDelay = std::chrono::seconds(30);

// Ranging

/// Published: beacons are reported once a second ("Determining the proximity to an iBeacon
/// device").
inline constexpr MainQueue::Time kReportInterval = std::chrono::seconds(1);
/// Observed: a silent beacon is listed with signal strength 0, accuracy -1 and an unknown
/// proximity, and left out of the reports after some ten seconds.
inline constexpr MainQueue::Time kBeaconForgottenAfter = std::chrono::seconds(10);
// Our choice: the strength of a report is the mean of its readings, rounded to the nearest integer
// (halves away from zero), and the accuracy comes from that and the frame's measured power by the
// plug-in's own curve. A phone's own filter is not documented.

/// What a controller reports in place of a signal strength that it could not measure (Bluetooth
/// Core Specification, volume 4, part E, section 7.7.65.2). Our choice: it is no part of a mean.
inline constexpr double kNoReading = 127.0;

// Bluetooth scans

/// Published: a scan without the option for duplicates coalesces repeats of a device into one
/// discovery (CBCentralManagerScanOptionAllowDuplicatesKey). Our choice: for how long, that a
/// changed payload is a new discovery, and that this holds for the scans of all managers together.
inline constexpr MainQueue::Time kDiscoveryInterval = std::chrono::seconds(1);
/// Our choice: a device that is silent for this long is forgotten. When it is heard again, it is a
/// new device with the same identifier.
inline constexpr MainQueue::Time kDeviceForgottenAfter = std::chrono::minutes(10);
/// Observed: before 16.4 (since 9) a scan sees the manufacturer data of the advertisement and
/// behind it that of the scan response; from 16.4 on the advertisement's hides that of the scan
/// response.
inline constexpr OperatingSystemVersion kHidesScanResponseFrom{16, 4, 0};
// Observed: a phone withholds iBeacon frames from scans. Our choice, where Phone::Setup asks for
// it: the whole report with the frame is withheld. Another report of the device is discovered, with
// its name and without the frame.

}  // namespace nimbrel::rules
