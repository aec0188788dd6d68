// The plug-in proper, for the phone's package. A Swift package and a pod take sources from their
// own folder alone; beside this file, Classes and platform are links to the folders of the same
// names (copies, once the package is published). This file alone is compiled of them.

#ifdef __clang__
// Distances are the same numbers on every machine: no multiplication is fused with an addition. A
// package may not set a compiler's option for that.
#pragma STDC FP_CONTRACT OFF
#endif

// NOLINTBEGIN(bugprone-suspicious-include)
#include "Classes/bluetooth/Admission.cpp"
#include "Classes/bluetooth/AdvertisementDecoding.cpp"
#include "Classes/bluetooth/BeaconFrame.cpp"
#include "Classes/bluetooth/DistanceEstimate.cpp"
#include "Classes/bluetooth/GenericDetections.cpp"
#include "Classes/bluetooth/ScanControl.cpp"
#include "Classes/core/DetectionLifecycle.cpp"
#include "Classes/core/EventDelivery.cpp"
#include "Classes/core/EventStream.cpp"
#include "Classes/core/MethodDispatch.cpp"
#include "Classes/core/Registration.cpp"
#include "Classes/location/RangingResults.cpp"
#include "Classes/location/RegionEvents.cpp"
#include "Classes/location/RegionSetup.cpp"
#include "Classes/model/BeaconFilter.cpp"
#include "Classes/model/DetectionEvent.cpp"
#include "Classes/model/EncodableAccess.cpp"
#include "Classes/permission/LocationPermission.cpp"
#include "Classes/text/UpperCase.cpp"
#include "Classes/text/Utf8.cpp"
#include "Classes/text/UuidText.cpp"
// NOLINTEND(bugprone-suspicious-include)
