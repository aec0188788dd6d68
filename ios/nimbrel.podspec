Pod::Spec.new do |s|
  s.name             = 'nimbrel'
  s.version          = '0.1.0'
  s.summary          = 'Detects Bluetooth Low Energy beacons near the device.'
  s.description      = <<-DESC
A Flutter plug-in that detects iBeacons through the location service and other beacons through a
Bluetooth scan of its own, and streams each detection to the application.
                       DESC
  s.homepage         = 'https://quorvane.com/nimbrel'
  s.authors          = 'Quorvane'
  s.source           = { :path => '.' }

  # A pod takes its sources from the folder of its podspec, and follows no links out of it. The
  # binding lives here; Classes/PluginSources.cpp includes the sources of the package's Classes/ and
  # platform/, which the search path below lets it and the binding name from the package's root.
  s.source_files        = 'Classes/**/*'
  s.public_header_files = 'Classes/NimbrelPlugin.h'

  s.platform   = :ios, '13.0'
  s.frameworks = 'CoreBluetooth', 'CoreLocation'
  s.library    = 'c++'
  s.dependency 'Flutter'

  s.requires_arc     = true
  s.static_framework = false
  s.pod_target_xcconfig = {
    'DEFINES_MODULE' => 'YES',
    'CLANG_CXX_LANGUAGE_STANDARD' => 'c++20',
    'CLANG_CXX_LIBRARY' => 'libc++',
    'HEADER_SEARCH_PATHS' => '$(inherited) "${PODS_TARGET_SRCROOT}/.."',
    # Distances are the same numbers on every machine: no multiplication is fused with an addition.
    'OTHER_CPLUSPLUSFLAGS' => '$(inherited) -ffp-contract=off',
    # Flutter's simulator framework has no 32-bit slice.
    'EXCLUDED_ARCHS[sdk=iphonesimulator*]' => 'i386'
  }
end
