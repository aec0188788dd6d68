// The plug-in proper, for the pod: CocoaPods takes sources from the folder of its podspec alone,
// and follows no links out of it, so that this file brings in those of the package's other folders.

// NOLINTBEGIN(bugprone-suspicious-include)
#include "Classes/bluetooth/AdvertisementDecoding.cpp"
#include "Classes/bluetooth/DistanceEstimate.cpp"
#include "Classes/bluetooth/GenericDetections.cpp"
#include "Classes/bluetooth/ScanControl.cpp"
#include "Classes/core/DetectionLifecycle.cpp"
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
