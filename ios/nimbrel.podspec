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

  # The same sources as in nimbrel/Package.swift. Of the folders Classes and platform, links to the
  # package's own, only what PluginSources.cpp includes is compiled.
  s.source_files        = 'nimbrel/Sources/nimbrel/*.{h,mm,cpp}',
                          'nimbrel/Sources/nimbrel/include/nimbrel/*.h'
  s.public_header_files = 'nimbrel/Sources/nimbrel/include/nimbrel/*.h'
  s.preserve_paths      = 'nimbrel/Sources/nimbrel/{Classes,platform}'
  s.resource_bundles    = { 'nimbrel_privacy' => ['nimbrel/Sources/nimbrel/PrivacyInfo.xcprivacy'] }

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
    'HEADER_SEARCH_PATHS' => '$(inherited) "${PODS_TARGET_SRCROOT}/nimbrel/Sources/nimbrel"',
    # Flutter's simulator framework has no 32-bit slice.
    'EXCLUDED_ARCHS[sdk=iphonesimulator*]' => 'i386'
  }
end
